// POST /sessions, DELETE /sessions/current: logging in and out.
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/base/Time.h"
#include "service/http/Router.h"
#include "service/store/SessionTable.h"

namespace kelvo::api {

namespace {

using http::Request;
using http::Response;

Async<Response> logIn(Context& context, Request& request)
{
    const nlohmann::json body = co_await request.json();
    const std::string user = requireString(body, "user");
    const std::string password = requireString(body, "password");
    const accounts::Login login =
        co_await context.accounts.login(user, password, request.peerAddress);
    request.user = login.session.user.id;
    request.farm = login.session.user.farmId();
    co_return Response::json({{"token", login.token},
                              {"user", toJson(login.session.user)},
                              {"expires_at", rfc3339(login.session.expiresMs)}},
                             201);
}

Async<Response> logOut(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    auto remove = [&session](store::Transaction& transaction) {
        store::removeSession(transaction, session.tokenHash);
    };
    co_await context.database.write(remove);
    context.hub.endSession(session.tokenHash, "logged-out");
    co_return Response::noContent();
}

} // namespace

void addSessionRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/sessions", [&context](Request& r) { return logIn(context, r); });
    router.add("DELETE", "/sessions/current",
               [&context](Request& r) { return logOut(context, r); });
}

} // namespace kelvo::api
