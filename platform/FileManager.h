#pragma once

#include "base/Descriptor.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// Files and folders. All paths are plain; they are mapped where the kernel is called.
//
// Threads: any. Nothing here throws but the handle.
namespace FileManager {

// What `%@` shows of a failure: Error Domain=NSCocoaErrorDomain Code=4 "“x” couldn’t be removed." …
struct Error {
    int code;
    QString description; // the quoted sentence
    QString path;
    QString text() const;
};

// Follows links.
bool fileExists(const QString& path);
// Names of all entries, hidden ones included, without . and ..; in no order; absent on failure.
std::optional<QStringList> contentsOfDirectory(const QString& path);
// With intermediate folders, 0777 less the umask. An existing folder is a success. Absent result: success.
std::optional<Error> createDirectory(const QString& path);
// Truncates an existing file, 0666 less the umask.
bool createFile(const QString& path);
// Recursive, does not follow links. A missing path is a failure. Absent result: success.
std::optional<Error> removeItem(const QString& path);
// Fails when the target exists or its folder is missing; copies across volumes. Absent result: success.
std::optional<Error> moveItem(const QString& from, const QString& to);
std::optional<QByteArray> contents(const QString& path);
// Writes to a temporary name beside `path`, then renames: a reader sees the old contents or all of the new.
std::optional<Error> writeAtomically(const QByteArray& bytes, const QString& path);

} // namespace FileManager

// A handle that writes to an existing file without creating or truncating it. What it writes always goes to the end,
// also when another thread has written since the seek: entries of several threads stay whole. An absent handle (the
// file is missing, a folder, or not permitted) ignores every call, as a message to nothing does.
//
// Errors: seeking, writing and closing throw PlatformException (NSFileHandleOperationException).
class WritingFileHandle {
public:
    explicit WritingFileHandle(const QString& path);

    bool isPresent() const { return static_cast<bool>(file_); }
    void seekToEndOfFile();
    // All bytes in one call of the kernel where it takes them, so that lines of several threads do not mix.
    void writeData(const QByteArray& bytes);
    void closeFile();

private:
    base::Descriptor file_;
};
