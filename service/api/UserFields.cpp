#include "service/api/UserFields.h"

#include "service/api/Documents.h"
#include "service/http/Problem.h"
#include "service/store/PersonTable.h"
#include "service/store/UserTable.h"

namespace kelvo::api {

using http::EProblem;
using http::Problem;
using store::ERole;

namespace {

constexpr std::size_t shortestPasswordCharacters = 8;
constexpr std::size_t longestPasswordBytes = 1024;

[[noreturn]] void throwNoUser()
{
    throw Problem(EProblem::NotFound, "No user has this id.");
}

} // namespace

std::string requirePassword(const nlohmann::json& body, const char* member)
{
    std::string password = requireString(body, member);
    if (countCharacters(password) < shortestPasswordCharacters ||
        password.size() > longestPasswordBytes) {
        throw Problem(EProblem::Unprocessable,
                      "A password must have at least 8 characters and at most 1024 bytes.");
    }
    return password;
}

ERole requireRole(const nlohmann::json& body)
{
    const auto role = store::roleFromText(requireString(body, "role"));
    if (!role) {
        throw Problem(EProblem::Unprocessable, "A role is operator, office or admin.");
    }
    return *role;
}

std::string requireUserName(const nlohmann::json& body)
{
    std::string name = requireName(body, "name");
    if (name.starts_with(store::deletedUserPrefix)) {
        throw Problem(EProblem::Unprocessable, "Only deleted users have such a name.");
    }
    return name;
}

Async<store::User> requireManager(Context& context, http::Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    if (session.user.role == ERole::Operator) {
        throw Problem(EProblem::Forbidden, "This needs the farm's office or an administrator.");
    }
    co_return session.user;
}

store::User managedUser(soci::session& sql, const store::User& caller, store::Id id)
{
    const auto user = store::userById(sql, id);
    const bool isAdmin = caller.role == ERole::Admin;
    if (!user || (!isAdmin && user->farmId() != caller.farmId())) {
        throwNoUser();
    }
    if (!isAdmin && (caller.role != ERole::Office || user->role != ERole::Operator)) {
        throw Problem(EProblem::Forbidden, "The office manages the operators of its farm.");
    }
    return *user;
}

store::User visibleUser(soci::session& sql, const store::User& caller, store::Id id)
{
    return id == caller.id ? caller : managedUser(sql, caller, id);
}

} // namespace kelvo::api
