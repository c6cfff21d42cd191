// GET /base-map and /base-map/file: the map below the fields and consoles of the office's page.
#include "service/api/Access.h"
#include "service/api/Documents.h"
#include "service/api/FileSource.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"

namespace kelvo::api {

namespace {

Async<http::Response> describeBaseMap(Context& context, http::Request& request)
{
    co_await requireFarmUser(context, request);
    const BaseMap& map = context.settings.baseMap;
    co_return http::Response::json({{"file", map.file ? Json(map.content.tag) : Json()},
                                    {"tiles", map.tiles.empty() ? Json() : Json(map.tiles)},
                                    {"min_zoom", map.minZoom},
                                    {"max_zoom", map.maxZoom},
                                    {"attribution", map.attribution}});
}

Async<http::Response> getBaseMapFile(Context& context, http::Request& request)
{
    co_await requireFarmUser(context, request);
    const BaseMap& map = context.settings.baseMap;
    if (!map.file) {
        throw http::Problem(http::EProblem::NotFound, "The service has no file of a map.");
    }
    http::Response response;
    if (const auto range = http::startContent(request, map.content, response)) {
        response.with("Content-Type", "application/vnd.pmtiles");
        response.source =
            std::make_shared<FileSource>(map.file, range->offset, range->length, context.filePool);
    }
    co_return response;
}

} // namespace

void addBaseMapRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/base-map",
               [&context](http::Request& r) { return describeBaseMap(context, r); });
    router.add("GET", "/base-map/file",
               [&context](http::Request& r) { return getBaseMapFile(context, r); });
}

} // namespace kelvo::api
