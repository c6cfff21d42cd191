// GET /account: all data that a console needs after login, in one answer.
#include "service/api/Compression.h"
#include "service/api/Context.h"
#include "service/api/Snapshot.h"
#include "service/base/Digest.h"
#include "service/http/Coding.h"
#include "service/http/Ranges.h"
#include "service/http/Router.h"

namespace kelvo::api {

namespace {

using http::Request;
using http::Response;

/** A smaller answer fits into one packet anyway. */
constexpr std::size_t minCompressedBytes = 512;

Async<Response> getAccount(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const bool packed = http::acceptsCoding(request.header("Accept-Encoding"), "gzip");
    const std::string known(request.header("If-None-Match"));
    // Built outside the I/O threads: a farm may have thousands of files.
    auto build = [&session, packed, &known](soci::session& sql) {
        const Snapshot snapshot(sql, session.user);
        Response response = Response::json({{"user", toJson(session.user)},
                                            {"cursor", std::to_string(snapshot.cursor())},
                                            {"projects", snapshot.projects()}});
        const std::string tag = "W/\"" + sha256Hex(response.body).substr(0, 32) + "\"";
        response.headers = {{"Content-Type", "application/json"},
                            {"Cache-Control", "private, no-cache"},
                            {"Vary", "Accept-Encoding"},
                            {"ETag", tag}};
        if (!known.empty() && http::tagListMatches(known, tag, true)) {
            response.status = 304;
            response.body.clear();
        } else if (packed && response.body.size() >= minCompressedBytes) {
            response.body = gzip(response.body);
            response.with("Content-Encoding", "gzip");
        }
        return response;
    };
    co_return co_await context.database.read(build);
}

} // namespace

void addAccountRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/account", [&context](Request& r) { return getAccount(context, r); });
}

} // namespace kelvo::api
