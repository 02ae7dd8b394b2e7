#pragma once

#include "ui/Image.h"
#include "ui/Layer.h"
#include "ui/StyledText.h"
#include "ui/TextView.h"

#include <QPushButton>

#include <optional>

// A button that shows a styled title or a picture on a layer. By keyboard: Tab, Return and Space. A click with the
// mouse leaves the keyboard where it is.
//
// Main thread.
class Button : public QPushButton {
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle)
    Q_PROPERTY(QString imageName READ imageName WRITE setImageName)
    // Of its layer, for interface files.
    Q_PROPERTY(QString layerColor READ layerColor WRITE setLayerColor)
    Q_PROPERTY(double layerRadius READ layerRadius WRITE setLayerRadius)

public:
    explicit Button(QWidget* parent = nullptr);

    QString title() const { return attributedTitle_.string(); }
    // Plain text, in the default font and black. Also the name for assistive technology.
    void setTitle(const QString& title);
    const StyledText& attributedTitle() const { return attributedTitle_; }
    void setAttributedTitle(const StyledText& title);

    const Layer& layer() const { return layer_; }
    void setLayer(const Layer& layer);
    // Six hexadecimal digits; a text that is no colour is none.
    QString layerColor() const { return layer_.colorText(); }
    void setLayerColor(const QString& color) { setLayer(layer_.withColor(color)); }
    double layerRadius() const { return layer_.cornerRadius; }
    void setLayerRadius(double radius) { setLayer(layer_.withRadius(radius)); }

    // The name of a picture of the bundle, shown in place of a title.
    QString imageName() const { return image_ ? image_->name() : QString(); }
    void setImageName(const QString& name);

    // The title with the space that a button keeps around it.
    QSize sizeHint() const override;
    // With a title that becomes smaller, takes a second line, and ends in an ellipsis with the whole as its tooltip.
    QSize minimumSizeHint() const override;
    // Takes on sizeHint().
    void sizeToFit();

    // The title as it is painted, in the middle of the button from top to bottom.
    TextView shownTitle() const;

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    StyledText attributedTitle_;
    Layer layer_;
    std::optional<Image> image_;
};
