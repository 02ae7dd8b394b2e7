#pragma once

#include <QPixmap>
#include <QString>

#include <map>
#include <optional>

// A picture from the bundle's resources in up to three sizes: NAME.png, NAME@2x.png and NAME@3x.png.
//
// A value, main thread. Files are read when they are first needed, the one size that fits the screen only.
class Image {
public:
    // In points. The size of NAME.png; of the smallest file there is, over its scale, when that one is missing.
    QSizeF size() const;
    const QString& name() const { return name_; }

    // The picture for a screen of this scale: the smallest file that is large enough, else the largest.
    QPixmap pixmap(double scale) const;

private:
    friend std::optional<Image> imageNamed(const QString& name);

    QString name_;
    std::map<int, QString> paths_; // scale, file
};

// The bundle's image of this name, without an extension. Absent when there is no file in any size.
std::optional<Image> imageNamed(const QString& name);
