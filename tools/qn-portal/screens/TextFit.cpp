#include "tools/qn-portal/screens/TextFit.h"

#include "ui/Button.h"
#include "ui/ImageView.h"
#include "ui/TextField.h"
#include "ui/TextView.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QCoreApplication>
#include <QTextBoundaryFinder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace portal::screens {

namespace {

constexpr double kButtonSides = 32.0; // points beside a title, both sides together

QRect frameOf(const QWidget& widget) {
    return {widget.mapTo(widget.window(), QPoint()), widget.size()};
}

// Languages without blanks break lines between letters; what counts is the language's own rule.
bool breaksAWord(const TextView& view, const QString& string) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, string);
    for (qsizetype index = 1; index < string.size(); ++index) {
        const auto here = view.rectsForRange({index, 1});
        const auto before = view.rectsForRange({index - 1, 1});
        if (here.empty() || before.empty() || here[0].top() == before[0].top()) {
            continue;
        }
        finder.setPosition(index);
        if (!finder.isAtBoundary()) {
            return true;
        }
    }
    return false;
}

QString misfitOf(const TextField& field) {
    const TextView view = field.textView();
    if (view.isElided() || view.height() > field.height() || view.width() > field.width()) {
        return u"is cut off"_s;
    }
    return breaksAWord(view, field.string()) ? u"breaks inside a word"_s : QString();
}

QString misfitOf(const Button& button) {
    const TextView view(button.attributedTitle(), QRectF(0, 0, 1.0e6, 0), Qt::AlignLeft);
    const bool fits = view.width() + kButtonSides <= button.width() && view.height() <= button.height();
    return fits ? QString() : u"is cut off"_s;
}

struct Shown {
    const QWidget* widget;
    QString text; // empty for a picture
    QString misfit;
};

std::vector<Shown> shownOn(const Window& window) {
    std::vector<Shown> all;
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible()) {
            continue;
        }
        if (const auto* const field = qobject_cast<const TextField*>(widget); field && !field->string().isEmpty()) {
            all.push_back({widget, field->string(), misfitOf(*field)});
        } else if (const auto* const button = qobject_cast<const Button*>(widget)) {
            const QString title = button->title();
            all.push_back({widget, title, title.isEmpty() ? QString() : misfitOf(*button)});
        } else if (qobject_cast<const ImageView*>(widget) != nullptr) {
            all.push_back({widget, {}, {}});
        }
    }
    return all;
}

} // namespace

std::vector<Misfit> misfitsOf(Window& window) {
    QCoreApplication::processEvents();
    std::vector<Shown> shown = shownOn(window);
    const QRect content = frameOf(*window.contentView());
    std::vector<Misfit> misfits;
    for (const Shown& each : shown) {
        const QRect frame = frameOf(*each.widget);
        const auto isOver = [&](const Shown& other) {
            return other.widget != each.widget && frameOf(*other.widget).intersects(frame);
        };
        if (each.text.isEmpty()) {
            continue;
        }
        if (!each.misfit.isEmpty()) {
            misfits.push_back({each.text, each.misfit});
        } else if (!content.contains(frame)) {
            misfits.push_back({each.text, u"leaves the window"_s});
        } else if (std::ranges::any_of(shown, isOver)) {
            misfits.push_back({each.text, u"lies over something else"_s});
        }
    }
    return misfits;
}

} // namespace portal::screens
