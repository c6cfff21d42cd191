// The parameters of lists: numbers, times, and the link to the next page.
#pragma once

#include "service/http/Request.h"
#include "service/http/Response.h"

#include <optional>

namespace kelvo::api {

/** A time such as 2026-05-01T06:12:30Z, in ms since 1970. Throws Problem (malformed-request). */
std::optional<long long> queryTime(const http::Request& request, const char* name);

/** A number from 1 to `most`. Throws Problem (malformed-request). */
std::optional<long long> queryNumber(const http::Request& request, const char* name,
                                     long long most);

/** The part of a list that a request wants: the parameters `limit` and `after`. */
struct Page
{
    int limit = 0;
    std::optional<long long> after; // the id of the last item of the page before

    /** One item more than the page shows whether there is a next page. */
    int wanted() const { return limit + 1; }
};

/** 100 items without `limit`; at most 1000. Throws Problem (malformed-request). */
Page readPage(const http::Request& request);

/** Adds the link to the page after the item `last`: the request's own query with this `after`. */
void addNextLink(http::Response& response, const http::Request& request, long long last);

} // namespace kelvo::api
