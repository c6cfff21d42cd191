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

Page readPage(const http::Request& request)
{
    Page page;
    page.limit = static_cast<int>(queryNumber(request, "limit", mostItems).value_or(defaultItems));
    page.after = queryNumber(request, "after", std::numeric_limits<long long>::max());
    return page;
}

void addNextLink(http::Response& response, const http::Request& request, long long last)
{
    std::string link = "<" + request.head.path + "?";
    std::string_view rest = request.head.query;
    while (!rest.empty()) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
        if (!pair.empty() && !pair.starts_with("after=")) {
            link.append(pair).append("&");
        }
    }
    response.with("Link", link + "after=" + std::to_string(last) + ">; rel=\"next\"");
}

} // namespace kelvo::api
