#include "tools/standins/PermanentAddresses.h"

#include "base/Descriptor.h"

#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>

namespace standins {
namespace {

constexpr std::size_t kAddressLength = 6;

// The value at the beginning of `bytes`, which may lie anywhere in memory.
template <typename Value>
std::optional<Value> readAs(std::string_view bytes) {
    if (bytes.size() < sizeof(Value)) {
        return std::nullopt;
    }
    Value value;
    std::memcpy(&value, bytes.data(), sizeof(Value));
    return value;
}

std::string_view after(std::string_view bytes, std::size_t length) {
    constexpr std::size_t kAlignment = 4;
    return bytes.substr(std::min(bytes.size(), (length + kAlignment - 1) / kAlignment * kAlignment));
}

std::string asText(std::string_view address) {
    std::string text;
    for (const char byte : address) {
        std::array<char, 4> pair{};
        std::snprintf(pair.data(), pair.size(), "%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        text += (text.empty() ? "" : ":") + std::string(pair.data());
    }
    return text;
}

void readAttributes(long index, std::string_view bytes, std::map<long, std::string>& found) {
    while (const auto head = readAs<rtattr>(bytes)) {
        if (head->rta_len < sizeof(rtattr) || head->rta_len > bytes.size()) {
            return;
        }
        const std::string_view value = bytes.substr(sizeof(rtattr), head->rta_len - sizeof(rtattr));
        const bool someByte = value.find_first_not_of('\0') != std::string_view::npos;
        if (head->rta_type == IFLA_PERM_ADDRESS && value.size() == kAddressLength && someByte) {
            found[index] = asText(value);
        }
        bytes = after(bytes, head->rta_len);
    }
}

bool askForLinks(int socket) {
    struct {
        nlmsghdr head;
        ifinfomsg link;
    } question{};
    question.head.nlmsg_len = sizeof(question);
    question.head.nlmsg_type = RTM_GETLINK;
    question.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    const timeval moment{1, 0};
    return ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &moment, sizeof(moment)) == 0 &&
           ::send(socket, &question, sizeof(question), 0) == static_cast<ssize_t>(sizeof(question));
}

} // namespace

bool readLinks(std::string_view answer, std::map<long, std::string>& found) {
    bool any = false;
    while (const auto head = readAs<nlmsghdr>(answer)) {
        if (head->nlmsg_len < sizeof(nlmsghdr) || head->nlmsg_len > answer.size() || head->nlmsg_type == NLMSG_DONE ||
            head->nlmsg_type == NLMSG_ERROR) {
            return false;
        }
        const std::string_view body = answer.substr(sizeof(nlmsghdr), head->nlmsg_len - sizeof(nlmsghdr));
        if (const auto link = readAs<ifinfomsg>(body); link && head->nlmsg_type == RTM_NEWLINK) {
            readAttributes(link->ifi_index, after(body, sizeof(ifinfomsg)), found);
        }
        answer = after(answer, head->nlmsg_len);
        any = true;
    }
    return any;
}

std::map<long, std::string> permanentAddresses() {
    std::map<long, std::string> found;
    const base::Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (socket && askForLinks(socket.get())) {
        std::array<char, 65536> answer{}; // more than the kernel puts into one
        ssize_t length = 0;
        do {
            length = ::recv(socket.get(), answer.data(), answer.size(), 0);
        } while (length > 0 && readLinks({answer.data(), static_cast<std::size_t>(length)}, found));
    }
    return found;
}

} // namespace standins
