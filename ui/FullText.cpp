#include "ui/FullText.h"

#include "ui/TextView.h"

#include <QHelpEvent>
#include <QToolTip>

void tellFullText(const QHelpEvent& event, QWidget& widget, const TextView& view, const QString& text) {
    if (view.isElided()) {
        QToolTip::showText(event.globalPos(), text, &widget);
    } else {
        QToolTip::hideText();
    }
}
