#include "ui/InterfaceReader.h"

#include "platform/base/PlatformException.h"

#include <QAction>
#include <QBoxLayout>
#include <QMetaEnum>
#include <QMetaProperty>
#include <QVariant>
#include <QWidget>

#include <algorithm>
#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Far more than any layout needs, and few enough for the stack.
constexpr int kDeepest = 64;

// The names of an enumeration's value or of a set of flags, such as "Qt::AlignLeft|Qt::AlignTop".
struct Symbols {
    QByteArray names;
};

std::optional<int> valueOf(const QMetaEnum& enumeration, const QVariant& value) {
    if (!value.canConvert<Symbols>()) {
        return std::nullopt;
    }
    const QByteArray names = value.value<Symbols>().names;
    bool known = false;
    const int number = enumeration.isFlag() ? enumeration.keysToValue(names.constData(), &known)
                                            : enumeration.keyToValue(names.constData(), &known);
    return known ? std::optional(number) : std::nullopt;
}

bool setProperty(QObject& object, const QMetaProperty& property, const QVariant& value) {
    if (property.isEnumType()) {
        const std::optional<int> number = valueOf(property.enumerator(), value);
        return number && property.write(&object, *number);
    }
    return !value.canConvert<Symbols>() && property.write(&object, value);
}

// The four margins, which Qt's layouts have no properties for.
bool setMargin(QLayout& layout, const QString& name, const QVariant& value) {
    const std::array<QLatin1String, 4> names{"leftMargin"_L1, "topMargin"_L1, "rightMargin"_L1, "bottomMargin"_L1};
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end() || value.typeId() != QMetaType::Int) {
        return false;
    }
    std::array<int, 4> margins{};
    layout.getContentsMargins(&margins[0], &margins[1], &margins[2], &margins[3]);
    margins.at(static_cast<std::size_t>(found - names.begin())) = value.toInt();
    layout.setContentsMargins(margins[0], margins[1], margins[2], margins[3]);
    return true;
}

std::unique_ptr<QBoxLayout> makeLayout(const QString& name) {
    if (name == "QHBoxLayout"_L1) {
        return std::make_unique<QHBoxLayout>();
    }
    return name == "QVBoxLayout"_L1 ? std::make_unique<QVBoxLayout>() : nullptr;
}

} // namespace

InterfaceReader::InterfaceReader(const QByteArray& contents, const Classes& classes)
    : classes_(classes), xml_(contents) {}

std::unique_ptr<QWidget> InterfaceReader::read() {
    if (!xml_.readNextStartElement() || xml_.name() != "ui"_L1) {
        fail(u"no interface file"_s);
    }
    readInterface();
    while (!xml_.atEnd()) {
        xml_.readNext();
    }
    if (xml_.hasError()) {
        fail({});
    }
    if (!root_) {
        fail(u"no widget"_s);
    }
    return std::move(root_);
}

void InterfaceReader::readElements(const Readers& readers) {
    if (++depth_ > kDeepest) {
        fail(u"nested too deeply"_s);
    }
    while (xml_.readNextStartElement()) {
        const auto* const reader = std::find_if(readers.begin(), readers.end(), [this](const auto& known) {
            return xml_.name() == QLatin1String(known.first);
        });
        if (reader == readers.end()) {
            fail(u"unknown here"_s);
        }
        reader->second();
    }
    if (xml_.hasError()) {
        fail({});
    }
    --depth_;
}

void InterfaceReader::readInterface() {
    readElements({{"class", [this] { xml_.readElementText(); }},
                  {"widget", [this] { readWidget(nullptr); }},
                  {"tabstops", [this] { readTabStops(); }}});
}

QWidget& InterfaceReader::readWidget(QWidget* parent) {
    if (parent == nullptr && root_) {
        fail(u"a second root"_s);
    }
    const QString className = requiredAttribute("class");
    const Maker maker = classes_.value(className);
    if (maker == nullptr) {
        fail(u"unknown class "_s + className);
    }
    const QString name = requiredAttribute("name");
    QWidget& widget = *maker(parent);
    if (parent == nullptr) {
        root_.reset(&widget);
    }
    widget.setObjectName(name);
    const auto setLayout = [this, &widget](QLayout* layout) {
        if (widget.layout() != nullptr) {
            fail(u"a second layout"_s);
        }
        widget.setLayout(layout);
    };
    readElements({{"property", [&] { readObjectProperty(widget); }},
                  {"widget", [&] { readWidget(&widget); }},
                  {"layout", [&] { readLayout(setLayout, &widget); }},
                  {"action", [&] { readAction(widget); }},
                  {"addaction", [&] { readAddedAction(widget); }}});
    return widget;
}

void InterfaceReader::readAction(QWidget& widget) {
    auto* const action = new QAction(&widget);
    action->setObjectName(requiredAttribute("name"));
    readElements({{"property", [&] { readObjectProperty(*action); }}});
}

void InterfaceReader::readAddedAction(QWidget& widget) {
    const QString name = requiredAttribute("name");
    widget.addAction(&onlyOne(widget.findChildren<QAction*>(name), name));
    readElements({});
}

void InterfaceReader::readTabStops() {
    QWidget* before = nullptr;
    const auto readTabStop = [&] {
        const QString name = xml_.readElementText();
        QWidget* const widget = &onlyOne(root_ ? root_->findChildren<QWidget*>(name) : QList<QWidget*>(), name);
        if (before != nullptr) {
            QWidget::setTabOrder(before, widget);
        }
        before = widget;
    };
    readElements({{"tabstop", readTabStop}});
}

void InterfaceReader::readLayout(const std::function<void(QLayout*)>& place, QWidget* parent) {
    const QString className = requiredAttribute("class");
    std::unique_ptr<QBoxLayout> made = makeLayout(className);
    if (!made) {
        fail(u"unknown class "_s + className);
    }
    QBoxLayout& layout = *made;
    layout.setObjectName(requiredAttribute("name"));
    place(&layout);
    static_cast<void>(made.release());
    const auto set = [&](const QString& name, const QVariant& value) {
        if (name == "spacing"_L1 && value.typeId() == QMetaType::Int) {
            layout.setSpacing(value.toInt());
        } else if (!setMargin(layout, name, value)) {
            fail(u"no property of a layout, or not its kind of value: "_s + name);
        }
    };
    readElements({{"property", [&] { readProperty(set); }}, {"item", [&] { readLayoutItem(layout, parent); }}});
}

void InterfaceReader::readLayoutItem(QBoxLayout& layout, QWidget* parent) {
    readElements({{"widget", [&] { layout.addWidget(&readWidget(parent)); }},
                  {"layout", [&] { readLayout([&](QLayout* inner) { layout.addLayout(inner); }, parent); }},
                  {"spacer", [&] { readSpacer(layout); }}});
}

void InterfaceReader::readSpacer(QBoxLayout& layout) {
    static_cast<void>(requiredAttribute("name"));
    std::optional<QSize> size;
    std::optional<int> orientation;
    int sizeType = QSizePolicy::Expanding;
    const auto set = [&](const QString& name, const QVariant& value) {
        std::optional<int> symbol;
        if (name == "sizeHint"_L1 && value.typeId() == QMetaType::QSize) {
            size = value.toSize();
        } else if (name == "orientation"_L1 && (symbol = valueOf(QMetaEnum::fromType<Qt::Orientation>(), value))) {
            orientation = symbol;
        } else if (name == "sizeType"_L1 && (symbol = valueOf(QMetaEnum::fromType<QSizePolicy::Policy>(), value))) {
            sizeType = *symbol;
        } else {
            fail(u"no property of a spacer, or not its kind of value: "_s + name);
        }
    };
    readElements({{"property", [&] { readProperty(set); }}});
    if (!size || !orientation) {
        fail(u"a spacer needs orientation and sizeHint"_s);
    }
    const auto along = static_cast<QSizePolicy::Policy>(sizeType);
    const bool horizontal = *orientation == Qt::Horizontal;
    layout.addItem(new QSpacerItem(size->width(), size->height(), horizontal ? along : QSizePolicy::Minimum,
                                   horizontal ? QSizePolicy::Minimum : along));
}

void InterfaceReader::readProperty(const Setter& set) {
    const QString name = requiredAttribute("name");
    std::optional<QVariant> value;
    if (xml_.readNextStartElement()) {
        value = readValue();
    }
    if (!value || xml_.readNextStartElement()) {
        fail(u"not one value: "_s + name);
    }
    set(name, *value);
}

void InterfaceReader::readObjectProperty(QObject& object) {
    readProperty([&](const QString& name, const QVariant& value) {
        const QMetaObject& type = *object.metaObject();
        const QMetaProperty property = type.property(type.indexOfProperty(name.toUtf8().constData()));
        if (!setProperty(object, property, value)) {
            fail(u"no property of %1, or not its kind of value: %2"_s.arg(QLatin1String(type.className()), name));
        }
    });
}

QVariant InterfaceReader::readValue() {
    const QString kind = xml_.name().toString();
    if (kind == "rect"_L1) {
        const QList<int> sides = readNumbers({u"x"_s, u"y"_s, u"width"_s, u"height"_s});
        return QRect(sides[0], sides[1], sides[2], sides[3]);
    }
    if (kind == "size"_L1) {
        const QList<int> sides = readNumbers({u"width"_s, u"height"_s});
        return QSize(sides[0], sides[1]);
    }
    const std::array kinds{"bool"_L1, "number"_L1, "enum"_L1, "set"_L1, "string"_L1};
    const bool isText = std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
    const QString text = isText ? xml_.readElementText() : QString();
    if (kind == "bool"_L1 && (text == "true"_L1 || text == "false"_L1)) {
        return text == "true"_L1;
    }
    if (kind == "number"_L1) {
        return number(text);
    }
    if (kind == "string"_L1) {
        return text;
    }
    if (kind == "enum"_L1 || kind == "set"_L1) {
        return QVariant::fromValue(Symbols{text.toUtf8()});
    }
    fail(u"unknown here"_s);
}

QList<int> InterfaceReader::readNumbers(const QStringList& names) {
    QList<std::optional<int>> found(names.size());
    while (xml_.readNextStartElement()) {
        const qsizetype index = names.indexOf(xml_.name());
        if (index < 0 || found[index]) {
            fail(u"unknown here, or a second time"_s);
        }
        found[index] = number(xml_.readElementText());
    }
    QList<int> numbers;
    for (const std::optional<int>& each : found) {
        if (!each) {
            fail(u"needs "_s + names.join(u", "_s));
        }
        numbers += *each;
    }
    return numbers;
}

int InterfaceReader::number(const QString& text) const {
    bool whole = false;
    const int value = text.toInt(&whole);
    if (!whole) {
        fail(u"not a whole number: "_s + text);
    }
    return value;
}

template <typename Object>
Object& InterfaceReader::onlyOne(const QList<Object*>& found, const QString& name) const {
    if (found.size() != 1) {
        fail(u"%1 objects named \"%2\" in place of one"_s.arg(found.size()).arg(name));
    }
    return *found.first();
}

QString InterfaceReader::requiredAttribute(const char* name) const {
    QString value = xml_.attributes().value(QLatin1String(name)).toString();
    if (value.isEmpty()) {
        fail(u"no attribute "_s + QLatin1String(name));
    }
    return value;
}

// A file that is no XML any more says so before anything else.
void InterfaceReader::fail(const QString& why) const {
    const QString line = u"line "_s + QString::number(xml_.lineNumber());
    const QString element = xml_.name().isEmpty() ? QString() : u", <%1>"_s.arg(xml_.name());
    throw PlatformException::invalidArgument(line + element + u": "_s + (xml_.hasError() ? xml_.errorString() : why));
}
