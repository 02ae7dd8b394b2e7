#include "platform/linux/CurlHandle.h"

#include "platform/Bundle.h"
#include "platform/base/TransferRequest.h"
#include "platform/base/UserAgent.h"

#include <sys/socket.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

// The library's own sockets would be inherited by a program that another thread starts at that moment.
curl_socket_t openCloseOnExec(void*, curlsocktype, curl_sockaddr* address) {
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

void append(CurlList& list, const QByteArray& line) {
    curl_slist* const longer = platform::curlLibrary()->append(list.get(), line.constData());
    if (!longer) {
        return;
    }
    [[maybe_unused]] const curl_slist* const before = list.release();
    list.reset(longer);
}

} // namespace

namespace platform {

CurlHandle makeCurlHandle() {
    const CurlLibrary* const curl = curlLibrary();
    static const bool kPrepared = curl && curl->globalInit(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return CurlHandle(kPrepared ? curl->init() : nullptr);
}

CurlList headerLines(const UrlRequest& request) {
    CurlList list;
    append(list, "Accept-Encoding: gzip, deflate, br");
    append(list, "Expect:");
    for (const auto& [name, value] : request.headers) {
        const QByteArray bytes = TransferRequest::headerText(value);
        // A semicolon is the library's way to say that the value is empty, not that there is to be no such header.
        append(list, TransferRequest::headerText(name) + (bytes.trimmed().isEmpty() ? QByteArray(";") : ": " + bytes));
    }
    return list;
}

void setCommonOptions(CURL* handle, const TransferLimits& limits, const CurlList& headers) {
    setOption(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    setOption(handle, CURLOPT_FOLLOWLOCATION, 0L); // hops are judged one by one by us
    setOption(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    setOption(handle, CURLOPT_BUFFERSIZE, limits.receiveBuffer);
    setOption(handle, CURLOPT_PATH_AS_IS, 1L);
    setOption(handle, CURLOPT_NOSIGNAL, 1L);
    // Until there is a connection, newer libraries do not ask the callback for progress, which looks at the clock.
    setOption(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.idle.count()));
    setOption(handle, CURLOPT_QUICK_EXIT, 1L); // a time-out does not wait for the name server's own
    setOption(handle, CURLOPT_OPENSOCKETFUNCTION, openCloseOnExec);
    setOption(handle, CURLOPT_HTTPHEADER, headers.get());
    setOption(handle, CURLOPT_USERAGENT, userAgent(Bundle::mainBundle().infoDictionary()).constData());
    // The library leaves this variable to the programs that use it.
    const char* const certificates = std::getenv("SSL_CERT_FILE");
    if (certificates && *certificates != '\0') {
        setOption(handle, CURLOPT_CAINFO, certificates);
    }
}

void setHop(CURL* handle, const QString& address, const QString& method, const QByteArray& body) {
    setOption(handle, CURLOPT_URL, address.toUtf8().constData());
    setOption(handle, CURLOPT_CUSTOMREQUEST, nullptr);
    if (method == u"POST"_s) {
        setOption(handle, CURLOPT_POST, 1L);
        setOption(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        setOption(handle, CURLOPT_POSTFIELDS, body.constData());
        return;
    }
    setOption(handle, CURLOPT_HTTPGET, 1L);
    if (method != u"GET"_s) {
        setOption(handle, CURLOPT_CUSTOMREQUEST, method.toUtf8().constData());
    }
}

} // namespace platform
