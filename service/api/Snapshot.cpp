#include "service/api/Snapshot.h"

#include "service/api/Access.h"
#include "service/store/FarmTable.h"
#include "service/store/FetchTable.h"
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
    if (user_.role == store::ERole::Office) {
        addFilesWithFetches(inbox.id);
    } else {
        files_.each(inbox.id, [this](const store::File& file) { answer_.add(file); });
    }
    answer_.close();
}

void Snapshot::addFilesWithFetches(store::Id inbox)
{
    const auto add = [this](const store::File& file, const store::Fetch* fetch) {
        if (fetch == nullptr) {
            answer_.add(file);
            return;
        }
        Json entry = toJson(file);
        addFetch(entry, *fetch);
        answer_.add(entry);
    };
    store::eachFileWithFetch(sql_, files_, user_.farmId(), inbox, add);
}

} // namespace kelvo::api
