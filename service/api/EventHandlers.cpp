// GET /events: the stream of events of the farm.
#include "service/api/Context.h"
#include "service/base/Encoding.h"
#include "service/events/EventStream.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/EventTable.h"
#include "service/store/SessionTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

/** Empty: the stream starts now. */
std::optional<store::Id> requestedCursor(const Request& request)
{
    std::optional<std::string> text = request.queryValue("cursor");
    if (const auto header = request.header("Last-Event-ID"); !header.empty()) {
        text = std::string(header);
    }
    if (!text) {
        return std::nullopt;
    }
    const auto number = parseNumber(*text);
    if (!number || *number > static_cast<std::uint64_t>(std::numeric_limits<store::Id>::max())) {
        throw Problem(EProblem::MalformedRequest, "The cursor is not the id of an event.");
    }
    return static_cast<store::Id>(*number);
}

/** Called after the subscription, so that no event is missing between the log and the broker. */
Async<store::Id> startingPoint(Context& context, const store::Session& session,
                               std::optional<store::Id> wanted)
{
    auto query = [&context, &session](soci::session& sql) {
        if (!store::findSession(sql, session.tokenHash, context.clock.expiryNow())) {
            throw Problem(EProblem::Unauthenticated, "The session has ended.");
        }
        return store::eventBounds(sql, session.user.farmId());
    };
    const store::EventBounds bounds = co_await context.database.read(query);
    if (wanted && !bounds.contains(*wanted)) {
        throw Problem(EProblem::CursorTooOld,
                      "The log does not have the events after this cursor.");
    }
    co_return wanted.value_or(bounds.newest);
}

Async<Response> openStream(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const auto wanted = requestedCursor(request);
    const auto subscription = context.broker.subscribe(request.body.executor(), session);
    const store::Id cursor = co_await startingPoint(context, session, wanted);
    const auto stream = std::make_shared<events::EventStream>(
        subscription, cursor, context.database, context.clock, context.settings.stream,
        [&context](const store::Session& known) { return context.accounts.noteContact(known); });
    Response response;
    response.headers = {{"Content-Type", "text/event-stream"},
                        {"Cache-Control", "no-store"},
                        {"X-Accel-Buffering", "no"}}; // a proxy passes each event on at once
    response.stream = [stream](http::Transport& transport) { return stream->run(transport); };
    co_return response;
}

} // namespace

void addEventRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/events", [&context](Request& r) { return openStream(context, r); });
}

} // namespace kelvo::api
