#include "service/api/Access.h"

#include "service/http/Problem.h"
#include "service/store/FarmTable.h"

namespace kelvo::api {

using http::EProblem;
using http::Problem;
using store::ERole;

namespace {

Async<store::Session> requireFarmSession(Context& context, http::Request& request)
{
    store::Session session = co_await context.accounts.authenticate(request);
    if (!session.user.farm) {
        throw Problem(EProblem::NotFound, "This resource does not exist.");
    }
    co_return session;
}

Async<store::Session> requireRole(Context& context, http::Request& request, ERole role,
                                  const char* refusal)
{
    store::Session session = co_await requireFarmSession(context, request);
    if (session.user.role != role) {
        throw Problem(EProblem::Forbidden, refusal);
    }
    co_return session;
}

} // namespace

Async<store::User> requireFarmUser(Context& context, http::Request& request)
{
    const store::Session session = co_await requireFarmSession(context, request);
    co_return session.user;
}

Async<store::User> requireOffice(Context& context, http::Request& request)
{
    const store::Session session = co_await requireRole(context, request, ERole::Office,
                                                        "This needs a user of the farm's office.");
    co_return session.user;
}

Async<store::Session> requireOperator(Context& context, http::Request& request)
{
    return requireRole(context, request, ERole::Operator, "This needs an operator.");
}

Async<store::User> requireAdmin(Context& context, http::Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    if (session.user.role != ERole::Admin) {
        throw Problem(EProblem::Forbidden, "This needs an administrator.");
    }
    co_return session.user;
}

Async<void> requireHalfOfReserve(Context& context)
{
    if (context.reserve.isHalfWhole()) {
        co_return;
    }
    co_await context.filePool.run([&context] { context.reserve.makeWhole(); });
    if (!context.reserve.isHalfWhole()) {
        throw Problem(EProblem::InsufficientStorage, "The service's storage is full.");
    }
}

store::Farm requireFarm(soci::session& sql, store::Id id)
{
    const auto farm = store::farmById(sql, id);
    if (!farm) {
        throw Problem(EProblem::NotFound, "No farm has this id.");
    }
    return *farm;
}

bool mayUse(const store::User& user, const store::Inbox& inbox)
{
    return user.role == ERole::Office || inbox.ownerId == user.id;
}

} // namespace kelvo::api
