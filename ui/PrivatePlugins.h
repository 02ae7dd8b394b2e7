#pragma once

#include <QByteArray>

#include <optional>

// Has the toolkit take its plugins from the bundle's own folder (Contents/PlugIns on Linux) and from nowhere else, and
// the one named plugin for the window system: foreign ones cost time to look through, and whoever can place one could
// run code in this process.
//
// To exist while the application object is made, which loads what it needs; main thread, before other threads exist.
// The environment, which programs that we start inherit, is as before when this object goes.
class PrivatePlugins {
public:
    explicit PrivatePlugins(const QByteArray& windowSystem);
    ~PrivatePlugins();
    PrivatePlugins(const PrivatePlugins&) = delete;
    PrivatePlugins& operator=(const PrivatePlugins&) = delete;

private:
    std::optional<QByteArray> platformPath_;
    std::optional<QByteArray> platform_;
};
