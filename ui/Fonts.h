#pragma once

#include <QFont>
#include <QString>

// A font by its published name and size. A point is a device-independent pixel.
struct FontChoice {
    QString name;
    double size = 12.0;

    bool operator==(const FontChoice&) const = default;
};

// The product's own font, by its published names.
inline const QString kCommonSans = QString::fromLatin1("Common Sans");
inline const QString kCommonSansLight = QString::fromLatin1("CommonSans-Light");
inline const QString kCommonSansMedium = QString::fromLatin1("CommonSans-Medium");
inline const QString kCommonSansBold = QString::fromLatin1("CommonSans-Bold");

// The font to paint with. "Common Sans" and "CommonSans-Light", "-Medium" and "-Bold" are one family in its weights,
// for which the open font Inter stands in; scripts it lacks come from the Noto fonts. Any other name is the name of a
// family. Where a family is missing, the system's sans-serif font takes its place. Any thread.
QFont fontFor(const FontChoice& choice);

// What a text without a font is painted with: the system's font at 12 points.
FontChoice defaultFont();

// Finds our fonts, and makes the table by which their edges are blended, on a thread of its own. Main thread, once the
// toolkit runs. The table is not made for two threads: nothing is painted before waitForFonts().
void loadFontsAhead();

// Main thread. At once when none are being loaded.
void waitForFonts();
