// The content of a fake farm, with its look-ups.
#pragma once

#include "tests/fakes/FakeFarm.h"

#include <list>
#include <map>
#include <string>

namespace fakes {

// Thread safety: not safe, the farm locks it. The containers are lists, so that pointers to entries
// stay valid.
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
    std::multimap<std::int64_t, TPlace>
        places; // of every entry; entries of one id in the order of adding
    std::int64_t nextId = 1;

    // Null if there is none.
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
