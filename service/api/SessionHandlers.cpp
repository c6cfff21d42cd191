// POST /sessions, DELETE /sessions/current: logging in and out.
#include "service/accounts/SessionToken.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/JsonAnswer.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/SessionTable.h"

namespace kelvo::api {

namespace {

using http::Request;
using http::Response;

/** A browser asks for a cookie, which its scripts cannot read, with `"kind": "browser"`. */
accounts::ESessionKind sessionKind(const nlohmann::json& body)
{
    const auto kind = body.find("kind");
    if (kind == body.end() || *kind == "console") {
        return accounts::ESessionKind::Console;
    }
    if (*kind == "browser") {
        return accounts::ESessionKind::Browser;
    }
    throw http::Problem(http::EProblem::Unprocessable,
                        R"(The member "kind" must be "console" or "browser".)");
}

Async<Response> logIn(Context& context, Request& request)
{
    const nlohmann::json body = co_await request.json();
    const std::string user = requireString(body, "user");
    const std::string password = requireString(body, "password");
    const accounts::ESessionKind kind = sessionKind(body);
    if (kind == accounts::ESessionKind::Browser) {
        accounts::requireSameOrigin(request);
    }
    const accounts::Login login =
        co_await context.accounts.login(user, password, request.peerAddress, kind);
    request.user = login.session.user.id;
    request.farm = login.session.user.farmId();
    for (const std::string& ended : login.ended) {
        context.hub.endSession(ended, "revoked");
    }
    nlohmann::ordered_json document;
    if (kind == accounts::ESessionKind::Console) {
        document["token"] = login.token;
    }
    document["user"] = toJson(login.session.user);
    document["expires_at"] = rfc3339(login.session.expiresMs);
    Response response = Response::json(document, 201);
    if (kind == accounts::ESessionKind::Browser) {
        response.with("Set-Cookie", accounts::sessionCookie(login.token));
    }
    co_return response;
}

Async<Response> logOut(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    auto remove = [&](store::Transaction& transaction) {
        store::removeSession(transaction, session.tokenHash);
        audit(transaction, context, request, session.user, {"logout"});
    };
    co_await context.database.write(remove);
    context.hub.endSession(session.tokenHash, "logged-out");
    Response response = Response::noContent();
    if (accounts::hasSessionCookie(request)) {
        response.with("Set-Cookie", accounts::removedSessionCookie())
            .with("Clear-Site-Data", R"("storage")");
    }
    co_return response;
}

Async<Response> listSessions(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const long long now = context.clock.nowMs();
    auto query = [&context, &session, now](soci::session& sql) {
        JsonAnswer answer(context, session.user.farmId());
        answer.open(Json::object(), "sessions");
        store::eachSessionOf(sql, session.user.id, now, [&](const store::SessionInfo& info) {
            answer.add(toJson(info, session.tokenHash));
        });
        answer.close();
        return answer.toResponse();
    };
    co_return co_await context.database.read(query);
}

/** Ends another session of the caller, or the caller's own. */
Async<Response> endSession(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const std::string& id = request.parameter("session");
    auto remove = [&](store::Transaction& transaction) {
        const auto found =
            store::sessionById(transaction.sql, session.user.id, id, context.clock.nowMs());
        if (!found) {
            throw http::Problem(http::EProblem::NotFound, "No session has this id.");
        }
        store::removeSession(transaction, *found);
        audit(transaction, context, request, session.user, {"session-end"});
        return *found;
    };
    const std::string ended = co_await context.database.write(remove);
    context.hub.endSession(ended, "revoked");
    co_return Response::noContent();
}

} // namespace

void addSessionRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/sessions", [&context](Request& r) { return logIn(context, r); });
    router.add("GET", "/sessions", [&context](Request& r) { return listSessions(context, r); });
    router.add("DELETE", "/sessions/{session}",
               [&context](Request& r) { return endSession(context, r); });
    router.add("DELETE", "/sessions/current",
               [&context](Request& r) { return logOut(context, r); });
}

} // namespace kelvo::api
