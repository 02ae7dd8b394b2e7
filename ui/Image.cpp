#include "ui/Image.h"

#include "platform/Bundle.h"

#include <QImageReader>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLargestScale = 3;

QPixmap readPng(const QString& path) {
    // The format is named, so that no plugin is looked for.
    QImageReader reader(path, "png");
    reader.setAutoDetectImageFormat(false);
    return QPixmap::fromImage(reader.read());
}

} // namespace

std::optional<Image> imageNamed(const QString& name) {
    Image image;
    image.name_ = name.endsWith(QLatin1String(".png")) ? name.chopped(4) : name;
    for (int scale = 1; scale <= kLargestScale; ++scale) {
        const QString file = scale == 1 ? image.name_ : u"%1@%2x"_s.arg(image.name_).arg(scale);
        if (const auto path = Bundle::mainBundle().pathForResource(file, u"png"_s)) {
            image.paths_[scale] = *path;
        }
    }
    return image.paths_.empty() ? std::nullopt : std::optional(image);
}

QSizeF Image::size() const {
    const auto& [scale, path] = *paths_.begin();
    QImageReader reader(path, "png");
    reader.setAutoDetectImageFormat(false);
    return QSizeF(reader.size()) / scale;
}

QPixmap Image::pixmap(double scale) const {
    auto best = paths_.lower_bound(static_cast<int>(std::ceil(scale - 0.01)));
    if (best == paths_.end()) {
        best = std::prev(paths_.end());
    }
    QPixmap picture = readPng(best->second);
    picture.setDevicePixelRatio(best->first);
    return picture;
}
