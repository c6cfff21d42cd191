// The parameters of lists: numbers, times, and the link to the next page.
#pragma once

#include "service/api/JsonAnswer.h"
#include "service/http/Request.h"
#include "service/http/Response.h"

#include <optional>
#include <string>

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

/** "true" or "false". Throws Problem (malformed-request). */
std::optional<bool> queryFlag(const http::Request& request, const char* name);

/** The parameter `limit`, as for readPage(). */
int readLimit(const http::Request& request);

/** 100 items without `limit`; at most 1000. Throws Problem (malformed-request). */
Page readPage(const http::Request& request);

/** One page of a list as an answer: the document {"MEMBER": [...]}. Thread: as JsonAnswer. */
class PageAnswer
{
public:
    /** `farm`: as for JsonAnswer. */
    PageAnswer(Context& context, store::Id farm, int limit, const char* member);

    /** Counts an item. False if the page is full. The next page begins after `place`. */
    bool count(const std::string& place);

    /** Counts an item, and adds it if the page is not full. */
    bool add(const std::string& place, const Json& item);

    /** For an item that is more than one value. */
    JsonAnswer& list() { return answer_; }

    /** The place after which the next page begins. Empty if there is no next page. */
    std::optional<std::string> next() const
    {
        return hasMore_ ? std::optional(last_) : std::nullopt;
    }

    /** With the link to the next page, if there is one. */
    http::Response toResponse(const http::Request& request);

private:
    JsonAnswer answer_;
    int left_;
    bool hasMore_ = false;
    std::string last_;
};

} // namespace kelvo::api
