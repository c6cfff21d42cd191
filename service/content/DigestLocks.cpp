#include "service/content/DigestLocks.h"

#include "service/base/WorkPool.h"

namespace kelvo::content {

DigestLocks::Guard::Guard(DigestLocks& owner, std::string sha256)
    : owner_(owner), sha256_(std::move(sha256))
{}

DigestLocks::Guard::~Guard()
{
    owner_.release(sha256_);
}

Async<std::unique_ptr<DigestLocks::Guard>> DigestLocks::lock(std::string sha256)
{
    for (;;) {
        if (auto guard = tryLock(sha256)) {
            co_return guard;
        }
        StartOperation start = [this, &sha256](std::function<void()> done) {
            waitForRelease(sha256, std::move(done));
        };
        co_await awaitOperation(std::move(start));
    }
}

std::unique_ptr<DigestLocks::Guard> DigestLocks::tryLock(const std::string& sha256)
{
    const std::lock_guard lock(mutex_);
    const bool taken = waiters_.try_emplace(sha256).second;
    return taken ? std::make_unique<Guard>(*this, sha256) : nullptr;
}

void DigestLocks::waitForRelease(const std::string& sha256, std::function<void()> done)
{
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = waiters_.find(sha256); found != waiters_.end()) {
            found->second.push_back(std::move(done));
            return;
        }
    }
    done();
}

void DigestLocks::release(const std::string& sha256)
{
    std::vector<std::function<void()>> waiters;
    {
        const std::lock_guard lock(mutex_);
        auto node = waiters_.extract(sha256);
        waiters = std::move(node.mapped());
    }
    for (const auto& wake : waiters) {
        wake();
    }
}

} // namespace kelvo::content
