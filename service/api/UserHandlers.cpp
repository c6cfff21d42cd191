// POST, GET and PATCH /users, for administrators and a farm's office.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/Paging.h"
#include "service/api/Quota.h"
#include "service/api/UserFields.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/FarmTable.h"
#include "service/store/InboxTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UserTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;
using store::ERole;

std::optional<bool> readFlag(const nlohmann::json& body, const char* member)
{
    const auto flag = body.find(member);
    if (flag == body.end()) {
        return std::nullopt;
    }
    if (!flag->is_boolean()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("\"") + member + "\" must be true or false.");
    }
    return flag->get<bool>();
}

/** The farm's name in the request. An office may leave its own farm out. Empty for an admin. */
std::string requireFarmName(const nlohmann::json& body, ERole role, const store::User& caller)
{
    const auto farm = body.find("farm");
    const bool named = farm != body.end() && !farm->is_null();
    if (role == ERole::Admin) {
        if (named) {
            throw Problem(EProblem::Unprocessable, "An administrator has no farm.");
        }
        return {};
    }
    return !named && caller.farm ? caller.farm->name : requireName(body, "farm");
}

/** Throws forbidden if the caller is of the office and the new user is no operator of the same
 * farm. */
void refuseOtherUsers(const store::User& caller, ERole role, const std::string& farmName)
{
    if (caller.farm && (role != ERole::Operator || farmName != caller.farm->name)) {
        throw Problem(EProblem::Forbidden, "The office makes operators of its own farm.");
    }
}

EventFrame eventFrame(const Context& context, const store::User& user)
{
    return {user.farmId(), context.clock.nowMs(), context.settings.eventsKept};
}

void makeInboxes(Context& context, store::Transaction& transaction, const store::User& user)
{
    const EventFrame frame = eventFrame(context, user);
    for (const store::Project& project : store::projectsOf(transaction.sql, user.farmId())) {
        const auto made = store::ensureInbox(transaction, user, project.id, frame.nowMs);
        addInboxAdded(transaction, frame, made.inbox);
    }
}

Async<Response> addUser(Context& context, Request& request)
{
    const store::User caller = co_await requireManager(context, request);
    const nlohmann::json body = co_await request.json();
    store::NewUser wanted;
    wanted.name = requireUserName(body);
    wanted.role = requireRole(body);
    const std::string farmName = requireFarmName(body, wanted.role, caller);
    refuseOtherUsers(caller, wanted.role, farmName);
    const bool withInboxes = readFlag(body, "inboxes").value_or(false);
    const std::string password = requirePassword(body);
    wanted.passwordHash = co_await context.accounts.hashPassword(password);
    wanted.createdMs = context.clock.nowMs();
    auto change = [&](store::Transaction& transaction) {
        if (!farmName.empty()) {
            wanted.farm = store::farmByName(transaction.sql, farmName);
            if (!wanted.farm) {
                throw Problem(EProblem::NotFound, "No farm has this name.");
            }
        }
        if (store::credentialsOf(transaction.sql, wanted.name)) {
            throw Problem(EProblem::Conflict, "A user with this name exists.");
        }
        if (wanted.farm) {
            requireUserQuota(transaction.sql, context.settings.quotas, wanted.farm->id,
                             wanted.createdMs);
        }
        store::User user = store::addUser(transaction, wanted);
        if (withInboxes && user.farm) {
            makeInboxes(context, transaction, user);
        }
        if (user.farm) {
            addPeopleChanged(transaction, eventFrame(context, user));
        }
        audit(transaction, context, request, caller,
              {"user-add", "user", user.id, user.name, user.farmId()});
        return user;
    };
    const store::User added = co_await context.database.write(change);
    co_return Response::json(toJson(added), 201);
}

/** The id of the farm whose users the caller wants. An office sees only its own farm. */
std::optional<store::Id> wantedFarm(soci::session& sql, const store::User& caller,
                                    const Request& request)
{
    const auto name = request.queryValue("farm");
    if (caller.farm && name.value_or(caller.farm->name) == caller.farm->name) {
        return caller.farm->id;
    }
    const auto farm = name && !caller.farm ? store::farmByName(sql, *name) : std::nullopt;
    if (name && !farm) {
        throw Problem(EProblem::NotFound, "No farm has this name.");
    }
    return farm ? std::optional(farm->id) : std::nullopt;
}

std::optional<ERole> queryRole(const Request& request)
{
    const auto text = request.queryValue("role");
    const auto role = text ? store::roleFromText(*text) : std::nullopt;
    if (text && !role) {
        throw Problem(EProblem::MalformedRequest, "No role has this name.");
    }
    return role;
}

Async<Response> listUsers(Context& context, Request& request)
{
    const store::User caller = co_await requireManager(context, request);
    const Page page = readPage(request);
    store::UserPart part{.name = request.queryValue("name"),
                         .role = queryRole(request),
                         .disabled = queryFlag(request, "disabled"),
                         .afterId = page.after,
                         .most = page.wanted()};
    auto query = [&](soci::session& sql) {
        part.farm = wantedFarm(sql, caller, request);
        PageAnswer answer(context, caller.farmId(), page.limit, "users");
        store::allUsers(sql, part, [&answer](const store::User& user) {
            return answer.add(std::to_string(user.id), toJson(user));
        });
        return answer.toResponse(request);
    };
    co_return co_await context.database.read(query, caller.farmId());
}

/** The changes of a PATCH. */
struct UserChange
{
    std::optional<bool> disabled;
    std::optional<std::string> passwordHash;
    std::optional<std::string> name;
    std::optional<ERole> role;

    bool isListed() const { return disabled || name || role; }
    bool isEmpty() const { return !isListed() && !passwordHash; }
    bool endsSessions() const { return disabled.value_or(false) || passwordHash || role; }
};

void rename(store::Transaction& transaction, store::User& user, const std::string& name)
{
    const auto other = store::credentialsOf(transaction.sql, name);
    if (other && other->user.id != user.id) {
        throw Problem(EProblem::Conflict, "A user with this name exists.");
    }
    store::setUserName(transaction, user, name);
    user.name = name;
}

void setRole(store::Transaction& transaction, const store::User& caller, store::User& user,
             ERole role)
{
    if (caller.role != ERole::Admin) {
        throw Problem(EProblem::Forbidden, "An administrator changes roles.");
    }
    if ((role == ERole::Admin) != (user.role == ERole::Admin)) {
        throw Problem(EProblem::Unprocessable, "An administrator has no farm, other users do.");
    }
    store::setRole(transaction, user.id, role);
    user.role = role;
}

/** May end the caller's own session, so it comes after the records of the change. */
void setAccess(store::Transaction& transaction, const store::User& user, const UserChange& wanted)
{
    if (wanted.disabled) {
        store::setDisabled(transaction, user.id, *wanted.disabled);
        if (store::countEnabledAdmins(transaction.sql) == 0) {
            throw Problem(EProblem::Conflict, "The last administrator cannot be disabled.");
        }
    }
    if (wanted.endsSessions()) {
        store::removeSessionsOf(transaction, user.id);
    }
}

store::User applyChange(const Context& context, const Request& request,
                        store::Transaction& transaction, const store::User& caller,
                        const UserChange& wanted)
{
    store::User user = managedUser(transaction.sql, caller, request.id());
    const auto record = [&](bool isChanged, const char* action) {
        if (isChanged) {
            audit(transaction, context, request, caller,
                  {action, "user", user.id, user.name, user.farmId()});
        }
    };
    if (wanted.passwordHash) {
        store::setPassword(transaction, user.id, *wanted.passwordHash);
    }
    if (wanted.name) {
        rename(transaction, user, *wanted.name);
    }
    if (wanted.role) {
        setRole(transaction, caller, user, *wanted.role);
    }
    user.disabled = wanted.disabled.value_or(user.disabled);
    record(wanted.disabled.has_value(), user.disabled ? "user-disable" : "user-enable");
    record(wanted.passwordHash.has_value(), "password-set");
    record(wanted.name.has_value(), "user-rename");
    record(wanted.role.has_value(), "role-change");
    setAccess(transaction, user, wanted);
    if (user.farm && wanted.isListed()) {
        addPeopleChanged(transaction, eventFrame(context, user));
    }
    return user;
}

Async<UserChange> readChange(Context& context, Request& request)
{
    const nlohmann::json body = co_await request.json();
    UserChange wanted;
    wanted.disabled = readFlag(body, "disabled");
    if (body.contains("name")) {
        wanted.name = requireUserName(body);
    }
    if (body.contains("role")) {
        wanted.role = requireRole(body);
    }
    if (body.contains("password")) {
        const std::string password = requirePassword(body);
        wanted.passwordHash = co_await context.accounts.hashPassword(password);
    }
    if (wanted.isEmpty()) {
        throw Problem(EProblem::Unprocessable, "The request changes nothing.");
    }
    co_return wanted;
}

Async<Response> changeUser(Context& context, Request& request)
{
    const store::User caller = co_await requireManager(context, request);
    auto check = [&caller, &request](soci::session& sql) {
        managedUser(sql, caller, request.id());
        return true;
    };
    co_await context.database.read(check); // before the costly hash
    const UserChange wanted = co_await readChange(context, request);
    auto change = [&](store::Transaction& transaction) {
        return applyChange(context, request, transaction, caller, wanted);
    };
    const store::User user = co_await context.database.write(change);
    if (wanted.endsSessions()) {
        context.broker.endSessionsOf(user.id, user.disabled ? "disabled" : "revoked");
    }
    co_return Response::json(toJson(user));
}

} // namespace

void addUserRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/users", [&context](Request& r) { return addUser(context, r); });
    router.add("GET", "/users", [&context](Request& r) { return listUsers(context, r); });
    router.add("PATCH", "/users/{id}", [&context](Request& r) { return changeUser(context, r); });
}

} // namespace kelvo::api
