#pragma once

#include <QString>
#include <QWidget>

#include <memory>

// Layouts from the bundle's interface files (Base.lproj/NAME.ui; format: see InterfaceReader).
//
// Only classes of an explicit list are made. Main thread.

// Throws PlatformException when the file is missing, cannot be read, is damaged or says what is not understood, such as
// a class that is not on the list: with file, line and element.
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
