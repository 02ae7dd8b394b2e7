#include "ui/QNClickableTextField.h"

#include <QMouseEvent>

void QNClickableTextField::onClick(const QByteArray& method, std::shared_ptr<QObject> target) {
    clickHandler_ = method;
    clickTarget_ = std::move(target);
}

void QNClickableTextField::mousePressEvent(QMouseEvent* event) {
    event->accept();
    if (event->button() == Qt::LeftButton && !clickHandler_.isEmpty() && clickTarget_) {
        QMetaObject::invokeMethod(clickTarget_.get(), clickHandler_.constData(), Qt::DirectConnection);
    }
}
