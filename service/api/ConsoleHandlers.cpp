// /consoles: the farm's consoles and their tracks, for the office.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/Paging.h"
#include "service/api/ReportMembers.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/ConsoleTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

Json environmentOf(const store::Console& console)
{
    if (console.environment.empty()) {
        return Json();
    }
    const auto report = nlohmann::json::parse(console.environment);
    return {{"timestamp_ms", report.at("timestamp_ms").get<long long>()},
            {"console", pick(report.at("console"), consoleMembers)},
            {"controller", pick(report.at("controller"), deviceMembers)},
            {"received_at", rfc3339(console.environmentMs)}};
}

Json describe(const store::Device& device)
{
    const auto report = nlohmann::json::parse(device.document);
    return {{"timestamp_ms", report.at("timestamp_ms").get<long long>()},
            {"state", report.at("state").get<int>()},
            {"flag", report.at("flag").get<bool>()},
            {"device", pick(report.at("device"), deviceMembers)},
            {"received_at", rfc3339(device.receivedMs)}};
}

Json describe(const store::Position& position)
{
    return {{"time_s", position.timeS},
            {"latitude", position.latitudeDeg},
            {"longitude", position.longitudeDeg},
            {"received_at", rfc3339(position.receivedMs)}};
}

/** Without the member "devices". */
Json describe(const store::Console& console)
{
    Json environment = environmentOf(console);
    const std::string name =
        environment.is_null() ? "" : environment["console"].value("console_string", "");
    return {{"id", console.id},
            {"console_string", name},
            {"hardware_address", console.hardwareAddress},
            {"operator", {{"id", console.operatorId}, {"name", console.operatorName}}},
            {"environment", std::move(environment)},
            {"position", console.position ? describe(*console.position) : Json()},
            {"last_contact_at",
             console.lastContactMs > 0 ? Json(rfc3339(console.lastContactMs)) : Json()}};
}

Json describe(const store::TrackPoint& point)
{
    Json document = describe(point.position);
    document["operator"] = {{"id", point.operatorId}, {"name", point.operatorName}};
    return document;
}

void addWithDevices(soci::session& sql, const Json& console, JsonAnswer& list)
{
    list.open(console, "devices");
    store::eachDeviceOf(sql, console["id"].get<store::Id>(),
                        [&list](const store::Device& device) { list.add(describe(device)); });
    list.close();
}

Async<Response> getConsoles(Context& context, Request& request)
{
    const store::User user = co_await requireOffice(context, request);
    const Page page = readPage(request);
    const auto name = request.queryValue("name");
    const store::ConsolePart part{queryNumber(request, "user", store::largestId), page.after};
    auto query = [&](soci::session& sql) {
        PageAnswer answer(context, user.farmId(), page.limit, "consoles");
        store::consolesOf(sql, user.farmId(), part, [&](const store::Console& console) {
            const Json described = describe(console);
            if (name && described["console_string"] != *name && console.hardwareAddress != *name) {
                return true;
            }
            const bool isHere = answer.count(std::to_string(console.id));
            if (isHere) {
                addWithDevices(sql, described, answer.list());
            }
            return isHere;
        });
        return answer.toResponse(request);
    };
    co_return co_await context.database.read(query, user.farmId());
}

void requireConsole(soci::session& sql, store::Id farm, store::Id console)
{
    if (!store::hasConsole(sql, farm, console)) {
        throw Problem(EProblem::NotFound, "No console has this id.");
    }
}

Async<Response> getTrack(Context& context, Request& request)
{
    const store::User user = co_await requireOffice(context, request);
    const store::Id console = request.id();
    store::TrackPart part;
    part.fromMs = queryTime(request, "from");
    part.beforeMs = queryTime(request, "to");
    part.belowNumber = queryNumber(request, "cursor", std::numeric_limits<store::Id>::max());
    const int limit = readLimit(request);
    part.most = limit + 1; // one more shows whether there is a next page
    auto query = [&](soci::session& sql) {
        requireConsole(sql, user.farmId(), console);
        PageAnswer answer(context, user.farmId(), limit, "positions");
        store::trackOf(sql, console, part, [&answer](const store::TrackPoint& point) {
            return answer.add(std::to_string(point.number), describe(point));
        });
        const auto next = answer.next();
        answer.list().close({{"next", next ? Json(*next) : Json()}});
        return answer.list().toResponse();
    };
    co_return co_await context.database.read(query, user.farmId());
}

Async<Response> deleteConsole(Context& context, Request& request)
{
    const store::User user = co_await requireOffice(context, request);
    const store::Id farm = user.farmId();
    const store::Id console = request.id();
    auto change = [&](store::Transaction& transaction) {
        requireConsole(transaction.sql, farm, console);
        if (store::hasSession(transaction.sql, console, context.clock.expiryNow())) {
            throw Problem(EProblem::Conflict, "A session reports for the console: end it first.");
        }
        store::removeConsole(transaction, farm, console);
        addConsoleRemoved(transaction, {farm, context.clock.nowMs(), context.settings.eventsKept},
                          console);
        audit(transaction, context, request, user, {"console-delete", "console", console});
    };
    co_await context.database.write(store::Scope::farm(farm), change);
    co_return Response::noContent();
}

} // namespace

void addConsoleRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/consoles", [&context](Request& r) { return getConsoles(context, r); });
    router.add("DELETE", "/consoles/{id}",
               [&context](Request& r) { return deleteConsole(context, r); });
    router.add("GET", "/consoles/{id}/track",
               [&context](Request& r) { return getTrack(context, r); });
}

} // namespace kelvo::api
