// The notices of the other instances on the same database.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace kelvo::store {

/** Has its own connection. Thread: one at a time. */
class NoticeSource
{
public:
    virtual ~NoticeSource() = default;

    /**
     * Waits at most `limit` for notices of other instances and returns their texts in the order of
     * their commits. Their rows can be read then. Throws if the connection is lost: then notices
     * may be missing.
     */
    virtual std::vector<std::string> wait(std::chrono::milliseconds limit) = 0;
};

} // namespace kelvo::store
