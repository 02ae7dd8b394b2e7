#pragma once

#include <chrono>

// When the last download was started, by the wall clock; read when it has ended. Any thread.
void setDownloadingStartDate(std::chrono::system_clock::time_point date);
std::chrono::system_clock::time_point downloadingStartDate();

// Seconds from then to now by the wall clock: negative after the clock was set back.
double secondsSince(std::chrono::system_clock::time_point date);
