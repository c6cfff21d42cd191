// Lets one request at a time work on an upload.
#pragma once

#include "service/http/BodyReader.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kelvo::api {

/**
 * The newest request takes precedence: after a cut a client comes back while its old connection
 * still looks alive here. So the old request is stopped and the new request waits for it. Thread:
 * any I/O thread. Ownership: outlives all Holds.
 */
class ActiveUploads
{
public:
    /** The right to work on one upload. Destroyed on its connection's thread. */
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

    /**
     * Waits for the request that holds the upload now, if any. The body of the older of the two
     * requests is stopped: the older called this function first.
     */
    Async<std::shared_ptr<Hold>> take(std::string id, http::BodyReader& body);

    /** Whether a request works on the upload now. Any thread. */
    bool isHeld(const std::string& id) const;

private:
    struct Entry
    {
        std::weak_ptr<Hold> holder;
        asio::any_io_executor executor; // the holder's
        std::uint64_t number = 0;       // the holder's
        std::vector<std::function<void()>> waiters;
    };

    static void stopOlder(const Entry& entry, std::uint64_t number, http::BodyReader& body);
    void waitForRelease(const std::string& id, std::uint64_t number, http::BodyReader& body,
                        std::function<void()> done);
    void release(const std::string& id);

    std::atomic<std::uint64_t> requests_ = 0; // a newer request has a higher number
    mutable std::mutex mutex_;                // guards entries_
    std::map<std::string, Entry> entries_;
};

} // namespace kelvo::api
