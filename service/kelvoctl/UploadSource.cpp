#include "service/kelvoctl/UploadSource.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/LocalFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace kelvoctl {

namespace {

/** Limits `bytes`, which may exceed this machine's address space, to `room`. */
std::size_t atMost(std::size_t room, std::uint64_t bytes)
{
    return static_cast<std::size_t>(std::min<std::uint64_t>(room, bytes));
}

} // namespace

UploadSource::UploadSource(std::filesystem::path path)
    : m_path(std::move(path)), m_file(openLocalFile(m_path, O_RDONLY))
{
    const kelvo::FileStatus status = kelvo::statusOf(m_file.get());
    if (!S_ISREG(status.mode)) {
        throw UsageError(m_path.string() + " is not a file.");
    }
    m_sizeBytes = static_cast<std::uint64_t>(status.sizeBytes);
}

void UploadSource::startAt(std::uint64_t offset)
{
    if (offset > m_sizeBytes) {
        throw Unreachable("The service's offset is beyond the end of the file.", false);
    }
    m_start = offset;
    if (m_position == offset) {
        return;
    }
    if (m_position > offset) {
        m_position = 0;
        m_sha256 = kelvo::Sha256();
    }
    std::vector<char> buffer(1U << 20);
    while (m_position < offset) {
        read(buffer.data(), atMost(buffer.size(), offset - m_position));
    }
}

std::string UploadSource::digest()
{
    startAt(m_sizeBytes);
    return m_sha256.finishHex();
}

std::size_t UploadSource::read(char* buffer, std::size_t capacity)
{
    const std::size_t wanted = atMost(capacity, m_sizeBytes - m_position);
    if (wanted == 0) {
        return 0;
    }
    ssize_t got = -1;
    do {
        got = ::pread(m_file.get(), buffer, wanted, static_cast<off_t>(m_position));
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        throw LocalFailure(m_path.string() + " cannot be read to its end; it may have changed.");
    }
    m_sha256.add(buffer, static_cast<std::size_t>(got));
    m_position += static_cast<std::uint64_t>(got);
    return static_cast<std::size_t>(got);
}

} // namespace kelvoctl
