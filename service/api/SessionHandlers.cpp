// Logging in and out, the list of the own sessions, the end of single sessions.
#include "service/accounts/SessionToken.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/JsonAnswer.h"
#include "service/api/UserFields.h"
#include "service/base/Digest.h"
#include "service/base/Log.h"
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

Async<void> endByLogOut(Context& context, const Request& request, const store::Session& session)
{
    auto remove = [&](store::Transaction& transaction) {
        store::removeSession(transaction, session.tokenHash);
        audit(transaction, context, request.peerAddress, session.user, {"logout"});
    };
    co_await context.database.write(store::Scope::farm(session.user.farmId()), remove);
    context.broker.endSession(session.tokenHash, "logged-out");
}

/** Ends the session of the cookie that this login replaces: the browser forgets its token. */
Async<void> endReplacedSession(Context& context, const Request& request)
{
    const std::string hash = sha256Hex(accounts::cookieToken(request));
    auto find = [&](soci::session& sql) {
        return store::findSession(sql, hash, context.clock.expiryNow());
    };
    if (const auto replaced = co_await context.database.read(find)) {
        co_await endByLogOut(context, request, *replaced);
    }
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
        context.broker.endSession(ended, "revoked");
    }
    nlohmann::ordered_json document;
    if (kind == accounts::ESessionKind::Console) {
        document["token"] = login.token;
    }
    document["user"] = toJson(login.session.user);
    document["expires_at"] = rfc3339(login.session.expiresMs);
    Response response = Response::json(document, 201);
    if (kind == accounts::ESessionKind::Browser) {
        try {
            co_await endReplacedSession(context, request);
        } catch (const std::exception& error) {
            logWarning("session-not-replaced", error.what()); // the login has happened
        }
        response.with("Set-Cookie", accounts::sessionCookie(login.token));
    }
    co_return response;
}

Async<Response> logOut(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    co_await endByLogOut(context, request, session);
    Response response = Response::noContent();
    if (!accounts::cookieToken(request).empty()) {
        response.with("Set-Cookie", accounts::removedSessionCookie())
            .with("Clear-Site-Data", R"("storage")");
    }
    co_return response;
}

Async<Response> listSessions(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const ExpiryTime now = context.clock.expiryNow();
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

/** Removes the user's session that the path names. Returns its token hash. Throws not-found. */
std::string removeNamedSession(const Context& context, store::Transaction& transaction,
                               const Request& request, store::Id user)
{
    const auto found = store::sessionById(transaction.sql, user, request.parameter("session"),
                                          context.clock.expiryNow());
    if (!found) {
        throw http::Problem(http::EProblem::NotFound, "No session has this id.");
    }
    store::removeSession(transaction, *found);
    return *found;
}

/** Ends another session of the caller, or the caller's own. */
Async<Response> endSession(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    auto remove = [&](store::Transaction& transaction) {
        audit(transaction, context, request, session.user, {"session-end"});
        return removeNamedSession(context, transaction, request, session.user.id);
    };
    const std::string ended =
        co_await context.database.write(store::Scope::farm(session.user.farmId()), remove);
    context.broker.endSession(ended, "revoked");
    co_return Response::noContent();
}

/** Ends a session of a user. The caller manages this user. */
Async<Response> endSessionOf(Context& context, Request& request)
{
    const store::User caller = co_await requireManager(context, request);
    const store::Id id = request.id();
    auto remove = [&](store::Transaction& transaction) {
        const store::User user = managedUser(transaction.sql, caller, id);
        audit(transaction, context, request, caller,
              {"session-end", "user", user.id, user.name, user.farmId()});
        return removeNamedSession(context, transaction, request, user.id);
    };
    const std::string ended = co_await context.database.write(remove);
    context.broker.endSession(ended, "revoked");
    co_return Response::noContent();
}

} // namespace

void addSessionRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/sessions", [&context](Request& r) { return logIn(context, r); });
    router.add("GET", "/sessions", [&context](Request& r) { return listSessions(context, r); });
    router.add("DELETE", "/sessions/{session}",
               [&context](Request& r) { return endSession(context, r); });
    router.add("DELETE", "/users/{id}/sessions/{session}",
               [&context](Request& r) { return endSessionOf(context, r); });
    router.add("DELETE", "/sessions/current",
               [&context](Request& r) { return logOut(context, r); });
}

} // namespace kelvo::api
