#include "service/api/Snapshot.h"

#include "service/api/Access.h"
#include "service/store/EventTable.h"
#include "service/store/FarmTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"

namespace kelvo::api {

Snapshot::Snapshot(soci::session& sql, const store::User& user) : user_(user)
{
    const store::Id farm = user.farmId();
    if (farm == 0) {
        return; // an admin has no farm
    }
    cursor_ = store::eventBounds(sql, farm).newest;
    projects_ = store::projectsOf(sql, farm);
    inboxes_ = store::inboxesOf(sql, farm);
    files_ = user.role == store::ERole::Office ? store::filesOf(sql, farm)
                                               : store::filesOfOwner(sql, farm, user.id);
}

Json Snapshot::inbox(const store::Inbox& inbox) const
{
    if (!mayUse(user_, inbox)) {
        return toJson(inbox, std::nullopt);
    }
    std::vector<store::File> entries;
    for (const store::File& file : files_) {
        if (file.inbox == inbox.id) {
            entries.push_back(file);
        }
    }
    return toJson(inbox, entries);
}

Json Snapshot::inboxesOf(store::Id project) const
{
    Json list = Json::array();
    for (const store::Inbox& one : inboxes_) {
        if (one.project == project) {
            list.push_back(inbox(one));
        }
    }
    return list;
}

Json Snapshot::projects() const
{
    Json list = Json::array();
    for (const store::Project& project : projects_) {
        Json document = toJson(project);
        document["resources"] = inboxesOf(project.id);
        list.push_back(std::move(document));
    }
    return list;
}

} // namespace kelvo::api
