#include "service/http/PeerCounts.h"

#include "service/http/Address.h"

namespace kelvo::http {

PeerCounts::Ticket::Ticket(PeerCounts& peers, const std::string& address, bool isProxy)
    : peers_(peers),
      most_(isProxy ? peers.mostOfProxies_ : peers.most_),
      network_(isProxy ? std::string() : networkOf(address))
{
    const std::lock_guard lock(peers_.mutex_);
    isOverLimit_ = ++peers_.open_[network_].connections > most_.connections;
}

PeerCounts::Ticket::~Ticket()
{
    endHead();
    const std::lock_guard lock(peers_.mutex_);
    const auto mine = peers_.open_.find(network_);
    if (--mine->second.connections == 0) {
        peers_.open_.erase(mine);
    }
}

bool PeerCounts::Ticket::beginHead()
{
    if (hasHead_) {
        return true;
    }
    const std::lock_guard lock(peers_.mutex_);
    Counts& counts = peers_.open_[network_];
    if (counts.heads >= most_.heads) {
        ++peers_.refusedHeads_;
        return false;
    }
    ++counts.heads;
    hasHead_ = true;
    return true;
}

void PeerCounts::Ticket::endHead()
{
    if (hasHead_) {
        const std::lock_guard lock(peers_.mutex_);
        --peers_.open_[network_].heads;
        hasHead_ = false;
    }
}

} // namespace kelvo::http
