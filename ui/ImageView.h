#pragma once

#include "ui/Image.h"

#include <QWidget>

#include <optional>

// Shows a picture in the middle of its bounds, made smaller when it does not fit, never larger. Main thread.
class ImageView : public QWidget {
    Q_OBJECT
    // The name of a picture of the bundle, for interface files.
    Q_PROPERTY(QString imageName READ imageName WRITE setImageName)
    Q_PROPERTY(QSize wantedSize READ wantedSize WRITE setWantedSize)

public:
    explicit ImageView(QWidget* parent = nullptr);

    const std::optional<Image>& image() const { return image_; }
    // Absent clears the view.
    void setImage(const std::optional<Image>& image);
    QString imageName() const { return image_ ? image_->name() : QString(); }
    void setImageName(const QString& name) { setImage(imageNamed(name)); }

    // The size that it asks for, whatever it shows; by itself that of its picture.
    const QSize& wantedSize() const { return wantedSize_; }
    void setWantedSize(const QSize& size) { wantedSize_ = size; }

    QSize sizeHint() const override;

    // Paints the picture as it looks in this view. For a parent that turns its views, and so paints them itself.
    void paintPicture(QPainter& painter, double scale) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<Image> image_;
    QSize wantedSize_;
    mutable QPixmap picture_; // as last painted, for `pictureScale_`
    mutable double pictureScale_ = 0.0;
};
