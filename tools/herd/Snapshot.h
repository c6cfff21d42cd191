// What `GET /account` says: the inboxes and files that a user may see.
#pragma once

#include "tools/herd/Ledger.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace herd {

struct InboxNote
{
    std::int32_t id = 0;
    std::string project;
    std::string owner;
};

struct Snapshot
{
    std::string cursor; // of the event stream
    std::vector<InboxNote> inboxes;
    std::vector<ListedFile> files; // of the inboxes that the user may read
};

/** Throws nlohmann::json::exception if the text has another form. */
Snapshot parseSnapshot(std::string_view text);

} // namespace herd
