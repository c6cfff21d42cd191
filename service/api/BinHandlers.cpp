// The farm's bin: the files deleted in the last 30 days, and their restoration.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

Async<Response> getBin(Context& context, Request& request)
{
    const store::User user = co_await requireOffice(context, request);
    auto query = [&user](soci::session& sql) {
        Json files = Json::array();
        for (const store::BinnedFile& file : store::binOf(sql, user.farmId())) {
            files.push_back(toJson(file));
        }
        return Response::json({{"files", std::move(files)}});
    };
    co_return co_await context.database.read(query);
}

Async<Response> restore(Context& context, Request& request)
{
    const store::User user = co_await requireOffice(context, request);
    const store::Id id = request.id();
    auto change = [&](store::Transaction& transaction) {
        const auto file = store::restoreFromBin(transaction, user.farmId(), id);
        const auto inbox =
            file ? store::inboxById(transaction.sql, user.farmId(), file->inbox) : std::nullopt;
        if (!inbox) {
            throw Problem(EProblem::NotFound, "The bin has no file with this id.");
        }
        addFileAdded(transaction,
                     {user.farmId(), context.clock.nowMs(), context.settings.eventsKept}, *inbox,
                     *file);
        audit(transaction, context, request, user, {"file-restore", "file", id});
        return Response::json(toJson(*file)).with("ETag", etagOf(*file));
    };
    co_return co_await context.database.write(change);
}

} // namespace

void addBinRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/bin", [&context](Request& r) { return getBin(context, r); });
    router.add("POST", "/bin/{id}/restore", [&context](Request& r) { return restore(context, r); });
}

} // namespace kelvo::api
