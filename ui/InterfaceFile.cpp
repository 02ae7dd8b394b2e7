#include "ui/InterfaceFile.h"

#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/base/PlatformException.h"
#include "ui/Accessible.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/InterfaceReader.h"
#include "ui/QNButton.h"
#include "ui/QNClickableImageView.h"
#include "ui/QNClickableTextField.h"
#include "ui/QNSpinner.h"
#include "ui/QNTextFieldWithLinks.h"
#include "ui/Window.h"

using namespace Qt::StringLiterals;

namespace {

template <typename Class>
QWidget* make(QWidget* parent) {
    return new Class(parent);
}

const InterfaceReader::Classes& classes() {
    static const InterfaceReader::Classes known{
        {u"Button"_s, make<Button>},
        {u"HyperlinkTextField"_s, make<HyperlinkTextField>},
        {u"ImageView"_s, make<ImageView>},
        {u"QNButton"_s, make<QNButton>},
        {u"QNClickableImageView"_s, make<QNClickableImageView>},
        {u"QNClickableTextField"_s, make<QNClickableTextField>},
        {u"QNHoverButton"_s, make<QNHoverButton>},
        {u"QNSpinner"_s, make<QNSpinner>},
        {u"QNTextFieldWithLinks"_s, make<QNTextFieldWithLinks>},
        {u"QWidget"_s, make<QWidget>},
        {u"TextField"_s, make<TextField>},
        {u"View"_s, make<View>},
        {u"Window"_s, make<Window>},
    };
    return known;
}

PlatformException unusable(const QString& name, const QString& why) {
    return PlatformException::invalidArgument(u"Interface file \"%1\": %2"_s.arg(name, why));
}

} // namespace

std::unique_ptr<QWidget> loadInterfaceFile(const QString& name) {
    installAccessibleFactory();
    const std::optional<QString> path = Bundle::mainBundle().pathForResource(name, u"ui"_s);
    const std::optional<QByteArray> bytes = path ? FileManager::contents(*path) : std::nullopt;
    if (!bytes) {
        throw unusable(name, u"not in the bundle, or not readable"_s);
    }
    try {
        return InterfaceReader(*bytes, classes()).read();
    } catch (const PlatformException& exception) {
        throw unusable(name, exception.reason());
    }
}

QObject& requiredObject(QWidget& root, const char* name) {
    const QString wanted = QLatin1String(name);
    QObjectList found = root.findChildren<QObject*>(wanted);
    if (root.objectName() == wanted) {
        found.prepend(&root);
    }
    if (found.size() == 1) {
        return *found.first();
    }
    throw PlatformException::invalidArgument(
        u"Interface of \"%1\": %2 objects named \"%3\" in place of one"_s.arg(root.objectName())
            .arg(found.size())
            .arg(wanted));
}

void throwWrongClass(const QObject& object, const char* expected) {
    throw PlatformException::invalidArgument(u"Interface object \"%1\" is of class %2 in place of %3"_s.arg(
        object.objectName(), QLatin1String(object.metaObject()->className()), QLatin1String(expected)));
}
