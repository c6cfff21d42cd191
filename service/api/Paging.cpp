#include "service/api/Paging.h"

#include "service/base/Encoding.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"

#include <limits>
#include <string>
#include <string_view>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

constexpr int defaultItems = 100;
constexpr int mostItems = 1000;

/** The pairs of the query with other names, each with a "&" at its end. */
std::string queryWithout(const http::Request& request, const std::string& name)
{
    std::string others;
    std::string_view rest = request.head.query;
    while (!rest.empty()) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
        if (!pair.empty() && !pair.starts_with(name + "=")) {
            others.append(pair).append("&");
        }
    }
    return others;
}

} // namespace

std::optional<long long> queryTime(const http::Request& request, const char* name)
{
    const auto text = request.queryValue(name);
    if (!text) {
        return std::nullopt;
    }
    const auto time = parseRfc3339(*text);
    if (!time) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("\"") + name + "\" must be a time such as 2026-05-01T06:12:30Z.");
    }
    return time;
}

std::optional<long long> queryNumber(const http::Request& request, const char* name, long long most)
{
    const auto text = request.queryValue(name);
    if (!text) {
        return std::nullopt;
    }
    const auto number = parseNumber(*text);
    if (!number || *number == 0 || *number > static_cast<std::uint64_t>(most)) {
        throw Problem(EProblem::MalformedRequest, std::string("\"") + name +
                                                      "\" must be a number from 1 to " +
                                                      std::to_string(most) + ".");
    }
    return static_cast<long long>(*number);
}

std::optional<bool> queryFlag(const http::Request& request, const char* name)
{
    const auto text = request.queryValue(name);
    if (text && text != "true" && text != "false") {
        throw Problem(EProblem::MalformedRequest,
                      std::string("\"") + name + "\" must be true or false.");
    }
    return text ? std::optional(*text == "true") : std::nullopt;
}

int readLimit(const http::Request& request)
{
    return static_cast<int>(queryNumber(request, "limit", mostItems).value_or(defaultItems));
}

Page readPage(const http::Request& request)
{
    return {readLimit(request),
            queryNumber(request, "after", std::numeric_limits<long long>::max())};
}

PageAnswer::PageAnswer(Context& context, store::Id farm, int limit, const char* member)
    : answer_(context, farm), left_(limit)
{
    answer_.open(Json::object(), member);
}

bool PageAnswer::count(const std::string& place)
{
    hasMore_ = left_ == 0;
    if (hasMore_) {
        return false;
    }
    --left_;
    last_ = place;
    return true;
}

bool PageAnswer::add(const std::string& place, const Json& item)
{
    const bool isHere = count(place);
    if (isHere) {
        answer_.add(item);
    }
    return isHere;
}

http::Response PageAnswer::toResponse(const http::Request& request)
{
    answer_.close();
    http::Response response = answer_.toResponse();
    if (hasMore_) {
        // The client may have sent characters that end the target of a link.
        response.with("Link",
                      "<" + request.head.path + "?" +
                          percentEncode(queryWithout(request, "after"), "%&=+;,:@/?!$'()*") +
                          "after=" + last_ + ">; rel=\"next\"");
    }
    return response;
}

} // namespace kelvo::api
