// The rules of who may do what.
#include "service/api/Access.h"

#include "service/http/Problem.h"

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
                                                        "Only the farm's office may do this.");
    co_return session.user;
}

Async<store::Session> requireOperator(Context& context, http::Request& request)
{
    return requireRole(context, request, ERole::Operator, "Only consoles' operators report this.");
}

Async<store::User> requireAdmin(Context& context, http::Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    if (session.user.role != ERole::Admin) {
        throw Problem(EProblem::Forbidden, "Only an administrator may do this.");
    }
    co_return session.user;
}

bool mayUse(const store::User& user, const store::Inbox& inbox)
{
    return user.role == ERole::Office || inbox.ownerId == user.id;
}

} // namespace kelvo::api
