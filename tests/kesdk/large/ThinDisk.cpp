// Replaces functions of the C library, so that the SDK calls these. Their names are those that a
// program with offsets of 64 bits calls.
#include "large/ThinDisk.h"

#include "large/QuickDigest.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

std::int64_t spaceBytes = 0;
std::vector<std::int64_t> preallocations;

// Writes only the zeros that the digest reads: the first byte of each page.
void PutZeros(char* bytes, std::size_t sizeBytes, off64_t at)
{
    const auto inPage = static_cast<std::size_t>(at % kesdk::test::kPageBytes);
    for (std::size_t i = inPage == 0 ? 0 : kesdk::test::kPageBytes - inPage; i < sizeBytes;
         i += kesdk::test::kPageBytes)
        bytes[i] = 0;
}

} // namespace

extern "C" int fallocate64(int, int, off64_t begin, off64_t sizeBytes)
{
    preallocations.push_back(begin + sizeBytes);
    if (begin + sizeBytes <= spaceBytes)
        return 0;
    errno = ENOSPC;
    return -1;
}

extern "C" ssize_t pread64(int file, void* buffer, std::size_t sizeBytes, off64_t at)
{
    const off64_t data = ::lseek64(file, at, SEEK_DATA);
    if (data >= 0 && at + static_cast<off64_t>(sizeBytes) <= data) {
        PutZeros(static_cast<char*>(buffer), sizeBytes, at);
        return static_cast<ssize_t>(sizeBytes);
    }
    const iovec piece{buffer, sizeBytes};
    return ::preadv64(file, &piece, 1, at);
}

namespace kesdk::test {

void SetDiskSpace(std::int64_t sizeBytes)
{
    spaceBytes = sizeBytes;
    preallocations.clear();
}

const std::vector<std::int64_t>& Preallocations()
{
    return preallocations;
}

} // namespace kesdk::test
