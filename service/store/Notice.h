// A commit's news for the other instances of the service.
#pragma once

#include "service/store/Records.h"

#include <set>
#include <string>
#include <string_view>

namespace kelvo::store {

/** Sent as a short text. The rows in the database say what has changed. */
struct Notice
{
    std::set<Id> farms;           // with new events
    std::set<Id> users;           // some of their sessions may have ended
    std::set<std::string> tokens; // hashes of the tokens of sessions that may have ended
    bool all = false;             // notices may be missing: everything may have changed

    void add(const Notice& other);

    /** Letters, digits, spaces and "*" only, at most 7,900 bytes. Empty if there are no news. */
    std::string text() const;

    /** A text that cannot be read means `all`. */
    static Notice parse(std::string_view text);
};

} // namespace kelvo::store
