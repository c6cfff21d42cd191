// Copies on the service that must not stay there.
#pragma once

#include "client/ApiClient.h"
#include "transfer/StaleFiles.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kesdk::impl {

// Files that an upload made and that are not what the console has. Nobody else knows that they are
// wrong, so they are remembered until the service has let go of them: with a folder, also after a
// restart, each in a journal of its own.
//
// Each is deleted only as long as it holds what it held then, and none is owed for longer than the
// service would keep it in its bin.
//
// Thread: the caller's, one at a time. Errors: none; what cannot be deleted now stays owed.
class Discards
{
public:
    // Without a folder they are remembered for as long as the object lives.
    Discards(std::string folder, WallClock wallTimeS)
        : m_folder(std::move(folder)), m_wallTimeS(std::move(wallTimeS))
    {}

    // Files of one content, which their etag says; without one they are deleted whatever they hold.
    void Owe(const std::string& account, const std::vector<std::int64_t>& fileIds,
             const std::string& etag);
    // Whether one of these files is to be deleted.
    bool Owes(const std::string& account, const std::vector<std::int64_t>& fileIds);
    // Tries to delete the copies of the call's account. Blocks for 15 s at most, and for 2 s after
    // the call's abort check said true: the console may not come here again for long.
    void Settle(ApiClient& api, Timing& timing, const ApiCall& call);

private:
    struct Copy
    {
        std::string account; // and service
        std::int64_t fileId = 0;
        std::string etag;
        std::string journal; // its path, if it has one
    };

    void ReadOnce();
    void Sweep() const;
    bool IsTooOld(const Copy& copy) const;

    const std::string m_folder;
    const WallClock m_wallTimeS;
    std::vector<Copy> m_owed;
    bool m_isRead = false;
};

} // namespace kesdk::impl
