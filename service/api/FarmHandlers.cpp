// POST and GET /farms, for administrators.
#include "service/api/Access.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/Errors.h"
#include "service/store/FarmTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

Async<Response> addFarm(Context& context, Request& request)
{
    co_await requireAdmin(context, request);
    const nlohmann::json body = co_await request.json();
    const std::string name = requireName(body, "name");
    auto change = [&name](store::Transaction& transaction) {
        if (store::farmByName(transaction.sql, name)) {
            throw Problem(EProblem::Conflict, "A farm with this name exists.");
        }
        return store::addFarm(transaction, name);
    };
    const store::Farm farm = co_await context.database.write(change);
    co_return Response::json(toJson(farm), 201);
}

Async<Response> listFarms(Context& context, Request& request)
{
    co_await requireAdmin(context, request);
    auto query = [](soci::session& sql) {
        Json list = Json::array();
        for (const store::Farm& farm : store::allFarms(sql)) {
            list.push_back(toJson(farm));
        }
        return Response::json({{"farms", std::move(list)}});
    };
    co_return co_await context.database.read(query);
}

} // namespace

void addFarmRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/farms", [&context](Request& r) { return addFarm(context, r); });
    router.add("GET", "/farms", [&context](Request& r) { return listFarms(context, r); });
}

} // namespace kelvo::api
