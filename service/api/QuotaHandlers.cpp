// /usage, /farms/{id}/usage and /farms/{id}/quota: what farms use, and their limits.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/JsonAnswer.h"
#include "service/api/Paging.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/FarmTable.h"
#include "service/store/QuotaTable.h"
#include "service/store/UserTable.h"

#include <algorithm>

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;
using store::EQuotaScope;

constexpr long long largestLimit = 1LL << 52; // JSON readers keep integers up to 2^53

Json describe(const store::Limits& limits, EQuotaScope scope)
{
    Json document = Json::object();
    for (const store::LimitName& limit : store::limitNames) {
        if (limit.isOf(scope)) {
            document[limit.name] = limits.*limit.value;
        }
    }
    return document;
}

Json describe(const store::Quotas& quotas)
{
    return {{"farm", describe(quotas.farm, EQuotaScope::Farm)},
            {"user", describe(quotas.user, EQuotaScope::User)}};
}

Json describe(const store::Usage& usage)
{
    return {{"bytes", usage.bytes},
            {"files", usage.files},
            {"bin_bytes", usage.binBytes},
            {"bin_files", usage.binFiles},
            {"uploads", usage.uploads},
            {"upload_bytes", usage.uploadBytes},
            {"upload_files", usage.uploadFiles},
            {"sessions", usage.sessions}};
}

/** The farm of the path. The office may name its own farm only. */
Async<store::Id> farmOfPath(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const store::Id farm = request.id();
    if (session.user.role == store::ERole::Operator) {
        throw Problem(EProblem::Forbidden, "This needs the farm's office or an administrator.");
    }
    if (session.user.role == store::ERole::Office && session.user.farmId() != farm) {
        throw Problem(EProblem::NotFound, "No farm has this id.");
    }
    co_return farm;
}

Async<Response> getUsage(Context& context, Request& request)
{
    const store::Id id = co_await farmOfPath(context, request);
    auto query = [&context, id](soci::session& sql) {
        const store::Farm farm = requireFarm(sql, id);
        Json usage = describe(store::usageOfFarm(sql, id));
        usage["users"] = store::countUsers(sql, id, context.clock.nowMs());
        JsonAnswer answer(context, id);
        answer.open({{"farm", toJson(farm)},
                     {"quota", describe(store::quotasOf(sql, id, context.settings.quotas))},
                     {"usage", std::move(usage)}},
                    "users");
        store::allUsers(sql, {.farm = id}, [&](const store::User& user) {
            answer.add({{"id", user.id},
                        {"name", user.name},
                        {"usage", describe(store::usageOfUser(sql, id, user.id))}});
            return true;
        });
        answer.close();
        return answer.toResponse();
    };
    co_return co_await context.database.read(query, id);
}

Async<Response> listUsage(Context& context, Request& request)
{
    co_await requireAdmin(context, request);
    const int most = readLimit(request);
    auto query = [&context, most](soci::session& sql) {
        JsonAnswer answer(context, 0);
        answer.open(Json::object(), "farms");
        store::eachLargestFarm(sql, context.settings.quotas.farm, most,
                               [&answer](const store::FarmUsage& usage) {
                                   answer.add({{"farm", toJson(usage.farm)},
                                               {"bytes", usage.bytes},
                                               {"byte_limit", usage.byteLimit},
                                               {"files", usage.files},
                                               {"file_limit", usage.fileLimit}});
                               });
        answer.close();
        return answer.toResponse();
    };
    co_return co_await context.database.read(query);
}

struct QuotaChange
{
    EQuotaScope scope;
    std::string name;
    std::optional<long long> value;
};

std::optional<long long> readQuotaValue(const nlohmann::json& value)
{
    if (value.is_null()) {
        return std::nullopt;
    }
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > largestLimit) {
        throw Problem(EProblem::Unprocessable, "A limit is a number from 0 to 2^52, or null.");
    }
    return value.get<long long>();
}

void readChanges(const nlohmann::json& body, EQuotaScope scope, const char* member,
                 std::vector<QuotaChange>& changes)
{
    if (!body.contains(member)) {
        return;
    }
    if (!body[member].is_object()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The member \"") + member + "\" must be an object.");
    }
    for (const auto& [name, value] : body[member].items()) {
        const bool isKnown = std::any_of(store::limitNames.begin(), store::limitNames.end(),
                                         [&name = name, scope](const store::LimitName& limit) {
                                             return name == limit.name && limit.isOf(scope);
                                         });
        if (!isKnown) {
            throw Problem(EProblem::Unprocessable, "No limit has this name.");
        }
        changes.push_back({scope, name, readQuotaValue(value)});
    }
}

Async<Response> changeQuota(Context& context, Request& request)
{
    const store::User caller = co_await requireAdmin(context, request);
    const store::Id id = request.id();
    const nlohmann::json body = co_await request.json();
    std::vector<QuotaChange> changes;
    readChanges(body, EQuotaScope::Farm, "farm", changes);
    readChanges(body, EQuotaScope::User, "user", changes);
    auto change = [&](store::Transaction& transaction) {
        requireFarm(transaction.sql, id);
        for (const QuotaChange& one : changes) {
            store::setQuota(transaction, id, one.scope, one.name, one.value);
        }
        audit(transaction, context, request, caller, {"quota-change", "farm", id, {}, id});
        return describe(store::quotasOf(transaction.sql, id, context.settings.quotas));
    };
    co_return Response::json(co_await context.database.write(store::Scope::farm(id), change));
}

} // namespace

void addQuotaRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/usage", [&context](Request& r) { return listUsage(context, r); });
    router.add("GET", "/farms/{id}/usage", [&context](Request& r) { return getUsage(context, r); });
    router.add("PATCH", "/farms/{id}/quota",
               [&context](Request& r) { return changeQuota(context, r); });
}

} // namespace kelvo::api
