#include "hdiutil/front/PasswordPrompt.h"

#include "base/Files.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/ImageError.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>

namespace hdi {
namespace {

constexpr std::array kCaught = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

std::atomic<int> caught = 0; // set by the signal handler
static_assert(std::atomic<int>::is_always_lock_free);

// While it lives, standard input does not echo, and the signals that would end or stop the process only come through
// while it waits. Afterwards both are as they were, and a signal that came is raised again.
class SilentTerminal {
public:
    SilentTerminal() {
        caught = 0;
        sigset_t blocked;
        sigemptyset(&blocked);
        struct sigaction action {};
        action.sa_handler = [](int signal) { caught = signal; };
        for (std::size_t i = 0; i < kCaught.size(); ++i) {
            sigaddset(&blocked, kCaught.at(i));
            sigaction(kCaught.at(i), &action, &before_.at(i));
            if (before_.at(i).sa_handler == SIG_IGN) {
                sigaction(kCaught.at(i), &before_.at(i), nullptr);
            }
        }
        sigprocmask(SIG_BLOCK, &blocked, &mask_);
        tcgetattr(STDIN_FILENO, &terminal_);
        termios silent = terminal_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;
    ~SilentTerminal() {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminal_);
        for (std::size_t i = 0; i < kCaught.size(); ++i) {
            sigaction(kCaught.at(i), &before_.at(i), nullptr);
        }
        sigprocmask(SIG_SETMASK, &mask_, nullptr);
        if (caught != 0) {
            raise(caught); // NOLINT(cert-err33-c): a signal that exists
        }
    }

    // The next byte; absent when a signal came or the input ended.
    std::optional<std::byte> read() const {
        pollfd waiting{STDIN_FILENO, POLLIN, 0};
        while (caught == 0 && ppoll(&waiting, 1, nullptr, &mask_) < 0 && errno == EINTR) {
        }
        std::byte byte{};
        return caught == 0 && ::read(STDIN_FILENO, &byte, 1) == 1 ? std::optional(byte) : std::nullopt;
    }

private:
    std::array<struct sigaction, kCaught.size()> before_{};
    sigset_t mask_{};
    termios terminal_{};
};

[[noreturn]] void fail(const std::string& verb, const std::string& reason) {
    throw FrontError(verb + " failed - " + reason);
}

bool isAtTerminal() {
    return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

// One line. False when a signal interrupted it and the process lives on: it was stopped, and goes on now.
bool readLine(const std::string& verb, const std::string& question, Password& password) {
    const SilentTerminal terminal; // before the question: what is typed in answer to it is not thrown away
    (void)base::writeAll(STDERR_FILENO, question);
    for (;;) {
        const std::optional<std::byte> byte = terminal.read();
        if (!byte && caught != 0) {
            return false;
        }
        if (!byte || *byte == std::byte{'\n'}) {
            (void)base::writeAll(STDERR_FILENO, "\n"); // the one that was typed did not show
            return true;
        }
        if (!password.append(*byte)) {
            fail(verb, "the password is too long");
        }
    }
}

PasswordPtr ask(const std::string& verb, const std::string& question) {
    auto password = std::make_shared<Password>();
    while (!readLine(verb, question, *password)) {
        password->wipe();
    }
    return password;
}

PasswordPtr readFromInput(const std::string& verb) {
    PasswordPtr password = readPassword(STDIN_FILENO);
    if (!password) {
        fail(verb, errno == E2BIG ? "the password is too long" : "the password: " + errorText(errno));
    }
    return password;
}

bool isEncrypted(const std::string& imagePath) {
    try {
        return needsPassword(imagePath);
    } catch (const ImageError&) { // whoever opens it next says why
        return false;
    }
}

} // namespace

PasswordPtr passwordFor(const std::string& verb, const std::string& imagePath, bool fromInput) {
    if ((!fromInput && !isAtTerminal()) || !isEncrypted(imagePath)) {
        return nullptr;
    }
    if (fromInput) {
        return readFromInput(verb);
    }
    return ask(verb, "Password of \"" + imagePath.substr(imagePath.rfind('/') + 1) + "\": ");
}

PasswordPtr newPassword(const std::string& verb, bool fromInput) {
    if (!fromInput && !isAtTerminal()) {
        fail(verb, "-encryption needs a password (-stdinpass)");
    }
    PasswordPtr password = fromInput ? readFromInput(verb) : ask(verb, "New password: ");
    if (password->bytes().empty()) {
        fail(verb, "the password is empty");
    }
    if (!fromInput) {
        const PasswordPtr again = ask(verb, "The same again: ");
        if (!std::ranges::equal(password->bytes(), again->bytes())) {
            fail(verb, "the passwords differ");
        }
    }
    return password;
}

} // namespace hdi
