// Finds the handler of a request by method and path template.
#pragma once

#include "service/http/Request.h"
#include "service/http/Response.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::http {

using Handler = std::function<Async<Response>(Request&)>;

/**
 * A table of routes such as "/resources/{id}/content". A literal segment takes precedence over a
 * parameter. The GET handler also answers HEAD. Thread safe once filled.
 */
class Router
{
public:
    /** Every template is below `basePath`; the template's name does not include it. */
    explicit Router(std::string basePath);

    void add(std::string method, std::string pathTemplate, Handler handler);

    /** Sets the request's route and parameters. Throws Problem: not-found or method-not-allowed. */
    const Handler& find(Request& request) const;

private:
    struct Route
    {
        std::string method;
        std::string pathTemplate;
        std::vector<std::string> segments;
        Handler handler;
    };

    std::vector<const Route*> routesFor(const std::vector<std::string>& segments) const;

    std::string basePath_;
    std::vector<Route> routes_;
};

/**
 * Returns the decoded segments of a path. Empty if the path does not start with '/' or its encoding
 * is wrong.
 */
std::optional<std::vector<std::string>> pathSegments(std::string_view path);

} // namespace kelvo::http
