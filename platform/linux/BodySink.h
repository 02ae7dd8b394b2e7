#pragma once

#include "platform/UrlSession.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <variant>

// Takes the body of an answer, piece by piece, on the request's thread: the bytes, and how many the whole body has (-1
// when unknown). A code that is returned ends the transfer with it.
using BodySink = std::function<std::optional<TransportError::Code>(std::string_view, std::int64_t)>;

using TransferResult = std::variant<UrlResponse, TransportError>;
