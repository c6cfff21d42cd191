// The records of projects, inboxes and files: read, add an inbox, rename and delete a file.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/Snapshot.h"
#include "service/http/Problem.h"
#include "service/http/Ranges.h"
#include "service/http/Router.h"
#include "service/store/FarmTable.h"
#include "service/store/FetchTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

[[noreturn]] void throwNotFound()
{
    throw Problem(EProblem::NotFound, "No resource has this id.");
}

Async<Response> getProjectResources(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const store::Id id = request.id();
    auto query = [&context, &user, id](soci::session& sql) {
        const auto project = store::projectById(sql, user.farmId(), id);
        if (!project) {
            throwNotFound();
        }
        JsonAnswer answer(context, user.farmId());
        answer.open({{"project", toJson(*project)}}, "resources");
        Snapshot(sql, user, answer).addInboxesOf(id);
        answer.close();
        return answer.toResponse();
    };
    co_return co_await context.database.read(query, user.farmId());
}

Response describeInbox(Context& context, soci::session& sql, const store::User& user,
                       const store::Inbox& inbox)
{
    JsonAnswer answer(context, user.farmId());
    Snapshot(sql, user, answer).addInbox(inbox);
    return answer.toResponse();
}

Response describeProject(Context& context, soci::session& sql, const store::User& user,
                         const store::Project& project)
{
    JsonAnswer answer(context, user.farmId());
    answer.open(toJson(project), "resources");
    store::eachInboxOf(sql, user.farmId(), project.id,
                       [&answer](const store::Inbox& inbox) { answer.add(toJson(inbox)); });
    answer.close();
    return answer.toResponse();
}

Response describeResource(Context& context, soci::session& sql, const store::User& user,
                          store::Id id)
{
    if (const auto project = store::projectById(sql, user.farmId(), id)) {
        return describeProject(context, sql, user, *project);
    }
    if (const auto inbox = store::inboxById(sql, user.farmId(), id)) {
        return describeInbox(context, sql, user, *inbox);
    }
    const auto file = store::fileById(sql, user.farmId(), id);
    const auto inbox = file ? store::inboxById(sql, user.farmId(), file->inbox) : std::nullopt;
    if (!inbox || !mayUse(user, *inbox)) {
        throwNotFound();
    }
    Json document = toJson(*file);
    if (const auto fetch = store::lastFetchOf(sql, user.farmId(), id);
        fetch && user.role == store::ERole::Office) {
        addFetch(document, *fetch);
    }
    return Response::json(document).with("ETag", etagOf(*file));
}

Async<Response> getResource(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const store::Id id = request.id();
    auto query = [&context, &user, id](soci::session& sql) {
        return describeResource(context, sql, user, id);
    };
    co_return co_await context.database.read(query, user.farmId());
}

Async<Response> makeInbox(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const std::string& name = request.parameter("name");
    auto change = [&](store::Transaction& transaction) {
        const auto project = store::projectByName(transaction.sql, user.farmId(), name);
        if (!project) {
            throw Problem(EProblem::NotFound, "No project has this name.");
        }
        const long long now = context.clock.nowMs();
        const auto made = store::ensureInbox(transaction, user, project->id, now);
        if (made.isNew) {
            addInboxAdded(transaction, {user.farmId(), now, context.settings.eventsKept},
                          made.inbox);
            audit(transaction, context, request, user, {"inbox-add", "inbox", made.inbox.id});
        }
        return made;
    };
    const store::AddedInbox made =
        co_await context.database.write(store::Scope::farm(user.farmId()), change);
    auto describe = [&context, &user, &made](soci::session& sql) {
        return describeInbox(context, sql, user, made.inbox);
    };
    Response response = co_await context.database.read(describe, user.farmId());
    response.status = made.isNew ? 201 : 200;
    co_return response;
}

struct FileInInbox
{
    store::File file;
    store::Inbox inbox;
};

/** Returns a file that the user may change. Throws Problem. */
FileInInbox requireFile(soci::session& sql, const store::User& user, const Request& request)
{
    const store::Id id = request.id();
    if (store::projectById(sql, user.farmId(), id) || store::inboxById(sql, user.farmId(), id)) {
        throw Problem(EProblem::Forbidden, "Only files can be renamed or deleted.");
    }
    const auto file = store::fileById(sql, user.farmId(), id);
    const auto inbox = file ? store::inboxById(sql, user.farmId(), file->inbox) : std::nullopt;
    if (!inbox || !mayUse(user, *inbox)) {
        throwNotFound();
    }
    const std::string_view ifMatch = request.header("If-Match");
    if (!ifMatch.empty() && !http::tagListMatches(ifMatch, etagOf(*file), false)) {
        throw Problem(EProblem::PreconditionFailed, "The file's content has another tag.");
    }
    return {*file, *inbox};
}

/** Clients see a renamed file as a file that leaves and comes back with its id. */
Async<Response> renameFile(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const nlohmann::json body = co_await request.json();
    const std::string name = requireString(body, "name");
    if (!isFileName(name)) {
        throw Problem(EProblem::Unprocessable, "This is not the name of a file.");
    }
    auto change = [&](store::Transaction& transaction) {
        FileInInbox found = requireFile(transaction.sql, user, request);
        const EventFrame frame{user.farmId(), context.clock.nowMs(), context.settings.eventsKept};
        addFileRemoved(transaction, frame, found.inbox, found.file);
        found.file.name = name;
        store::setFileName(transaction, user.farmId(), found.file.id, name);
        addFileAdded(transaction, frame, found.inbox, found.file);
        audit(transaction, context, request, user, {"file-rename", "file", found.file.id});
        return Response::json(toJson(found.file)).with("ETag", etagOf(found.file));
    };
    co_return co_await context.database.write(store::Scope::farm(user.farmId()), change);
}

Async<Response> deleteResource(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    auto change = [&](store::Transaction& transaction) {
        const FileInInbox found = requireFile(transaction.sql, user, request);
        const long long now = context.clock.nowMs();
        store::moveToBin(transaction, user.farmId(), found.file.id, user.name, now);
        addFileRemoved(transaction, {user.farmId(), now, context.settings.eventsKept}, found.inbox,
                       found.file);
        audit(transaction, context, request, user, {"file-delete", "file", found.file.id});
    };
    co_await context.database.write(store::Scope::farm(user.farmId()), change);
    co_return Response::noContent();
}

} // namespace

void addResourceRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/projects/{id}/resources",
               [&context](Request& r) { return getProjectResources(context, r); });
    router.add("POST", "/projects/{name}/user-inbox",
               [&context](Request& r) { return makeInbox(context, r); });
    router.add("GET", "/resources/{id}",
               [&context](Request& r) { return getResource(context, r); });
    router.add("PATCH", "/resources/{id}",
               [&context](Request& r) { return renameFile(context, r); });
    router.add("DELETE", "/resources/{id}",
               [&context](Request& r) { return deleteResource(context, r); });
}

} // namespace kelvo::api
