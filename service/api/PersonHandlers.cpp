// One person's account and data: own password, deletion, export, erasure of positions.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/JsonAnswer.h"
#include "service/api/Paging.h"
#include "service/api/Snapshot.h"
#include "service/api/UserFields.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/FetchTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/LoginPlaceTable.h"
#include "service/store/PersonTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UploadTable.h"
#include "service/store/UserTable.h"

#include <algorithm>

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

Async<void> checkCurrentPassword(Context& context, const Request& request, const store::User& user,
                                 const std::string& password)
{
    try {
        co_await context.accounts.checkPassword(user.name, password, request.peerAddress,
                                                "password-change");
    } catch (const Problem& problem) {
        if (problem.kind() == EProblem::InvalidCredentials) {
            throw Problem(EProblem::Forbidden, "The current password is wrong.");
        }
        throw;
    }
}

Async<Response> changeOwnPassword(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const nlohmann::json body = co_await request.json();
    const std::string current = requireString(body, "current");
    const std::string password = requirePassword(body, "new");
    co_await checkCurrentPassword(context, request, session.user, current);
    const std::string hash = co_await context.accounts.hashPassword(password);
    auto change = [&](store::Transaction& transaction) {
        store::setPassword(transaction, session.user.id, hash);
        store::removeSessionsOf(transaction, session.user.id, session.tokenHash);
        audit(transaction, context, request, session.user,
              {"password-change", "user", session.user.id, session.user.name});
    };
    co_await context.database.write(store::Scope::farm(session.user.farmId()), change);
    context.broker.endSessionsOf(session.user.id, "revoked", session.tokenHash);
    co_return Response::noContent();
}

/** The user who gets the files. Throws Problem. */
store::User heirOf(soci::session& sql, const Request& request, const store::User& user)
{
    const auto heir = queryNumber(request, "heir", store::largestId);
    if (!heir) {
        throw Problem(EProblem::Conflict, "The user has files: name an heir.");
    }
    const auto found = store::userById(sql, *heir);
    if (!found || found->farmId() != user.farmId() || found->id == user.id || found->disabled) {
        throw Problem(EProblem::Unprocessable,
                      "The heir must be another user of the farm who is not disabled.");
    }
    return *found;
}

/**
 * Runs `change` in one transaction after another until it returns true. If a transaction fails, the
 * changes of the earlier transactions stay.
 */
template <class F>
Async<void> writeUntilDone(store::Database& database, F change)
{
    bool isDone = false;
    while (!isDone) {
        isDone = co_await database.write(change);
    }
}

/** A file in the bin has no events. */
void addMoved(store::Transaction& transaction, const EventFrame& frame, const store::Inbox& from,
              const store::Inbox& to, const store::BinnedFile& binned)
{
    if (binned.deletedMs == 0) {
        store::File file = binned.file;
        addFileRemoved(transaction, frame, from, file);
        file.inbox = to.id;
        addFileAdded(transaction, frame, to, file);
    }
}

/** Passes some files of the user to the heir, with events. False if the user has no files. */
bool passFilesOn(const Context& context, const Request& request, store::Transaction& transaction,
                 const store::User& user)
{
    const EventFrame frame{user.farmId(), context.clock.nowMs(), context.settings.eventsKept};
    for (const store::Inbox& from : store::inboxesOf(transaction.sql, user)) {
        const auto files = store::someFilesOf(transaction.sql, frame.farm, from.id);
        if (files.empty()) {
            continue;
        }
        const store::User heir = heirOf(transaction.sql, request, user);
        const auto to = store::ensureInbox(transaction, heir, from.project, frame.nowMs);
        if (to.isNew) {
            addInboxAdded(transaction, frame, to.inbox);
        }
        store::moveFiles(transaction, frame.farm, files, to.inbox.id);
        for (const store::BinnedFile& binned : files) {
            addMoved(transaction, frame, from, to.inbox, binned);
        }
        return true;
    }
    return false;
}

bool hasFiles(soci::session& sql, const store::User& user)
{
    const auto inboxes = store::inboxesOf(sql, user);
    return std::any_of(inboxes.begin(), inboxes.end(), [&](const store::Inbox& inbox) {
        return !store::someFilesOf(sql, user.farmId(), inbox.id).empty();
    });
}

/**
 * Shuts the user out and records the deletion, before the steps that a crash may interrupt. Returns
 * the user. Throws Problem if the user cannot be deleted.
 */
store::User beginDeletion(const Context& context, const Request& request,
                          store::Transaction& transaction, const store::User& caller)
{
    const store::User user = managedUser(transaction.sql, caller, request.id());
    if (hasFiles(transaction.sql, user)) {
        heirOf(transaction.sql, request, user);
    }
    store::setDisabled(transaction, user.id, true);
    if (store::countEnabledAdmins(transaction.sql) == 0) {
        throw Problem(EProblem::Conflict, "The last administrator cannot be deleted.");
    }
    store::removeSessionsOf(transaction, user.id);
    audit(transaction, context, request, caller,
          {"user-delete", "user", user.id, {}, user.farmId()});
    return user;
}

/** Stops the user's uploads in progress and removes their bytes, which no quota counts later. */
Async<void> dropUploads(Context& context, Request& request, const store::User& user)
{
    auto query = [&user](soci::session& sql) {
        std::vector<std::string> ids;
        store::eachUnfinishedUploadOf(sql, user,
                                      [&ids](const store::Upload& one) { ids.push_back(one.id); });
        return ids;
    };
    const auto ids = co_await context.database.read(query, user.farmId());
    for (const std::string& id : ids) {
        const auto hold = co_await context.activeUploads.take(id, request.body);
        auto change = [&id](store::Transaction& transaction) {
            return store::removeUnfinishedUpload(transaction, id);
        };
        // The commit that deletes the user makes the removals durable too.
        if (co_await context.database.write(store::Scope::farm(user.farmId()), change,
                                            store::EDurability::Later)) {
            auto remove = [&context, &id] { context.contents.removeUpload(id); };
            co_await context.contentPool.run(remove);
        }
    }
}

Async<Response> deleteUser(Context& context, Request& request)
{
    const store::User caller = co_await requireManager(context, request);
    const store::Id id = request.id();
    if (id == caller.id) {
        throw Problem(EProblem::Conflict, "Nobody deletes their own account.");
    }
    auto begin = [&](store::Transaction& transaction) {
        return beginDeletion(context, request, transaction, caller);
    };
    const store::User disabled = co_await context.database.write(begin);
    context.broker.endSessionsOf(id, "disabled");
    co_await dropUploads(context, request, disabled);
    auto change = [&](store::Transaction& transaction) {
        const store::User user = managedUser(transaction.sql, caller, id);
        if (passFilesOn(context, request, transaction, user) ||
            store::eraseTrack(transaction, user.id)) {
            return false; // further files or positions may be left
        }
        if (user.farm) {
            addPeopleChanged(transaction,
                             {user.farmId(), context.clock.nowMs(), context.settings.eventsKept});
        }
        store::removeInboxesOf(transaction, user.id);
        store::deleteUser(transaction, user, context.clock.nowMs());
        return true;
    };
    co_await writeUntilDone(context.database, change);
    co_return Response::noContent();
}

void addFiles(soci::session& sql, const store::User& user, JsonAnswer& answer)
{
    const std::vector<store::Inbox> inboxes = store::inboxesOf(sql, user);
    answer.nextList("inboxes");
    for (const store::Inbox& inbox : inboxes) {
        Snapshot(sql, user, answer).addInbox(inbox);
    }
    answer.nextList("bin");
    for (const store::Inbox& inbox : inboxes) {
        store::binOf(sql, user.farmId(), {.inbox = inbox.id}, [&](const store::BinnedFile& file) {
            answer.add(toJson(file));
            return true;
        });
    }
    answer.nextList("uploads");
    store::eachUnfinishedUploadOf(sql, user, [&](const store::Upload& upload) {
        answer.add({{"name", upload.name},
                    {"targets", upload.targets},
                    {"created_at", rfc3339(upload.createdMs)},
                    {"expires_at", rfc3339(upload.expiresMs)}});
    });
}

void addFetches(soci::session& sql, const store::User& user, JsonAnswer& answer)
{
    answer.nextList("fetches");
    store::eachFetchOf(sql, user, [&](const store::Fetch& fetch, const std::string& fileName) {
        Json entry = {{"file", fetch.file}, {"name", fileName}};
        addFetch(entry, fetch);
        answer.add(entry);
    });
}

Async<Response> exportUser(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const store::Id id = request.id();
    const ExpiryTime now = context.clock.expiryNow();
    auto query = [&context, &session, id, now](soci::session& sql) {
        const store::User user = visibleUser(sql, session.user, id);
        JsonAnswer answer(context, session.user.farmId());
        answer.open({{"user", toJson(user)}}, "sessions");
        store::eachSessionOf(sql, id, now, [&](const store::SessionInfo& info) {
            answer.add(toJson(info, session.tokenHash));
        });
        answer.nextList("networks");
        store::eachLoginPlaceOf(sql, id, [&](const std::string& network, long long lastMs) {
            answer.add({{"network", network}, {"last_login_at", rfc3339(lastMs)}});
        });
        addFiles(sql, user, answer);
        addFetches(sql, user, answer);
        answer.close();
        return answer.toResponse();
    };
    co_return co_await context.database.read(query, session.user.farmId());
}

Async<Response> getWork(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const store::Id id = request.id();
    const Page page = readPage(request);
    auto query = [&](soci::session& sql) {
        visibleUser(sql, session.user, id);
        PageAnswer answer(context, session.user.farmId(), page.limit, "positions");
        for (const store::WorkPoint& point :
             store::workOf(sql, id, page.after.value_or(0), page.wanted())) {
            answer.add(std::to_string(point.number), {{"console", point.console},
                                                      {"time_s", point.timeS},
                                                      {"latitude", point.latitudeDeg},
                                                      {"longitude", point.longitudeDeg},
                                                      {"received_at", rfc3339(point.receivedMs)}});
        }
        return answer.toResponse(request);
    };
    co_return co_await context.database.read(query, session.user.farmId());
}

Async<Response> eraseWork(Context& context, Request& request)
{
    const store::User caller = co_await requireManager(context, request);
    const store::Id id = request.id();
    auto begin = [&](store::Transaction& transaction) {
        const store::User user = managedUser(transaction.sql, caller, id);
        audit(transaction, context, request, caller,
              {"track-erase", "user", id, user.name, user.farmId()});
    };
    co_await context.database.write(begin);
    auto change = [id](store::Transaction& transaction) {
        return !store::eraseTrack(transaction, id);
    };
    co_await writeUntilDone(context.database, change);
    co_return Response::noContent();
}

} // namespace

void addPersonRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/account/password",
               [&context](Request& r) { return changeOwnPassword(context, r); });
    router.add("DELETE", "/users/{id}", [&context](Request& r) { return deleteUser(context, r); });
    router.add("GET", "/users/{id}/export",
               [&context](Request& r) { return exportUser(context, r); });
    router.add("GET", "/users/{id}/track", [&context](Request& r) { return getWork(context, r); });
    router.add("DELETE", "/users/{id}/track",
               [&context](Request& r) { return eraseWork(context, r); });
}

} // namespace kelvo::api
