#pragma once

#include "tools/loopback/Reply.h"

#include <string>
#include <string_view>

// What can go wrong with any answer.
namespace faults {

// As a whole number; 0 for what is none.
long numberOf(const std::string& value);

// The body as bytes in `body`, where it was a file.
void holdBody(loopback::Reply& reply);
void setBody(loopback::Reply& reply, std::string bytes);
void delayBy(loopback::Reply& reply, const std::string& seconds);
// Nothing at all comes.
void stall(loopback::Reply& reply);
// The connection ends before the answer: orderly, or with a reset.
void closeAtOnce(loopback::Reply& reply);
void resetAtOnce(loopback::Reply& reply);
// The head is cut in its middle.
void closeInHead(loopback::Reply& reply);
// Half of the body, then the end.
void endInBody(loopback::Reply& reply, loopback::Ending ending);
void setHeader(loopback::Reply& reply, std::string_view name, std::string value);
// In pieces, as HTTP/1.1 does without a length; `isBroken`: the last piece's length is no number.
void sendInPieces(loopback::Reply& reply, bool isBroken);
// The head with so many bytes of header fields.
void floodHead(loopback::Reply& reply, std::size_t bytes);

} // namespace faults
