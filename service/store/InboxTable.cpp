#include "service/store/InboxTable.h"

#include "service/store/Bind.h"
#include "service/store/FarmTable.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

namespace {

constexpr const char* selectInboxes = "SELECT i.id, i.project_id, i.owner_id, u.name FROM inboxes i"
                                      " JOIN users u ON u.id = i.owner_id WHERE i.farm_id = :farm";

auto intoInbox(soci::details::prepare_temp_type query, Inbox& inbox)
{
    return query, into(inbox.id), into(inbox.project), into(inbox.ownerId), into(inbox.ownerName);
}

/** An inbox has its owner's name. */
Inbox named(Inbox inbox)
{
    inbox.name = inbox.ownerName;
    return inbox;
}

} // namespace

AddedInbox ensureInbox(Transaction& transaction, const User& user, Id project, long long nowMs)
{
    soci::session& sql = transaction.sql;
    const Id farm = user.farmId();
    Inbox inbox{0, project, user.name, user.id, user.name};
    sql << "SELECT id FROM inboxes WHERE farm_id = :farm AND project_id = :project"
           " AND owner_id = :owner",
        into(inbox.id), use(farm), use(project), use(user.id);
    if (sql.got_data()) {
        return {inbox, false};
    }
    inbox.id = nextResourceId(transaction, farm);
    sql << "INSERT INTO inboxes (farm_id, id, project_id, owner_id, created_ms)"
           " VALUES (:farm, :id, :project, :owner, :created)",
        use(farm), use(inbox.id), use(project), use(user.id), use(nowMs);
    return {inbox, true};
}

std::optional<Inbox> inboxById(soci::session& sql, Id farm, Id inbox)
{
    Inbox found;
    soci::statement query = (intoInbox(sql.prepare << selectInboxes << " AND i.id = :id", found),
                             use(farm), use(inbox));
    return query.execute(true) ? std::optional(named(found)) : std::nullopt;
}

Id ownerOf(soci::session& sql, Id farm, Id inbox)
{
    Id owner = 0;
    sql << "SELECT owner_id FROM inboxes WHERE farm_id = :farm AND id = :id", into(owner),
        use(farm), use(inbox);
    return owner;
}

std::vector<Inbox> inboxesOf(soci::session& sql, const User& user)
{
    Inbox inbox;
    std::vector<Inbox> inboxes;
    const Id farm = user.farmId();
    // The plus and the condition on projects select the index. Without them the database would walk
    // all inboxes of the farm.
    soci::statement query =
        (intoInbox(sql.prepare << selectInboxes
                               << " AND i.owner_id = :owner AND i.project_id IN"
                                  " (SELECT p.id FROM projects p WHERE p.farm_id = :same)"
                                  " ORDER BY +i.id",
                   inbox),
         use(farm), use(user.id), use(farm));
    query.execute();
    while (query.fetch()) {
        inboxes.push_back(named(inbox));
    }
    return inboxes;
}

void eachInboxOf(soci::session& sql, Id farm, Id project,
                 const std::function<void(const Inbox&)>& visit)
{
    Inbox inbox;
    soci::statement query =
        (intoInbox(sql.prepare << selectInboxes << " AND i.project_id = :project ORDER BY i.id",
                   inbox),
         use(farm), use(project));
    query.execute();
    while (query.fetch()) {
        visit(named(inbox));
    }
}

} // namespace kelvo::store
