#include "install/QNPreinstallCheck.h"

#include "platform/Reachability.h"

bool QNPreinstallCheck::hasInternetConnection() {
    return platform::defaultRouteIsReachable();
}
