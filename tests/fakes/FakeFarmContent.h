// What a fake farm holds, and how it is found.
#pragma once

#include "tests/fakes/FakeFarm.h"

#include <list>
#include <map>
#include <string>

namespace fakes {

// Not locked: the farm does that. Lists, so that what is found stays where it is.
struct FakeFarm::TContent
{
    struct TUser
    {
        std::int64_t id = 0;
        std::wstring name;
        std::wstring password;
    };
    struct TEntry
    {
        kesdk::api::EnterpriseResource record;
        std::string content;
    };
    struct TInbox
    {
        kesdk::api::EnterpriseResource record;
        std::list<TEntry> entries;
    };
    struct TProject
    {
        kesdk::api::EnterpriseProject record;
        std::list<TInbox> inboxes;
    };
    struct TPlace
    {
        TInbox* inbox = nullptr;
        std::list<TEntry>::iterator entry;
    };

    std::list<TUser> users;
    std::list<TProject> projects;
    std::multimap<std::int64_t, TPlace> places; // of every entry; of one id the first added first
    std::int64_t nextId = 1;

    // Null when there is no such thing.
    const TUser* FindUser(std::int64_t id) const;
    TProject* FindProject(const std::wstring& name);
    TProject* FindProject(std::int64_t id);
    TInbox* FindInbox(std::int64_t id);
    TPlace* FindPlace(std::int64_t entryId);

    void AddEntry(TInbox& inbox, const TEntry& entry);
    void RemoveEntry(std::int64_t entryId);

    static kesdk::api::EnterpriseResourceWithContent Visible(const TInbox& inbox,
                                                             std::int64_t viewerId);
};

} // namespace fakes
