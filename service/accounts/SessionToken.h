// The session token of a request: a console's bearer token or a browser's cookie.
#pragma once

#include "service/http/Request.h"

#include <string>

namespace kelvo::accounts {

/**
 * Returns the token. Throws Problem: unauthenticated without a token, malformed-request with both
 * kinds, forbidden for a cookie on a changing request that another origin may have caused.
 */
std::string sessionToken(const http::Request& request);

/**
 * Throws forbidden unless a page of this origin caused the request. SameSite alone does not stop
 * another port of the same host. A browser without Fetch Metadata sends Origin.
 */
void requireSameOrigin(const http::Request& request);

/** The value of Set-Cookie. The cookie lasts until the browser closes or the session ends. */
std::string sessionCookie(const std::string& token);

/** The value of Set-Cookie that removes the cookie. */
std::string removedSessionCookie();

/** The token in the session cookie. Empty without this cookie. */
std::string cookieToken(const http::Request& request);

} // namespace kelvo::accounts
