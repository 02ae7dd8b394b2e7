#pragma once

#include <QString>

// How redirects are followed (RFC 9110, section 15.4).
namespace HttpRedirect {

// Whether an answer with that status and a Location header is a redirect that is followed: 301, 302, 303, 307, 308.
bool isRedirect(long status);

// The method of the next request: GET after 303, and after 301 and 302 for a POST.
QString methodAfter(long status, const QString& method);

// Whether the next address may be asked for: http or https, and never http after https.
bool mayFollow(const QString& from, const QString& to);

} // namespace HttpRedirect
