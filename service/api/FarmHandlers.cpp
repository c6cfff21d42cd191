// Farms, for administrators: add, list, rename, delete.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/Paging.h"
#include "service/base/Log.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/Errors.h"
#include "service/store/FarmRemoval.h"
#include "service/store/FarmTable.h"
#include "service/store/UserTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

Async<Response> addFarm(Context& context, Request& request)
{
    const store::User caller = co_await requireAdmin(context, request);
    const nlohmann::json body = co_await request.json();
    const std::string name = requireName(body, "name");
    auto change = [&](store::Transaction& transaction) {
        if (store::farmByName(transaction.sql, name)) {
            throw Problem(EProblem::Conflict, "A farm with this name exists.");
        }
        const store::Farm farm = store::addFarm(transaction, name);
        audit(transaction, context, request, caller, {"farm-add", "farm", farm.id, {}, farm.id});
        return farm;
    };
    const store::Farm farm = co_await context.database.write(change);
    co_return Response::json(toJson(farm), 201);
}

Async<Response> listFarms(Context& context, Request& request)
{
    co_await requireAdmin(context, request);
    const Page page = readPage(request);
    auto query = [&](soci::session& sql) {
        PageAnswer answer(context, 0, page.limit, "farms");
        store::eachFarm(sql, page.after, page.wanted(), [&answer](const store::Farm& farm) {
            return answer.add(std::to_string(farm.id), toJson(farm));
        });
        return answer.toResponse(request);
    };
    co_return co_await context.database.read(query);
}

Async<Response> renameFarm(Context& context, Request& request)
{
    const store::User caller = co_await requireAdmin(context, request);
    const store::Id id = request.id();
    const nlohmann::json body = co_await request.json();
    const std::string name = requireName(body, "name");
    auto change = [&](store::Transaction& transaction) {
        store::Farm farm = requireFarm(transaction.sql, id);
        const auto other = store::farmByName(transaction.sql, name);
        if (other && other->id != id) {
            throw Problem(EProblem::Conflict, "A farm with this name exists.");
        }
        store::setFarmName(transaction, id, name);
        audit(transaction, context, request, caller, {"farm-rename", "farm", id, {}, id});
        farm.name = name;
        return farm;
    };
    const store::Farm farm = co_await context.database.write(change);
    co_return Response::json(toJson(farm));
}

/** The farm is deleted already: if this fails, the clean-up removes the rest. */
Async<void> removeRows(Context& context, store::Id farm)
{
    auto change = [farm](store::Transaction& transaction) {
        return store::removeSomeOf(transaction, farm);
    };
    try {
        while (co_await context.database.write(store::Scope::farm(farm), change)) {
        }
    } catch (const std::exception& error) {
        logWarning("farm-not-removed", error.what());
    }
}

/** The name must be repeated, because the files are lost. */
Async<Response> deleteFarm(Context& context, Request& request)
{
    const store::User caller = co_await requireAdmin(context, request);
    const store::Id id = request.id();
    const auto confirmed = request.queryValue("confirm");
    auto change = [&](store::Transaction& transaction) {
        const store::Farm farm = requireFarm(transaction.sql, id);
        if (confirmed != farm.name) {
            throw Problem(EProblem::Conflict, "\"confirm\" must be the farm's name.");
        }
        std::vector<store::Id> users;
        store::allUsers(transaction.sql, {.farm = id}, [&users](const store::User& user) {
            users.push_back(user.id);
            return true;
        });
        store::deleteFarm(transaction, id, context.clock.nowMs());
        audit(transaction, context, request, caller, {"farm-delete", "farm", id, {}, id});
        return users;
    };
    const std::vector<store::Id> users = co_await context.database.write(change);
    for (const store::Id user : users) {
        context.broker.endSessionsOf(user, "disabled");
    }
    co_await removeRows(context, id);
    co_return Response::noContent();
}

} // namespace

void addFarmRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/farms", [&context](Request& r) { return addFarm(context, r); });
    router.add("PATCH", "/farms/{id}", [&context](Request& r) { return renameFarm(context, r); });
    router.add("DELETE", "/farms/{id}", [&context](Request& r) { return deleteFarm(context, r); });
    router.add("GET", "/farms", [&context](Request& r) { return listFarms(context, r); });
}

} // namespace kelvo::api
