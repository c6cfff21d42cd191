#include "service/content/Integrity.h"

namespace kelvo::content {

namespace {

constexpr std::int64_t intactForMs = 3600LL * 1000;

} // namespace

ECondition Integrity::conditionOf(const std::string& sha256, const FileStamp& stamp,
                                  std::int64_t nowMs) const
{
    const std::lock_guard lock(mutex_);
    const auto found = findings_.find(sha256);
    if (found == findings_.end() || !(found->second.stamp == stamp)) {
        return ECondition::Unknown;
    }
    const Finding& finding = found->second;
    const bool isFresh = nowMs >= finding.foundMs && nowMs - finding.foundMs < intactForMs;
    return finding.condition == ECondition::Intact && !isFresh ? ECondition::Unknown
                                                               : finding.condition;
}

void Integrity::put(const std::string& sha256, const FileStamp& stamp, ECondition condition,
                    std::int64_t nowMs)
{
    const std::lock_guard lock(mutex_);
    if (findings_.size() >= capacity && !findings_.contains(sha256)) {
        findings_.erase(findings_.begin()); // any entry: digests are like random numbers
    }
    findings_.insert_or_assign(sha256, Finding{stamp, condition, nowMs});
}

} // namespace kelvo::content
