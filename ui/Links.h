#pragma once

#include "ui/StyledText.h"
#include "ui/TextRange.h"

#include <utility>
#include <vector>

// Where the links of a styled text lie. Any thread.

// Kept free beside a link, in points from ink to ink: the distance of its ring, the ring, and a point beyond.
constexpr double kRingDistance = 3.0;
constexpr double kRingWidth = 2.0;
constexpr double kRoomBesideLink = kRingDistance + kRingWidth + 1.0;

// The runs of equal link values, in text order, each with its value.
std::vector<std::pair<TextRange, QString>> linkRuns(const StyledText& text);

// The link together with what closes its sentence: a ring has no room between a letter and its full stop.
TextRange withClosingPunctuation(const QString& string, const TextRange& link);
