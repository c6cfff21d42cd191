// GET /audit: the audit trail for the office and the administrator.
#include "service/api/Access.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/Paging.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/AuditTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

Json describe(const store::AuditEntry& entry)
{
    Json actor;
    if (entry.actor != 0) {
        actor = {{"id", entry.actor}, {"name", entry.actorName}};
    }
    Json object;
    if (!entry.objectKind.empty()) {
        object = {{"kind", entry.objectKind}, {"id", entry.object}, {"name", entry.objectName}};
    }
    return {{"id", std::to_string(entry.id)},
            {"at", rfc3339(entry.atMs)},
            {"action", entry.action},
            {"outcome", entry.outcome},
            {"address", entry.address},
            {"actor", std::move(actor)},
            {"farm", entry.farm != 0 ? Json(entry.farm) : Json()},
            {"object", std::move(object)}};
}

store::AuditPart wantedPart(const Request& request, const store::User& user, const Page& page)
{
    store::AuditPart part;
    part.farm = queryNumber(request, "farm", store::largestId);
    if (user.role != store::ERole::Admin) {
        if (user.role != store::ERole::Office) {
            throw Problem(EProblem::Forbidden, "This needs the farm's office or an administrator.");
        }
        part.farm = user.farmId();
    }
    part.actor = queryNumber(request, "user", store::largestId);
    part.person = queryNumber(request, "person", store::largestId);
    part.action = request.queryValue("action");
    part.fromMs = queryTime(request, "from");
    part.beforeMs = queryTime(request, "to");
    part.belowId = page.after;
    part.most = page.wanted();
    return part;
}

Async<Response> getAudit(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const Page page = readPage(request);
    const store::AuditPart part = wantedPart(request, session.user, page);
    auto query = [&](soci::session& sql) {
        PageAnswer answer(context, session.user.farmId(), page.limit, "entries");
        store::auditOf(sql, part, [&answer](const store::AuditEntry& entry) {
            return answer.add(std::to_string(entry.id), describe(entry));
        });
        return answer.toResponse(request);
    };
    co_return co_await context.database.read(query, session.user.farmId());
}

} // namespace

void addAuditRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/audit", [&context](Request& r) { return getAudit(context, r); });
}

} // namespace kelvo::api
