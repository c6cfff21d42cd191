// Wrong copies on the service that are still to be deleted.
#pragma once

#include "client/ApiClient.h"
#include "transfer/StaleFiles.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kesdk::impl {

// Copies on the service whose content differs from the console's file. Only this object knows that
// they are wrong. With a folder, each copy has a journal and is deleted after a restart too.
//
// The object asks only the service at the address where the copy was made. It deletes a copy only
// while the copy still has the wrong content. So no other file is deleted if the address belongs
// to another service now. A deletion is tried for 30 days at most: the service keeps a deleted file
// in its bin for 30 days.
//
// Thread: the caller's, one at a time. Errors: none; the next Run tries again.
class PendingDeletions
{
public:
    // Without a folder the copies are forgotten with the object.
    PendingDeletions(std::string folder, WallClock wallTimeS)
        : m_folder(std::move(folder)), m_wallTimeS(std::move(wallTimeS))
    {}

    // All copies are of the call's user.
    void Add(const ApiCall& call, const std::vector<FileRecord>& copies);
    // Whether one of these files of the call's user is still to be deleted.
    bool Contains(const ApiCall& call, const std::vector<FileRecord>& files);
    // Tries to delete the copies of the call's user. Blocks for 15 s at most. After the call's
    // abort check returned true, it blocks for 2 s at most. The console may be shutting down, and
    // the thread that waits for it must not wait longer.
    void Run(ApiClient& api, Timing& timing, const ApiCall& call);

private:
    struct Copy
    {
        std::string account; // ApiCall::account; in an old journal the user's id alone
        std::int64_t fileId = 0;
        std::string etag;
        std::string journal; // its path; may be empty
    };

    static bool IsOf(const ApiCall& call, const Copy& copy);
    void ReadOnce();
    bool IsTooOld(const Copy& copy) const;

    const std::string m_folder;
    const WallClock m_wallTimeS;
    std::vector<Copy> m_copies;
    bool m_isRead = false;
};

} // namespace kesdk::impl
