#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// A program that a case needs beside itself: an X server, a window manager, a bus. Its standard error goes nowhere. It
// is ended with the case.
class ChildProcess {
public:
    explicit ChildProcess(std::vector<std::string> command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t process() const { return process_; }
    // The next line of its standard output, without the line end; waits for it. Empty at the end of the output.
    std::string readLine();
    // Ends its standard input and waits until it ends by itself; its exit status, or -1.
    int finish();

private:
    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
};
