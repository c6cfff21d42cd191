#include "tests/fakes/FakeFarmContent.h"

#include <algorithm>
#include <iterator>

namespace fakes {

namespace {

template <class List, class Matches>
auto* FirstIn(List& list, Matches matches)
{
    const auto found = std::find_if(list.begin(), list.end(), matches);
    return found == list.end() ? nullptr : &*found;
}

} // namespace

const FakeFarm::TContent::TUser* FakeFarm::TContent::FindUser(std::int64_t id) const
{
    return FirstIn(users, [id](const TUser& user) { return user.id == id; });
}

FakeFarm::TContent::TProject* FakeFarm::TContent::FindProject(const std::wstring& name)
{
    return FirstIn(projects, [&](const TProject& project) { return project.record.name == name; });
}

FakeFarm::TContent::TProject* FakeFarm::TContent::FindProject(std::int64_t id)
{
    return FirstIn(projects, [id](const TProject& project) { return project.record.id == id; });
}

FakeFarm::TContent::TInbox* FakeFarm::TContent::FindInbox(std::int64_t id)
{
    for (TProject& project : projects) {
        if (TInbox* inbox =
                FirstIn(project.inboxes, [id](const TInbox& each) { return each.record.id == id; }))
            return inbox;
    }
    return nullptr;
}

FakeFarm::TContent::TPlace* FakeFarm::TContent::FindPlace(std::int64_t entryId)
{
    const auto found = places.lower_bound(entryId);
    return found == places.end() || found->first != entryId ? nullptr : &found->second;
}

void FakeFarm::TContent::AddEntry(TInbox& inbox, const TEntry& entry)
{
    inbox.entries.push_back(entry);
    places.emplace(entry.record.id, TPlace{&inbox, std::prev(inbox.entries.end())});
}

void FakeFarm::TContent::RemoveEntry(std::int64_t entryId)
{
    const auto found = places.lower_bound(entryId);
    if (found == places.end() || found->first != entryId)
        return;
    found->second.inbox->entries.erase(found->second.entry);
    places.erase(found);
}

kesdk::api::EnterpriseResourceWithContent FakeFarm::TContent::Visible(const TInbox& inbox,
                                                                      std::int64_t viewerId)
{
    kesdk::api::EnterpriseResourceWithContent visible;
    static_cast<kesdk::api::EnterpriseResource&>(visible) = inbox.record;
    if (inbox.record.ownerUserId == viewerId) {
        for (const TEntry& entry : inbox.entries)
            visible.content.push_back(entry.record);
    }
    return visible;
}

} // namespace fakes
