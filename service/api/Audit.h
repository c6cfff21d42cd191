// Writing of the audit trail.
#pragma once

#include "service/api/Context.h"
#include "service/http/Request.h"
#include "service/store/Database.h"

#include <string>

namespace kelvo::api {

/** What was changed. Only a user's name is recorded: a file's name may be a secret of the farm. */
struct AuditedChange
{
    const char* action; // one of the written API
    const char* objectKind = "";
    store::Id object = 0;
    std::string userName = {};
    store::Id farm = 0; // 0: the actor's farm
};

/**
 * Adds the change to the trail, in the transaction of the change. Throws SessionEnded if the
 * caller's session has ended since the request began: its body may take a minute. If the change
 * may end this session, call audit() before the session is removed.
 */
void audit(store::Transaction& transaction, const Context& context, const http::Request& request,
           const store::User& actor, const AuditedChange& change);

/** As above, from the client's address, without a check of a session. */
void audit(store::Transaction& transaction, const Context& context, const std::string& address,
           const store::User& actor, const AuditedChange& change);

} // namespace kelvo::api
