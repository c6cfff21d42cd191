#include "service/content/Integrity.h"

#include "service/base/Digest.h"
#include "service/base/FileStatus.h"

#include <cerrno>
#include <memory>

#include <unistd.h>

namespace kelvo::content {

namespace {

constexpr std::int64_t intactForMs = 3600 * 1000;
constexpr std::size_t readChunkBytes = 256 * 1024;

} // namespace

FileStamp stampOf(int fd)
{
    const FileStatus status = statusOf(fd);
    return {status.device, status.node, status.sizeBytes, status.modifiedNs, status.changedNs};
}

std::string digestOf(int fd)
{
    Sha256 digest;
    const auto buffer = std::make_unique<char[]>(readChunkBytes);
    for (off_t offset = 0;;) {
        const ssize_t got = ::pread(fd, buffer.get(), readChunkBytes, offset);
        if (got < 0 && errno != EINTR) {
            throwErrno("pread");
        }
        if (got == 0) {
            return digest.finishHex();
        }
        if (got > 0) {
            digest.add(buffer.get(), static_cast<std::size_t>(got));
            offset += got;
        }
    }
}

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
