#include "service/accounts/SessionToken.h"

#include "service/base/Encoding.h"
#include "service/http/Problem.h"

#include <boost/beast/core/string.hpp>

namespace kelvo::accounts {

using http::EProblem;
using http::Problem;

namespace {

/** The prefix makes browsers refuse the cookie unless it is Secure, for "/" and for this host only.
 */
constexpr std::string_view cookieName = "__Host-kelvo-session";
constexpr const char* cookieAttributes = "; Path=/; Secure; HttpOnly; SameSite=Strict";

/** Empty if the request has no such cookie. */
std::string_view cookieValue(std::string_view header)
{
    while (!header.empty()) {
        const std::size_t end = std::min(header.find(';'), header.size());
        const std::string_view pair = trimmed(header.substr(0, end));
        const std::size_t equals = std::min(pair.find('='), pair.size());
        if (pair.substr(0, equals) == cookieName) {
            return pair.substr(std::min(equals + 1, pair.size()));
        }
        header.remove_prefix(std::min(end + 1, header.size()));
    }
    return {};
}

bool changesNothing(std::string_view method)
{
    return method == "GET" || method == "HEAD";
}

std::string bearerToken(std::string_view value)
{
    static constexpr std::string_view scheme = "Bearer ";
    if (value.size() <= scheme.size() ||
        !boost::beast::iequals(value.substr(0, scheme.size()), scheme)) {
        throw Problem(EProblem::Unauthenticated, "The request needs a session token.");
    }
    return std::string(trimmed(value.substr(scheme.size())));
}

} // namespace

std::string sessionToken(const http::Request& request)
{
    std::string cookie = cookieToken(request);
    const std::string_view authorization = request.header("Authorization");
    if (cookie.empty()) {
        return bearerToken(authorization);
    }
    if (!authorization.empty()) {
        throw Problem(EProblem::MalformedRequest, "The request has two session tokens.");
    }
    if (!changesNothing(request.head.method)) {
        requireSameOrigin(request);
    }
    return cookie;
}

void requireSameOrigin(const http::Request& request)
{
    const std::string_view site = request.header("Sec-Fetch-Site");
    const std::string own = "https://" + std::string(request.header("Host"));
    const bool isSame =
        site.empty() ? boost::beast::iequals(request.header("Origin"), own) : site == "same-origin";
    if (!isSame) {
        throw Problem(EProblem::Forbidden, "Another site caused this request.");
    }
}

std::string sessionCookie(const std::string& token)
{
    std::string cookie(cookieName);
    return cookie.append("=").append(token).append(cookieAttributes);
}

std::string removedSessionCookie()
{
    return sessionCookie({}) + "; Max-Age=0";
}

std::string cookieToken(const http::Request& request)
{
    return std::string(cookieValue(request.header("Cookie")));
}

} // namespace kelvo::accounts
