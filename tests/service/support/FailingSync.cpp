// Replaces the C library's fsync and fdatasync.
#include "tests/service/support/FailingSync.h"

#include <atomic>
#include <cerrno>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> toFail{0};

bool fails()
{
    int left = toFail;
    while (left > 0 && !toFail.compare_exchange_weak(left, left - 1)) {
    }
    if (left > 0) {
        errno = EIO;
    }
    return left > 0;
}

} // namespace

namespace kelvo::test {

void failNextSyncs(int count)
{
    toFail = count;
}

} // namespace kelvo::test

extern "C" int fsync(int fd)
{
    return fails() ? -1 : static_cast<int>(syscall(SYS_fsync, fd));
}

extern "C" int fdatasync(int fd)
{
    return fails() ? -1 : static_cast<int>(syscall(SYS_fdatasync, fd));
}
