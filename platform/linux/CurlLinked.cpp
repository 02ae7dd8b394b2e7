#include "platform/base/FirstFrame.h"
#include "platform/linux/CurlLibrary.h"

namespace platform {

const CurlLibrary* curlLibrary() {
    static const CurlLibrary kLibrary{
        .globalInit = &curl_global_init,
        .init = &curl_easy_init,
        .cleanup = &curl_easy_cleanup,
        .setOption = &curl_easy_setopt,
        .getInfo = &curl_easy_getinfo,
        .perform = &curl_easy_perform,
        .header = &curl_easy_header,
        .append = &curl_slist_append,
        .freeList = &curl_slist_free_all,
        .url = &curl_url,
        .urlCleanup = &curl_url_cleanup,
        .urlGet = &curl_url_get,
        .urlSet = &curl_url_set,
        .free = &curl_free,
    };
    static_cast<void>(platform::waitForFirstFrame());
    return &kLibrary;
}

} // namespace platform
