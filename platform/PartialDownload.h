#pragma once

#include "base/Descriptor.h"

#include <QString>

#include <memory>
#include <string>
#include <string_view>

// The temporary file of one download: CFNetworkDownload_XXXXXX.tmp in the temporary folder, readable by this user only.
// It is deleted with this object, unless somebody moved it away before. While it is written it is locked: the kernel
// lets go of the lock of a process that was killed, which tells what was abandoned.
//
// Threads: one at a time; the functions without an object, any.
class PartialDownload {
public:
    // Null when there is no usable temporary folder, the file cannot be made, or the process is about to end.
    static std::shared_ptr<PartialDownload> create();
    // Deletes the files of all that exist; from now on create() gives null. For the end of the process.
    static void removeAll();
    // Deletes what earlier processes left in the temporary folder.
    static void removeAbandoned();

    PartialDownload(base::Descriptor file, std::string path);
    ~PartialDownload();
    PartialDownload(const PartialDownload&) = delete;
    PartialDownload& operator=(const PartialDownload&) = delete;

    QString path() const;
    // False when not all bytes could be written.
    bool write(std::string_view bytes);
    // Closes the file; false when the system reports only now that bytes were lost.
    bool close();

private:
    base::Descriptor file_;
    std::string path_;
};
