#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QXmlStreamReader>

#include <functional>
#include <memory>
#include <utility>

class QBoxLayout;
class QLayout;
class QVariant;
class QWidget;

// Makes the objects that one interface file describes. The format is the part of Qt Designer's that the bundle's files
// use: widgets with properties, box layouts with spacers, actions and the order of the tab key. Whatever else a file
// says is an error: nothing is left out in silence.
//
// A reader reads one file, once. Main thread.
class InterfaceReader {
public:
    using Maker = QWidget* (*)(QWidget* parent);
    using Classes = QHash<QString, Maker>;

    // `classes` are those that a file may name; they outlive the reader.
    InterfaceReader(const QByteArray& contents, const Classes& classes);

    // The root with everything below it. Throws PlatformException with the reason "line 7, <widget>: unknown class X".
    std::unique_ptr<QWidget> read();

private:
    // What is done with an element of that name. It reads on to the element's end.
    using Readers = std::initializer_list<std::pair<const char*, std::function<void()>>>;
    using Setter = std::function<void(const QString& name, const QVariant& value)>;

    void readElements(const Readers& readers);
    void readInterface();
    QWidget& readWidget(QWidget* parent);
    void readAction(QWidget& widget);
    void readAddedAction(QWidget& widget);
    void readTabStops();
    void readLayout(const std::function<void(QLayout*)>& place, QWidget* parent);
    void readLayoutItem(QBoxLayout& layout, QWidget* parent);
    void readSpacer(QBoxLayout& layout);

    void readProperty(const Setter& set);
    void readObjectProperty(QObject& object);
    QVariant readValue();
    // The whole numbers of the named elements, each exactly once and in any order.
    QList<int> readNumbers(const QStringList& names);
    int number(const QString& text) const;

    template <typename Object>
    Object& onlyOne(const QList<Object*>& found, const QString& name) const;
    QString requiredAttribute(const char* name) const;
    [[noreturn]] void fail(const QString& why) const;

    const Classes& classes_;
    QXmlStreamReader xml_;
    std::unique_ptr<QWidget> root_;
    int depth_ = 0;
};
