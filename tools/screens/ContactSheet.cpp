#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cstdio>

// Puts pictures side by side on one, each with the name of its file above, so that they can be looked at together.

namespace {

constexpr int kBetween = 12;
constexpr int kCaption = 20;

struct Picture {
    QString name;
    QImage image;
};

QImage sheetOf(const QList<Picture>& pictures, qsizetype columns) {
    QSize cell(0, 0);
    for (const Picture& picture : pictures) {
        cell = cell.expandedTo(picture.image.size());
    }
    const QSize step = cell + QSize(kBetween, kBetween + kCaption);
    const auto rows = static_cast<int>((pictures.size() + columns - 1) / columns);
    QImage sheet(static_cast<int>(std::min(columns, pictures.size())) * step.width() + kBetween,
                 rows * step.height() + kBetween, QImage::Format_RGB32);
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    for (qsizetype index = 0; index < pictures.size(); ++index) {
        const QPoint corner(kBetween + static_cast<int>(index % columns) * step.width(),
                            kBetween + static_cast<int>(index / columns) * step.height());
        painter.drawText(QRect(corner, QSize(cell.width(), kCaption)), Qt::AlignLeft | Qt::AlignVCenter,
                         pictures.at(index).name);
        painter.drawImage(corner + QPoint(0, kCaption), pictures.at(index).image);
    }
    return sheet;
}

} // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    const QStringList words = QGuiApplication::arguments();
    const int columns = words.value(2).toInt();
    if (words.size() < 4 || columns < 1) {
        std::fputs("usage: contact_sheet SHEET COLUMNS PICTURE...\n", stderr);
        return 2;
    }
    QList<Picture> pictures;
    for (const QString& path : words.mid(3)) {
        const QImage image(path);
        if (image.isNull()) {
            std::fprintf(stderr, "contact_sheet: %s is no picture\n", qPrintable(path));
            return 1;
        }
        pictures.append({QFileInfo(path).completeBaseName(), image});
    }
    return sheetOf(pictures, columns).save(words.at(1)) ? 0 : 1;
}
