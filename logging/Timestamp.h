#pragma once

#include <QString>

#include <chrono>

// An instant as yyyy-MM-dd'T'HH:mm:ss and its offset in the machine's time zone, which is read anew at each call: Z at
// offset zero, else +hh:mm or -hh:mm (Unicode Technical Standard 35, pattern ZZZZZ). ASCII digits, 24 hours, whatever
// the user's settings; the fraction is cut, not rounded. Any thread.
QString timestampText(std::chrono::system_clock::time_point instant);

// The same of now.
QString currentTimestamp();
