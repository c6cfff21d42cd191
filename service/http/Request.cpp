#include "service/http/Request.h"

#include "service/base/Encoding.h"
#include "service/http/Problem.h"

#include <nlohmann/json.hpp>

namespace kelvo::http {

const std::string& Request::parameter(std::string_view name) const
{
    const auto found = parameters.find(name);
    if (found == parameters.end()) {
        throw Problem(EProblem::Internal);
    }
    return found->second;
}

long long Request::id() const
{
    const auto id = parseId(parameter("id"));
    if (!id) {
        throw Problem(EProblem::NotFound, "No resource has this id.");
    }
    return *id;
}

std::optional<std::string> Request::queryValue(std::string_view name) const
{
    std::string_view rest = head.query;
    while (!rest.empty()) {
        const std::size_t end = rest.find('&');
        const std::string_view pair = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        const std::size_t mark = pair.find('=');
        if (pair.substr(0, mark) == name) {
            return percentDecode(mark == std::string_view::npos ? "" : pair.substr(mark + 1));
        }
    }
    return std::nullopt;
}

Async<nlohmann::json> Request::json()
{
    const std::string_view type = header("Content-Type");
    if (!type.empty() &&
        !equalsIgnoringCase(trimmed(type.substr(0, type.find(';'))), "application/json")) {
        throw Problem(EProblem::UnsupportedMediaType, "The body must be application/json.");
    }
    const std::string text = co_await body.readAll(limits.jsonBytes);
    // Without the callback a deeply nested document would be built before its refusal.
    bool tooDeep = false;
    const auto limitDepth = [&tooDeep](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
        tooDeep = tooDeep || depth > 16;
        return !tooDeep;
    };
    nlohmann::json document = nlohmann::json::parse(text, limitDepth, false);
    if (tooDeep || !document.is_object()) {
        throw Problem(EProblem::MalformedRequest, "The body must be a JSON object.");
    }
    co_return document;
}

} // namespace kelvo::http
