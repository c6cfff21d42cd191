#include "service/content/FileStamp.h"

#include "service/base/Digest.h"
#include "service/base/FileStatus.h"
#include "service/base/Files.h"

#include <cerrno>
#include <memory>

#include <unistd.h>

namespace kelvo::content {

namespace {

constexpr std::size_t readChunkBytes = 256UL * 1024;

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

} // namespace kelvo::content
