// Copies on the service that must not stay there.
#pragma once

#include "client/ApiClient.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kesdk::impl {

// Files that an upload made and that are not what the console has. Nobody else knows that they are
// wrong, so they are remembered until the service has let go of them: with a folder, also after a
// restart, each in a journal of its own.
//
// Thread: the caller's, one at a time. Errors: none; what cannot be deleted now stays owed.
class Discards
{
public:
    // Without a folder they are remembered for as long as the object lives.
    explicit Discards(std::string folder) : m_folder(std::move(folder)) {}

    void Owe(const std::string& account, const std::vector<std::int64_t>& fileIds);
    // Tries to delete what the call's account owes. Takes 15 s at most, or 2 s once the call shall
    // end: then too, because the console may not come here again for long.
    void Settle(ApiClient& api, const ApiCall& call);

private:
    struct Copy
    {
        std::string account; // and service
        std::int64_t fileId = 0;
        std::string journal; // its path, if it has one
    };

    void ReadOnce();

    const std::string m_folder;
    std::vector<Copy> m_owed;
    bool m_isRead = false;
};

} // namespace kesdk::impl
