#pragma once

#include "base/Descriptor.h"
#include "tools/qn-portal/log/EntryReader.h"

#include <atomic>
#include <string>

namespace portal::eventlog {

// A file with an event log, open for reading; "-" is the standard input. Errors: LogError, with the file's name.
class LogFile {
public:
    explicit LogFile(std::string path);

    // Reads it to its end.
    void readAll(const EntryReader::Receiver& receiver);

    // Goes on reading what is appended, until `isEnded` is set; then the rest is handed over. A file that becomes
    // shorter is read again from its beginning. `onPause` is called whenever all was read that is there.
    void follow(const EntryReader::Receiver& receiver, const std::function<void()>& onPause,
                const std::atomic<bool>& isEnded);

    // Back to the beginning, for a second readAll().
    void rewind();

private:
    std::size_t fill(EntryReader& reader);
    bool becameShorter() const;

    std::string path_;
    base::Descriptor file_;
};

} // namespace portal::eventlog
