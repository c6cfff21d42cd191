#include "service/api/ActiveUploads.h"

#include "service/base/WorkPool.h"

#include <boost/asio/post.hpp>

namespace kelvo::api {

ActiveUploads::Hold::Hold(ActiveUploads& owner, std::string id, http::BodyReader& body)
    : owner_(owner), id_(std::move(id)), body_(body), executor_(body.executor())
{}

ActiveUploads::Hold::~Hold()
{
    owner_.release(id_);
}

Async<std::shared_ptr<ActiveUploads::Hold>> ActiveUploads::take(std::string id,
                                                                http::BodyReader& body)
{
    const std::uint64_t number = ++requests_;
    for (;;) {
        {
            const std::lock_guard lock(mutex_);
            const auto found = entries_.find(id);
            if (found == entries_.end()) {
                // The destructor of a Hold frees the upload, so only a free upload gets a Hold.
                auto hold = std::make_shared<Hold>(*this, id, body);
                entries_[id] = Entry{hold, body.executor(), number, {}};
                co_return hold;
            }
        }
        StartOperation start = [this, &id, number, &body](std::function<void()> done) {
            waitForRelease(id, number, body, std::move(done));
        };
        co_await awaitOperation(std::move(start));
    }
}

/** Of the holder and the request `number`, stops the older. Called on the thread of `body`. */
void ActiveUploads::stopOlder(const Entry& entry, std::uint64_t number, http::BodyReader& body)
{
    if (entry.number > number) {
        body.abandon();
        return;
    }
    // Runs on the holder's thread, so the holder cannot end meanwhile.
    asio::post(entry.executor, [holder = entry.holder] {
        if (const auto alive = holder.lock()) {
            alive->body_.abandon();
        }
    });
}

bool ActiveUploads::isHeld(const std::string& id) const
{
    const std::lock_guard lock(mutex_);
    return entries_.contains(id);
}

void ActiveUploads::waitForRelease(const std::string& id, std::uint64_t number,
                                   http::BodyReader& body, std::function<void()> done)
{
    {
        const std::lock_guard lock(mutex_);
        const auto found = entries_.find(id);
        if (found != entries_.end()) {
            stopOlder(found->second, number, body);
            found->second.waiters.push_back(std::move(done));
            return;
        }
    }
    done();
}

void ActiveUploads::release(const std::string& id)
{
    std::vector<std::function<void()>> waiters;
    {
        const std::lock_guard lock(mutex_);
        const auto found = entries_.find(id);
        waiters = std::move(found->second.waiters);
        entries_.erase(found);
    }
    for (const auto& wake : waiters) {
        wake();
    }
}

} // namespace kelvo::api
