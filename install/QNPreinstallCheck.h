#pragma once

// Whether the machine has a usable network route. Any thread.
class QNPreinstallCheck {
public:
    // No host is asked; true also behind a captive portal.
    static bool hasInternetConnection();
};
