#include "ui/Accessible.h"

#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/QNSpinner.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>

#include <mutex>
#include <vector>

namespace {

// One link of a field, found anew by its number at each question: texts change.
class AccessibleLink : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    AccessibleLink(HyperlinkTextField* field, std::size_t number) : field_(field), number_(number) {}

    bool isValid() const override { return info().has_value(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return field_ ? field_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(field_); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Link; }

    QString text(QAccessible::Text kind) const override {
        const auto link = info();
        if (!link) {
            return {};
        }
        if (kind == QAccessible::Name) {
            return field_->string().mid(link->range.location, link->range.length);
        }
        return kind == QAccessible::Value ? link->url : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}

    QRect rect() const override {
        const auto link = info();
        return link ? QRect(field_->mapToGlobal(link->rect.topLeft().toPoint()), link->rect.size().toSize()) : QRect();
    }

    QAccessible::State state() const override {
        QAccessible::State state;
        state.focusable = true;
        state.linked = true;
        state.invisible = !field_ || !field_->isVisible();
        state.focused = field_ && field_->focusedLink() == number_;
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }
    QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }
    void doAction(const QString& action) override {
        const auto link = info();
        if (!link) {
            return;
        }
        if (action == pressAction()) {
            field_->openLink(link->url);
        } else if (action == setFocusAction()) {
            field_->focusLink(number_, Qt::OtherFocusReason);
        }
    }

private:
    std::optional<HyperlinkInfo> info() const {
        if (!field_) {
            return std::nullopt;
        }
        const auto links = field_->links();
        return number_ < links.size() ? std::optional(links[number_]) : std::nullopt;
    }

    QPointer<HyperlinkTextField> field_;
    std::size_t number_;
};

// By itself a window of its own making counts as a nameless part of some other: nobody would hear its title.
class AccessibleWindow : public QAccessibleWidget {
public:
    explicit AccessibleWindow(Window* window) : QAccessibleWidget(window) {}
    QAccessible::Role role() const override {
        const auto* const window = static_cast<const Window*>(widget());
        return window->level() >= Window::kFloatingLevel ? QAccessible::Dialog : QAccessible::Window;
    }
};

class AccessibleText : public QAccessibleWidget {
public:
    explicit AccessibleText(TextField* field) : QAccessibleWidget(field, QAccessible::StaticText) {}
    // Without words there is nothing to stop at.
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.invisible = state.invisible || static_cast<const TextField*>(widget())->string().isEmpty();
        return state;
    }
};

class AccessibleHyperlinks : public AccessibleText {
public:
    explicit AccessibleHyperlinks(HyperlinkTextField* field) : AccessibleText(field) {}
    ~AccessibleHyperlinks() override {
        for (const QAccessible::Id id : links_) {
            QAccessible::deleteAccessibleInterface(id);
        }
    }

    int childCount() const override { return static_cast<int>(field()->links().size()); }
    QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount()) {
            return nullptr;
        }
        const auto number = static_cast<std::size_t>(index);
        while (links_.size() <= number) {
            links_.push_back(QAccessible::registerAccessibleInterface(new AccessibleLink(field(), links_.size())));
        }
        return QAccessible::accessibleInterface(links_[number]);
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        for (std::size_t number = 0; number < links_.size(); ++number) {
            if (QAccessible::accessibleInterface(links_[number]) == child) {
                return static_cast<int>(number);
            }
        }
        return -1;
    }
    QAccessibleInterface* focusChild() const override {
        const auto focused = field()->focusedLink();
        return focused ? child(static_cast<int>(*focused)) : nullptr;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        for (int index = 0; index < childCount(); ++index) {
            if (child(index)->rect().contains(x, y)) {
                return child(index);
            }
        }
        return nullptr;
    }

private:
    HyperlinkTextField* field() const { return static_cast<HyperlinkTextField*>(widget()); }

    mutable std::vector<QAccessible::Id> links_;
};

// With a name it is the panel, which comes up by itself and says what is the matter; others only hold other views.
class AccessibleView : public QAccessibleWidget {
public:
    explicit AccessibleView(View* view) : QAccessibleWidget(view, QAccessible::Client) {}
    QAccessible::Role role() const override {
        return widget()->accessibleName().isEmpty() ? QAccessible::Client : QAccessible::AlertMessage;
    }
};

// A picture without a name says nothing that does not stand beside it.
class AccessiblePicture : public QAccessibleWidget {
public:
    explicit AccessiblePicture(ImageView* view) : QAccessibleWidget(view, QAccessible::Graphic) {}
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.invisible = state.invisible || widget()->accessibleName().isEmpty();
        return state;
    }
};

class AccessibleSpinner : public QAccessibleWidget {
public:
    explicit AccessibleSpinner(QNSpinner* spinner) : QAccessibleWidget(spinner, QAccessible::Animation) {}
    // The pictures are how it is drawn, not something to be found in it.
    int childCount() const override { return 0; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.busy = true;
        return state;
    }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    if (auto* window = qobject_cast<Window*>(object)) {
        return new AccessibleWindow(window);
    }
    if (auto* field = qobject_cast<HyperlinkTextField*>(object)) {
        return new AccessibleHyperlinks(field);
    }
    if (auto* field = qobject_cast<TextField*>(object)) {
        return new AccessibleText(field);
    }
    if (auto* spinner = qobject_cast<QNSpinner*>(object)) {
        return new AccessibleSpinner(spinner);
    }
    if (auto* view = qobject_cast<ImageView*>(object)) {
        return new AccessiblePicture(view);
    }
    if (auto* view = qobject_cast<View*>(object)) {
        return new AccessibleView(view);
    }
    return nullptr;
}

// Of a control that loses the keyboard Qt tells that it got it. And it tells that a field has it after the field has
// told which link it is: the text around it would be all that is heard.
void tellOf(QAccessibleEvent* event) {
    if (event->type() == QAccessible::Focus && event->child() < 0) {
        const auto* const field = qobject_cast<const HyperlinkTextField*>(event->object());
        const auto* const button = qobject_cast<const Button*>(event->object());
        if ((field != nullptr && !field->hasFocus()) || (button != nullptr && !button->hasFocus())) {
            return;
        }
        if (field != nullptr) {
            event->setChild(static_cast<int>(field->focusedLink().value_or(0)));
        }
    }
    QAccessible::installUpdateHandler(nullptr);
    QAccessible::updateAccessibility(event);
    QAccessible::installUpdateHandler(tellOf);
}

} // namespace

void installAccessibleFactory() {
    static std::once_flag installed;
    std::call_once(installed, [] {
        QAccessible::installFactory(makeAccessible);
        QAccessible::installUpdateHandler(tellOf);
    });
}
