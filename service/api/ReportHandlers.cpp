// The reports of consoles: environment, devices, positions.
#include "service/api/Access.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/PositionRate.h"
#include "service/api/ReportMembers.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/ConsoleTable.h"
#include "service/store/ReportTable.h"

#include <cmath>
#include <memory>

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

constexpr long long dayMs = 24LL * 3600 * 1000;
constexpr std::size_t longestAddressCharacters = 255;

const nlohmann::json& requireObject(const nlohmann::json& document, const char* member)
{
    const auto found = document.find(member);
    if (found == document.end() || !found->is_object()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The member \"") + member + "\" must be an object.");
    }
    return *found;
}

long long requireInteger(const nlohmann::json& document, const char* member)
{
    const auto found = document.find(member);
    if (found == document.end() || !found->is_number_integer()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The member \"") + member + "\" must be an integer.");
    }
    return found->get<long long>();
}

void requireBoolean(const nlohmann::json& document, const char* member)
{
    const auto found = document.find(member);
    if (found == document.end() || !found->is_boolean()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The member \"") + member + "\" must be true or false.");
    }
}

double requireDegrees(const nlohmann::json& document, const char* member, double limit)
{
    const auto found = document.find(member);
    if (found == document.end() || !found->is_number()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The member \"") + member + "\" must be a number.");
    }
    const double value = found->get<double>();
    if (!std::isfinite(value) || std::abs(value) > limit) {
        throw Problem(EProblem::Unprocessable,
                      std::string("The member \"") + member + "\" is out of range.");
    }
    return value;
}

/** The clock of a console may be wrong, so times up to a day in the future are accepted. */
void refuseImpossibleTime(long long time, long long latest)
{
    if (time < 0) {
        throw Problem(EProblem::Unprocessable, "The time is before 1970.");
    }
    if (time > latest) {
        throw Problem(EProblem::Unprocessable, "The time is more than a day in the future.");
    }
}

void requireTimestamp(const Context& context, const nlohmann::json& body)
{
    refuseImpossibleTime(requireInteger(body, "timestamp_ms"), context.clock.nowMs() + dayMs);
}

std::string hardwareAddress(const nlohmann::json& document)
{
    if (!document.contains("hardware_address")) {
        return {};
    }
    std::string address = requireString(document, "hardware_address");
    if (countCharacters(address) > longestAddressCharacters ||
        address.find('\0') != std::string::npos) {
        throw Problem(EProblem::Unprocessable,
                      "A hardware address has at most 255 characters, and no NUL.");
    }
    return address;
}

/** Returns the members that are kept. Throws Problem if the object is missing or too large. */
Json requireMembers(const nlohmann::json& document, const char* member, const Members& members)
{
    const nlohmann::json& object = requireObject(document, member);
    refuseLongTexts(object, members);
    return pick(object, members);
}

Async<store::Session> startReport(Context& context, Request& request)
{
    co_await requireHalfOfReserve(context);
    co_return co_await requireOperator(context, request);
}

Async<Response> putEnvironment(Context& context, Request& request)
{
    const store::Session session = co_await startReport(context, request);
    const nlohmann::json body = co_await request.json();
    requireTimestamp(context, body);
    const Json kept{{"timestamp_ms", body["timestamp_ms"]},
                    {"console", requireMembers(body, "console", consoleMembers)},
                    {"controller", requireMembers(body, "controller", deviceMembers)}};
    const std::string address = hardwareAddress(body["console"]);
    const std::string document = kept.dump();
    auto change = [&](store::Transaction& transaction) {
        const store::Id console = store::bindConsole(transaction, session, address);
        store::setEnvironment(transaction, session, console, document, context.clock.nowMs());
    };
    co_await context.database.write(store::Scope::farm(session.user.farmId()), change);
    co_return Response::noContent();
}

Async<Response> putDevice(Context& context, Request& request)
{
    const store::Session session = co_await startReport(context, request);
    const nlohmann::json body = co_await request.json();
    requireTimestamp(context, body);
    const long long state = requireInteger(body, "state");
    if (state != 0 && state != 1) {
        throw Problem(EProblem::Unprocessable, "The member \"state\" must be 0 or 1.");
    }
    requireBoolean(body, "flag");
    const Json kept{{"timestamp_ms", body["timestamp_ms"]},
                    {"state", state},
                    {"flag", body["flag"]},
                    {"device", requireMembers(body, "device", deviceMembers)}};
    const std::string address = hardwareAddress(body["device"]);
    const std::string document = kept.dump();
    auto change = [&](store::Transaction& transaction) {
        // The address belongs to the device and does not identify the console.
        const store::Id console = store::bindConsole(transaction, session, {});
        store::setDevice(transaction, console, address, document, context.clock.nowMs());
    };
    co_await context.database.write(store::Scope::farm(session.user.farmId()), change);
    co_return Response::noContent();
}

long long timeInSeconds(const Context& context, const nlohmann::json& body)
{
    const long long seconds = requireInteger(body, "time_s");
    refuseImpossibleTime(seconds, (context.clock.nowMs() + dayMs) / 1000);
    return seconds;
}

Async<Response> addPosition(Context& context, PositionRate& rate, Request& request)
{
    const store::Session session = co_await startReport(context, request);
    const nlohmann::json body = co_await request.json();
    const std::string address = hardwareAddress(body);
    const store::Position position{timeInSeconds(context, body),
                                   requireDegrees(body, "latitude", 90),
                                   requireDegrees(body, "longitude", 180), context.clock.nowMs()};
    const EventFrame frame{session.user.farmId(), position.receivedMs, context.settings.eventsKept};
    auto quotas = [&context, &session](soci::session& sql) {
        return store::quotasOf(sql, session.user.farmId(), context.settings.quotas);
    };
    if (!rate.take(co_await context.database.read(quotas), session.user.farmId(), session.user.id,
                   position.receivedMs)) {
        throw Problem(EProblem::RateLimited, "Too many positions in this minute.",
                      {{"Retry-After", "60"}});
    }
    auto change = [&](store::Transaction& transaction) {
        const store::Id console = store::bindConsole(transaction, session, address);
        store::addPosition(transaction, console, session.user.id, position);
        addConsoleMoved(transaction, frame, console, session.user, position);
    };
    co_await context.database.write(store::Scope::farm(session.user.farmId()), change);
    co_return Response::noContent();
}

} // namespace

void addReportRoutes(http::Router& router, Context& context)
{
    router.add("PUT", "/environment",
               [&context](Request& r) { return putEnvironment(context, r); });
    router.add("PUT", "/devices", [&context](Request& r) { return putDevice(context, r); });
    const auto rate = std::make_shared<PositionRate>();
    router.add("POST", "/positions",
               [&context, rate](Request& r) { return addPosition(context, *rate, r); });
}

} // namespace kelvo::api
