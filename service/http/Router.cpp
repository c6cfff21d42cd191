#include "service/http/Router.h"

#include "service/base/Encoding.h"
#include "service/http/Problem.h"

#include <algorithm>

namespace kelvo::http {

namespace {

bool isParameter(std::string_view segment)
{
    return segment.size() > 2 && segment.front() == '{' && segment.back() == '}';
}

bool matches(const std::vector<std::string>& pattern, const std::vector<std::string>& segments)
{
    return std::equal(pattern.begin(), pattern.end(), segments.begin(), segments.end(),
                      [](const std::string& want, const std::string& have) {
                          return want == have || (isParameter(want) && !have.empty());
                      });
}

std::size_t countParameters(const std::vector<std::string>& pattern)
{
    return static_cast<std::size_t>(std::count_if(pattern.begin(), pattern.end(), isParameter));
}

} // namespace

std::optional<std::vector<std::string>> pathSegments(std::string_view path)
{
    if (path.empty() || path.front() != '/') {
        return std::nullopt;
    }
    std::vector<std::string> segments;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::size_t end = std::min(path.find('/'), path.size());
        auto segment = percentDecode(path.substr(0, end));
        if (!segment) {
            return std::nullopt;
        }
        segments.push_back(std::move(*segment));
        path.remove_prefix(end);
    }
    return segments;
}

Router::Router(std::string basePath) : basePath_(std::move(basePath)) {}

void Router::add(std::string method, std::string pathTemplate, Handler handler)
{
    auto segments = pathSegments(pathTemplate).value_or(std::vector<std::string>());
    routes_.push_back(
        {std::move(method), std::move(pathTemplate), std::move(segments), std::move(handler)});
}

std::vector<const Router::Route*> Router::routesFor(const std::vector<std::string>& segments) const
{
    std::vector<const Route*> found;
    std::size_t fewest = segments.size() + 1;
    for (const Route& route : routes_) {
        if (!matches(route.segments, segments)) {
            continue;
        }
        const std::size_t parameters = countParameters(route.segments);
        if (parameters < fewest) {
            found.clear();
            fewest = parameters;
        }
        if (parameters == fewest) {
            found.push_back(&route);
        }
    }
    return found;
}

const Handler& Router::find(Request& request) const
{
    const std::string& path = request.head.path;
    const bool below = path.starts_with(basePath_);
    const auto segments =
        below ? pathSegments(std::string_view(path).substr(basePath_.size())) : std::nullopt;
    const auto candidates = segments ? routesFor(*segments) : std::vector<const Route*>();
    if (candidates.empty()) {
        throw Problem(EProblem::NotFound, "This resource does not exist.");
    }
    const bool isHead = request.head.method == "HEAD";
    std::string allowed;
    request.route = candidates.front()->pathTemplate;
    for (const Route* route : candidates) {
        if (route->method == request.head.method || (isHead && route->method == "GET")) {
            for (std::size_t i = 0; i < segments->size(); ++i) {
                const std::string& pattern = route->segments[i];
                if (isParameter(pattern)) {
                    request.parameters[pattern.substr(1, pattern.size() - 2)] = (*segments)[i];
                }
            }
            return route->handler;
        }
        allowed += (allowed.empty() ? "" : ", ") + route->method;
        allowed += route->method == "GET" ? ", HEAD" : "";
    }
    throw Problem(EProblem::MethodNotAllowed, "This resource does not allow the method.",
                  {{"Allow", allowed}});
}

} // namespace kelvo::http
