// GET /account: all data that a console needs after login, in one answer.
#include "service/api/Context.h"
#include "service/api/Snapshot.h"
#include "service/http/Coding.h"
#include "service/http/Ranges.h"
#include "service/http/Router.h"
#include "service/store/EventTable.h"

namespace kelvo::api {

namespace {

using http::Request;
using http::Response;

store::Id newestEvent(soci::session& sql, const store::User& user)
{
    return user.farm ? store::eventBounds(sql, user.farmId()).newest : 0;
}

Async<Response> getAccount(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const store::User& user = session.user;
    const bool packed = http::acceptsCoding(request.header("Accept-Encoding"), "gzip");
    const std::string known(request.header("If-None-Match"));
    // Built outside the I/O threads: a farm may have thousands of files.
    auto build = [&context, &user, packed, &known](soci::session& sql) {
        JsonAnswer answer(context, user.farmId(), packed);
        answer.open({{"user", toJson(user)}, {"cursor", std::to_string(newestEvent(sql, user))}},
                    "projects");
        Snapshot(sql, user, answer).addProjects();
        answer.close();
        const std::string tag = "W/\"" + answer.end().substr(0, 32) + "\"";
        Response response;
        response.headers = {{"Content-Type", "application/json"},
                            {"Cache-Control", "private, no-cache"},
                            {"Vary", "Accept-Encoding"},
                            {"ETag", tag}};
        if (!known.empty() && http::tagListMatches(known, tag, true)) {
            response.status = 304;
        } else {
            answer.moveTo(response);
        }
        return response;
    };
    co_return co_await context.database.read(build, user.farmId());
}

} // namespace

void addAccountRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/account", [&context](Request& r) { return getAccount(context, r); });
}

} // namespace kelvo::api
