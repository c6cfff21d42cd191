// Makes sure that one request at a time works on an upload.
#pragma once

#include "service/http/BodyReader.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kelvo::api {

/**
 * The newest request wins: a client whose link broke comes back while its old connection still
 * looks alive from here, so the old request is told to stop and the new one waits for it. Thread:
 * any I/O thread. Ownership: outlives all Holds.
 */
class ActiveUploads
{
public:
    /** The right to work on one upload. Dies on its own connection's thread. */
    class Hold
    {
    public:
        Hold(ActiveUploads& owner, std::string id, http::BodyReader& body);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        friend class ActiveUploads;
        ActiveUploads& owner_;
        std::string id_;
        http::BodyReader& body_;
        asio::any_io_executor executor_;
    };

    /** Waits until the request that holds it now, if any, has stopped. */
    Async<std::shared_ptr<Hold>> take(std::string id, http::BodyReader& body);

    /** Whether a request works on it at this moment. Any thread. */
    bool isHeld(const std::string& id) const;

private:
    struct Entry
    {
        std::weak_ptr<Hold> holder;
        asio::any_io_executor executor; // the holder's
        std::vector<std::function<void()>> waiters;
    };

    void waitForRelease(const std::string& id, std::function<void()> done);
    void release(const std::string& id);

    mutable std::mutex mutex_; // guards entries_
    std::map<std::string, Entry> entries_;
};

} // namespace kelvo::api
