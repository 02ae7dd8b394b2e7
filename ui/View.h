#pragma once

#include "ui/Layer.h"

#include <QWidget>

// A rectangle of the window that has a layer and holds other views. Main thread.
class View : public QWidget {
    Q_OBJECT
    // Of its layer, for interface files.
    Q_PROPERTY(QString layerColor READ layerColor WRITE setLayerColor)
    Q_PROPERTY(double layerRadius READ layerRadius WRITE setLayerRadius)
    Q_PROPERTY(bool followsHeight READ followsHeight WRITE setFollowsHeight)

public:
    explicit View(QWidget* parent = nullptr);

    const Layer& layer() const { return layer_; }
    void setLayer(const Layer& layer);
    // Six hexadecimal digits; a text that is no colour is none.
    QString layerColor() const { return layer_.colorText(); }
    void setLayerColor(const QString& color) { setLayer(layer_.withColor(color)); }
    double layerRadius() const { return layer_.cornerRadius; }
    void setLayerRadius(double radius) { setLayer(layer_.withRadius(radius)); }

    // Whether it becomes lower by as much as the view that it lies in.
    bool followsHeight() const { return followsHeight_; }
    void setFollowsHeight(bool follows) { followsHeight_ = follows; }
    // Takes the views along that lie in it and follow.
    void setHeight(int height);

protected:
    // Hidden with the keyboard inside, a view hands it to no neighbour.
    bool focusNextPrevChild(bool next) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Layer layer_;
    bool followsHeight_ = false;
};
