#include "service/api/Snapshot.h"

#include "service/api/Access.h"
#include "service/store/FarmTable.h"
#include "service/store/FetchTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"

namespace kelvo::api {

void Snapshot::addProjects()
{
    for (const store::Project& project : store::projectsOf(sql_, user_.farmId())) {
        answer_.open(toJson(project), "resources");
        addInboxesOf(project.id);
        answer_.close();
    }
}

void Snapshot::addInboxesOf(store::Id project)
{
    store::eachInboxOf(sql_, user_.farmId(), project,
                       [this](const store::Inbox& inbox) { addInbox(inbox); });
}

void Snapshot::addInbox(const store::Inbox& inbox)
{
    if (!mayUse(user_, inbox)) {
        answer_.add(toJson(inbox));
        return;
    }
    answer_.open(toJson(inbox), "entries");
    const auto add = [this](const store::File& file, const store::Fetch* fetch) {
        Json entry = toJson(file);
        if (fetch) {
            addFetch(entry, *fetch);
        }
        answer_.add(entry);
    };
    if (user_.role == store::ERole::Office) {
        store::eachFileWithFetch(sql_, user_.farmId(), inbox.id, add);
    } else {
        store::eachFileOf(sql_, user_.farmId(), inbox.id,
                          [&add](const store::File& file) { add(file, nullptr); });
    }
    answer_.close();
}

} // namespace kelvo::api
