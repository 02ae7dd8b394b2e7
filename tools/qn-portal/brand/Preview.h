#pragma once

#include <QString>
#include <QStringList>

namespace portal::brand {

struct PreviewOptions {
    QString brand;         // the folder that `brand new` made
    QString bundle;        // the built installer, whose copy gets the brand
    QString program;       // the qn-portal that shows the copy's screens
    QString output;        // a new folder
    QStringList languages; // of the tables
};

// Makes a picture of every screen in every language with the brand, a page that shows them all, and one picture of all:
// OUTPUT/index.html, OUTPUT/contact-sheet.png, OUTPUT/LANGUAGE-SCREEN.png. Needs no display. Throws std::runtime_error
// with a sentence; pictures that were made stay.
void makePreview(const PreviewOptions& options);

} // namespace portal::brand
