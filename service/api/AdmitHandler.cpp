// POST /users/{id}/admit: lets a user log in despite failed logins.
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/UserFields.h"
#include "service/http/Router.h"

namespace kelvo::api {

namespace {

using http::Request;
using http::Response;

Async<Response> admit(Context& context, Request& request)
{
    const store::User caller = co_await requireManager(context, request);
    auto change = [&](store::Transaction& transaction) {
        store::User user = managedUser(transaction.sql, caller, request.id());
        audit(transaction, context, request, caller,
              {"user-admit", "user", user.id, user.name, user.farmId()});
        return user;
    };
    const store::User user = co_await context.database.write(change);
    context.accounts.admit(user.name);
    co_return Response::noContent();
}

} // namespace

void addAdmitRoute(http::Router& router, Context& context)
{
    router.add("POST", "/users/{id}/admit", [&context](Request& r) { return admit(context, r); });
}

} // namespace kelvo::api
