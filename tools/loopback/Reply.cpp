#include "tools/loopback/Reply.h"

#include <strings.h>

#include <algorithm>
#include <filesystem>

namespace loopback {

namespace {

const char* reasonFor(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 204:
        return "No Content";
    case 206:
        return "Partial Content";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 303:
        return "See Other";
    case 304:
        return "Not Modified";
    case 307:
        return "Temporary Redirect";
    case 308:
        return "Permanent Redirect";
    case 401:
        return "Unauthorized";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

std::string withoutBlanksAround(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(" \t") - first + 1));
}

bool addHeader(Request& request, std::string_view line) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || colon == 0) {
        return false;
    }
    request.headers.emplace_back(std::string(line.substr(0, colon)), withoutBlanksAround(line.substr(colon + 1)));
    return true;
}

} // namespace

std::optional<std::string> Request::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && strncasecmp(key.data(), name.data(), name.size()) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

std::optional<Request> parseHead(std::string_view head) {
    Request request;
    request.head = std::string(head);
    while (true) {
        const auto end = head.find("\r\n");
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        const auto line = head.substr(0, end);
        head.remove_prefix(end + 2);
        if (line.empty()) {
            return request.line.empty() ? std::nullopt : std::optional(request);
        }
        if (request.line.empty()) {
            request.line = std::string(line);
        } else if (!addHeader(request, line)) {
            return std::nullopt;
        }
    }
}

Reply replyWith(std::string body, std::string contentType) {
    return Reply{.headers = {{"Content-Type", std::move(contentType)}}, .body = std::move(body)};
}

Reply replyWithStatus(int status, std::string body) {
    return Reply{.status = status, .body = std::move(body)};
}

Reply redirectTo(std::string location, int status) {
    return Reply{.status = status, .headers = {{"Location", std::move(location)}}};
}

std::string headOf(const Reply& reply) {
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " + reasonFor(reply.status) + "\r\n";
    for (const auto& [name, value] : reply.headers) {
        head.append(name).append(": ").append(value).append("\r\n");
    }
    const auto held = reply.file ? std::filesystem::file_size(*reply.file) : reply.body.size();
    const auto length = std::to_string(reply.generated.value_or(held));
    const auto stated = reply.contentLength.value_or(length);
    const bool mayHaveBody = reply.status != 204 && reply.status != 304 && !reply.tunnelTo;
    if (mayHaveBody && !stated.empty()) {
        head += "Content-Length: " + stated + "\r\n";
    }
    return head + "\r\n";
}

std::string generatedBytes(std::uint64_t offset, std::size_t length) {
    // The period is no power of two, so that lost and doubled blocks show.
    static const std::string period = [] {
        std::string bytes(1048573, '\0');
        std::uint32_t state = 1;
        for (char& byte : bytes) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<char>(state >> 24);
        }
        return bytes;
    }();
    std::string bytes;
    bytes.reserve(length);
    while (bytes.size() < length) {
        bytes.append(period, (offset + bytes.size()) % period.size(), length - bytes.size());
    }
    return bytes;
}

} // namespace loopback
