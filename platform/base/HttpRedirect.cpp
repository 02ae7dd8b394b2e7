#include "platform/base/HttpRedirect.h"

using namespace Qt::StringLiterals;

namespace HttpRedirect {

namespace {

bool hasScheme(const QString& address, QLatin1String scheme) {
    return address.section(u':', 0, 0).compare(scheme, Qt::CaseInsensitive) == 0;
}

} // namespace

bool isRedirect(long status) {
    return (status >= 301 && status <= 303) || status == 307 || status == 308;
}

QString methodAfter(long status, const QString& method) {
    const bool isPost = method == u"POST"_s;
    if (status == 303 || (isPost && (status == 301 || status == 302))) {
        return u"GET"_s;
    }
    return method;
}

bool mayFollow(const QString& from, const QString& to) {
    if (hasScheme(to, QLatin1String("https"))) {
        return true;
    }
    return hasScheme(to, QLatin1String("http")) && !hasScheme(from, QLatin1String("https"));
}

} // namespace HttpRedirect
