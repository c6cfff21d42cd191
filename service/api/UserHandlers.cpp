// POST, GET and PATCH /users, for administrators.
#include "service/api/Access.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/FarmTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UserTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

constexpr std::size_t shortestPasswordCharacters = 8;
constexpr std::size_t longestPasswordBytes = 1024;

std::string requirePassword(const nlohmann::json& body)
{
    std::string password = requireString(body, "password");
    if (countCharacters(password) < shortestPasswordCharacters ||
        password.size() > longestPasswordBytes) {
        throw Problem(EProblem::Unprocessable,
                      "A password must have at least 8 characters and at most 1024 bytes.");
    }
    return password;
}

store::ERole requireRole(const nlohmann::json& body)
{
    const auto role = store::roleFromText(requireString(body, "role"));
    if (!role) {
        throw Problem(EProblem::Unprocessable, "A role is operator, office or admin.");
    }
    return *role;
}

/** Empty for an admin. */
std::string requireFarmName(const nlohmann::json& body, store::ERole role)
{
    const auto farm = body.find("farm");
    const bool named = farm != body.end() && !farm->is_null();
    if (role == store::ERole::Admin) {
        if (named) {
            throw Problem(EProblem::Unprocessable, "An administrator has no farm.");
        }
        return {};
    }
    return requireName(body, "farm");
}

Async<Response> addUser(Context& context, Request& request)
{
    co_await requireAdmin(context, request);
    const nlohmann::json body = co_await request.json();
    store::NewUser user;
    user.name = requireName(body, "name");
    user.role = requireRole(body);
    const std::string farmName = requireFarmName(body, user.role);
    const std::string password = requirePassword(body);
    user.passwordHash = co_await context.accounts.hashPassword(password);
    user.createdMs = context.clock.nowMs();
    auto change = [&user, &farmName](store::Transaction& transaction) {
        if (!farmName.empty()) {
            user.farm = store::farmByName(transaction.sql, farmName);
            if (!user.farm) {
                throw Problem(EProblem::NotFound, "No farm has this name.");
            }
        }
        if (store::credentialsOf(transaction.sql, user.name)) {
            throw Problem(EProblem::Conflict, "A user with this name exists.");
        }
        return store::addUser(transaction, user);
    };
    const store::User added = co_await context.database.write(change);
    co_return Response::json(toJson(added), 201);
}

Async<Response> listUsers(Context& context, Request& request)
{
    co_await requireAdmin(context, request);
    const auto farm = request.queryValue("farm");
    auto query = [&farm](soci::session& sql) {
        if (farm && !store::farmByName(sql, *farm)) {
            throw Problem(EProblem::NotFound, "No farm has this name.");
        }
        Json list = Json::array();
        for (const store::User& user : store::allUsers(sql, farm)) {
            list.push_back(toJson(user));
        }
        return Response::json({{"users", std::move(list)}});
    };
    co_return co_await context.database.read(query);
}

/** The changes of a PATCH. */
struct UserChange
{
    std::optional<bool> disabled;
    std::optional<std::string> passwordHash;

    bool endsSessions() const { return disabled.value_or(false) || passwordHash.has_value(); }
};

store::User applyChange(store::Transaction& transaction, store::Id id, const UserChange& wanted)
{
    auto user = store::userById(transaction.sql, id);
    if (!user) {
        throw Problem(EProblem::NotFound, "No user has this id.");
    }
    if (wanted.disabled) {
        store::setDisabled(transaction, id, *wanted.disabled);
        user->disabled = *wanted.disabled;
        if (store::countEnabledAdmins(transaction.sql) == 0) {
            throw Problem(EProblem::Conflict, "The last administrator cannot be disabled.");
        }
    }
    if (wanted.passwordHash) {
        store::setPassword(transaction, id, *wanted.passwordHash);
    }
    if (wanted.endsSessions()) {
        store::removeSessionsOf(transaction, id);
    }
    return *user;
}

Async<UserChange> readChange(Context& context, Request& request)
{
    const nlohmann::json body = co_await request.json();
    UserChange wanted;
    if (const auto disabled = body.find("disabled"); disabled != body.end()) {
        if (!disabled->is_boolean()) {
            throw Problem(EProblem::MalformedRequest, "\"disabled\" must be true or false.");
        }
        wanted.disabled = disabled->get<bool>();
    }
    if (body.contains("password")) {
        const std::string password = requirePassword(body);
        wanted.passwordHash = co_await context.accounts.hashPassword(password);
    }
    if (!wanted.disabled && !wanted.passwordHash) {
        throw Problem(EProblem::Unprocessable, "The request changes nothing.");
    }
    co_return wanted;
}

Async<Response> changeUser(Context& context, Request& request)
{
    co_await requireAdmin(context, request);
    const store::Id id = request.id();
    const UserChange wanted = co_await readChange(context, request);
    auto change = [id, &wanted](store::Transaction& transaction) {
        return applyChange(transaction, id, wanted);
    };
    const store::User user = co_await context.database.write(change);
    if (wanted.endsSessions()) {
        context.hub.endSessionsOf(id, user.disabled ? "disabled" : "revoked");
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
