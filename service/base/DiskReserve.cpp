#include "service/base/DiskReserve.h"

#include "service/base/FileStatus.h"
#include "service/base/Files.h"
#include "service/base/Log.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace kelvo {

namespace {

/** The pool's threads can take at most 512 KiB of a step before they see that it is released. */
constexpr long long stepBytes = 1024LL * 1024;
/** The reserve grows only if this much stays free. The database may be about to use a step. */
constexpr long long keptFreeBytes = 8 * stepBytes;

[[noreturn]] void throwFull()
{
    throw std::system_error(ENOSPC, std::generic_category(), "disk reserve");
}

void cutTo(int file, long long sizeBytes)
{
    if (::ftruncate(file, static_cast<off_t>(sizeBytes)) != 0) {
        throwErrno("ftruncate");
    }
}

long long freeBytes(const std::filesystem::path& folder)
{
    struct statvfs status
    {};
    if (::statvfs(folder.c_str(), &status) != 0) {
        throwErrno("statvfs");
    }
    return static_cast<long long>(status.f_bavail) * static_cast<long long>(status.f_frsize);
}

} // namespace

DiskReserve::DiskReserve(std::filesystem::path file, long long sizeBytes)
    : file_(std::move(file)), sizeBytes_(sizeBytes)
{
    const FileDescriptor handle = openFile(file_, O_RDWR | O_CREAT, 0600);
    const auto status = statusOf(file_);
    if (status && status->sizeBytes > sizeBytes_) {
        cutTo(handle.get(), sizeBytes_);
    }
    fillTo(sizeBytes_); // a copy of the file may have holes
    if (!isWhole()) {
        logWarning("disk-reserve-incomplete",
                   std::to_string(heldBytes_) + " bytes of " + std::to_string(sizeBytes_));
    }
    if (freeBytes(file_.parent_path()) < keptFreeBytes) {
        release(); // the database makes files when it opens
    }
}

void DiskReserve::fillTo(long long bytes)
{
    const FileDescriptor handle = openFile(file_, O_RDWR);
    while (heldBytes_ < bytes) {
        const long long step = std::min(stepBytes, bytes - heldBytes_);
        const int failure = ::posix_fallocate(handle.get(), static_cast<off_t>(heldBytes_.load()),
                                              static_cast<off_t>(step));
        if (failure != 0) {
            cutTo(handle.get(), heldBytes_); // a failed call may leave a part of its step
            return;
        }
        heldBytes_ += step;
    }
}

bool DiskReserve::release()
{
    const std::lock_guard lock(mutex_);
    const long long held = heldBytes_;
    if (held == 0) {
        return false;
    }
    if (isWhole()) {
        logWarning("disk-reserve-used");
    }
    // Uploads see the new value before the file system has the room.
    heldBytes_ = std::max(held - stepBytes, 0LL);
    cutTo(openFile(file_, O_RDWR).get(), heldBytes_);
    return true;
}

void DiskReserve::makeWhole()
{
    if (isWhole()) {
        return;
    }
    const std::lock_guard lock(mutex_);
    if (isWhole()) {
        return; // another thread was faster
    }
    const long long room = freeBytes(file_.parent_path()) - keptFreeBytes;
    fillTo(std::min(sizeBytes_, heldBytes_ + room));
    if (isWhole()) {
        logInfo("disk-reserve-whole");
    }
}

void DiskReserve::requireRoom(long long bytes)
{
    makeWhole();
    requireWhole();
    if (freeBytes(file_.parent_path()) < bytes) {
        throwFull();
    }
}

void DiskReserve::requireWhole() const
{
    if (!isWhole()) {
        throwFull();
    }
}

} // namespace kelvo
