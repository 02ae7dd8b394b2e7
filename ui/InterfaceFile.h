#pragma once

#include <QString>
#include <QWidget>

#include <memory>

// Layouts from the bundle's interface files (Base.lproj/NAME.ui; format: Qt Designer's, read by its loader).
//
// Only classes of an explicit list are made: the loader by itself would put a base class, or nothing, in the place of
// one that it does not know. Main thread.

// Throws PlatformException when the file is missing, cannot be read, is damaged or names a class that is not on the
// list.
std::unique_ptr<QWidget> loadInterfaceFile(const QString& name);

// Throws PlatformException unless exactly one object below `root`, or `root` itself, has this name.
QObject& requiredObject(QWidget& root, const char* name);
[[noreturn]] void throwWrongClass(const QObject& object, const char* expected);

// The outlet of this name and type. Throws PlatformException unless there is exactly one.
template <typename Type>
Type* outlet(QWidget& root, const char* name) {
    QObject& object = requiredObject(root, name);
    if (auto* found = qobject_cast<Type*>(&object)) {
        return found;
    }
    throwWrongClass(object, Type::staticMetaObject.className());
}
