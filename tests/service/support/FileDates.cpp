// This file alone is compiled with times of 64 bits; its interface has no such time.
#include "tests/service/support/FileDates.h"

#include <fcntl.h>
#include <sys/stat.h>

static_assert(sizeof(time_t) == 8, "_TIME_BITS is not set for this file");

namespace kelvo::test {

bool setFileDate(const std::filesystem::path& file, std::int64_t seconds)
{
    timespec times[2] = {};
    times[0].tv_sec = times[1].tv_sec = seconds;
    return ::utimensat(AT_FDCWD, file.c_str(), times, 0) == 0;
}

} // namespace kelvo::test
