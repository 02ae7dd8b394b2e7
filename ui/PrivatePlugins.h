#pragma once

#include <QByteArray>

#include <array>

// Has Qt take its plugins from the bundle's own folder (Contents/PlugIns on Linux) and from nowhere else, and
// the one named plugin for the window system: foreign ones cost time to look through, and whoever can place one could
// run code in this process.
//
// Qt is told so by a command line of its own, made from the program's name: it takes none of the user's words
// for its options, and the environment, which other threads and the programs that we start read, stays as it is. To
// live as long as the application object. Main thread.
class PrivatePlugins {
public:
    PrivatePlugins(const char* program, const QByteArray& windowSystem);
    PrivatePlugins(const PrivatePlugins&) = delete;
    PrivatePlugins& operator=(const PrivatePlugins&) = delete;

    // As the application object wants them, which may take words out.
    int& argumentCount() { return count_; }
    char** arguments() { return arguments_.data(); }

private:
    std::array<QByteArray, 5> words_;
    std::array<char*, 6> arguments_{}; // with a null pointer at the end
    int count_ = 5;
};
