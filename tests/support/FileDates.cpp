// Only this file is compiled with times of 64 bits, and no such time leaves it.
#include "tests/support/FileDates.h"

#include <fcntl.h>
#include <sys/stat.h>

static_assert(sizeof(time_t) == 8, "_TIME_BITS is not set for this file");

namespace kelvo::test {

bool SetFileDate(const std::filesystem::path& file, std::int64_t seconds)
{
    timespec times[2] = {};
    times[0].tv_sec = times[1].tv_sec = seconds;
    return ::utimensat(AT_FDCWD, file.c_str(), times, 0) == 0;
}

std::int64_t FileDate(const std::filesystem::path& file)
{
    struct stat status = {};
    return ::stat(file.c_str(), &status) == 0 ? static_cast<std::int64_t>(status.st_mtim.tv_sec)
                                              : -1;
}

} // namespace kelvo::test
