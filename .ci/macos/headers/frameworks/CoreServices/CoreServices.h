#pragma once
// Apple events: developer.apple.com/documentation/coreservices/apple_events.
#include <CoreFoundation/CoreFoundation.h>

typedef FourCharCode AEEventClass;
typedef FourCharCode AEEventID;
typedef FourCharCode AEKeyword;
typedef FourCharCode DescType;
enum { keyDirectObject = '----' };
