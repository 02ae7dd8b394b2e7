#pragma once

#include "ui/Image.h"
#include "ui/StyledText.h"

#include <QString>

#include <optional>

// What an error panel shows. A value; main thread.
struct QNErrorObject {
    signed char withRetry = 0;
    signed char withClose = 0;
    signed char withContactSupport = 0;
    std::optional<QString> title;
    std::optional<StyledText> message; // keeps its runs and links
    std::optional<Image> icon;
    std::optional<StyledText> info; // the subtitle; absent: none, and its label is hidden
};
