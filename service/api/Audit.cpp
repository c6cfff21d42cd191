#include "service/api/Audit.h"

#include "service/store/AuditTable.h"
#include "service/store/Errors.h"
#include "service/store/SessionTable.h"

namespace kelvo::api {

void audit(store::Transaction& transaction, const Context& context, const std::string& address,
           const store::User& actor, const AuditedChange& change)
{
    store::AuditEntry entry;
    entry.atMs = context.clock.nowMs();
    entry.action = change.action;
    entry.outcome = "done";
    entry.address = address;
    entry.actor = actor.id;
    entry.actorName = actor.name;
    entry.farm = change.farm != 0 ? change.farm : actor.farmId();
    entry.objectKind = change.objectKind;
    entry.object = change.object;
    entry.objectName = change.userName;
    entry.isOfAdmin = actor.role == store::ERole::Admin;
    store::addAudit(transaction, std::move(entry));
}

void audit(store::Transaction& transaction, const Context& context, const http::Request& request,
           const store::User& actor, const AuditedChange& change)
{
    if (!store::findSession(transaction.sql, request.session, context.clock.expiryNow())) {
        throw store::SessionEnded();
    }
    audit(transaction, context, request.peerAddress, actor, change);
}

} // namespace kelvo::api
