#include "service/api/PositionRate.h"

namespace kelvo::api {

namespace {

constexpr long long minuteMs = 60 * 1000;

} // namespace

bool PositionRate::take(const store::Quotas& quotas, store::Id farm, store::Id user,
                        long long nowMs)
{
    const std::lock_guard lock(mutex_);
    if (nowMs / minuteMs != minute_) {
        minute_ = nowMs / minuteMs;
        counts_.clear();
    }
    long long& ofFarm = counts_[{store::EQuotaScope::Farm, farm}];
    long long& ofUser = counts_[{store::EQuotaScope::User, user}];
    if (ofFarm >= quotas.farm.positions || ofUser >= quotas.user.positions) {
        return false;
    }
    ++ofFarm;
    ++ofUser;
    return true;
}

} // namespace kelvo::api
