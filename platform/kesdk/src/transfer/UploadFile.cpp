#include "transfer/UploadFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace kesdk::impl {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{512} * 1024;

Failure OpenFailure(int error)
{
    const bool isMissing = error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
    return Failure(isMissing ? EErrorCode::eFileMissing : EErrorCode::eFileUnreadable,
                   std::string("open: ") + std::strerror(error));
}

bool IsSameTime(const timespec& left, const timespec& right)
{
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

bool IsSameContent(const struct stat& left, const struct stat& right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
           left.st_size == right.st_size && IsSameTime(left.st_mtim, right.st_mtim);
}

bool IsSame(const struct stat& left, const struct stat& right)
{
    return IsSameContent(left, right) && IsSameTime(left.st_ctim, right.st_ctim);
}

Failure ReadFailureOf(ssize_t got)
{
    if (got == 0)
        return Failure(EErrorCode::eFileChanged, "the file became shorter while it was read");
    return Failure(EErrorCode::eFileUnreadable, std::string("read: ") + std::strerror(errno));
}

} // namespace

Failure UploadFile::Open(const std::string& path)
{
    m_path = path;
    // O_NONBLOCK: a pipe of this name must not block.
    m_file = FileHandle(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!m_file.IsOpen())
        return OpenFailure(errno);
    if (::fstat(m_file.Get(), &m_opened) != 0)
        return Failure(EErrorCode::eFileUnreadable, std::string("stat: ") + std::strerror(errno));
    if (!S_ISREG(m_opened.st_mode))
        return Failure(EErrorCode::eNotAFile, "not a regular file");
    ::posix_fadvise(m_file.Get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    return {};
}

Failure UploadFile::StartAt(std::int64_t offsetBytes, const AbortCheck& abort)
{
    if (offsetBytes < 0 || offsetBytes > SizeBytes())
        return Failure(EErrorCode::eBadAnswer, "an offset outside of the file");
    m_readFailure = HashUpTo(offsetBytes, abort);
    m_position = offsetBytes;
    return m_readFailure;
}

std::ptrdiff_t UploadFile::Read(char* buffer, std::size_t sizeBytes)
{
    const std::int64_t left = SizeBytes() - m_position;
    if (left == 0)
        return 0;
    const std::size_t wanted =
        static_cast<std::size_t>(std::min(left, static_cast<std::int64_t>(sizeBytes)));
    const ssize_t got = m_file.ReadAt(buffer, wanted, m_position);
    if (got <= 0) {
        m_readFailure = ReadFailureOf(got);
        return -1;
    }
    // Bytes that are sent again are in the digest already.
    const std::int64_t end = m_position + got;
    if (end > m_hashedBytes) {
        const std::int64_t known = m_hashedBytes - m_position;
        m_hash.Update(buffer + known, static_cast<std::size_t>(got - known));
        m_hashedBytes = end;
    }
    m_position = end;
    return got;
}

Result<Sha256::Digest> UploadFile::Digest(const AbortCheck& abort)
{
    if (const Failure failure = HashUpTo(SizeBytes(), abort); failure.IsSet())
        return failure;
    if (!m_digest)
        m_digest = m_hash.Finish();
    return *m_digest;
}

bool UploadFile::IsUnchanged() const
{
    struct stat open = {};
    struct stat named = {};
    return ::fstat(m_file.Get(), &open) == 0 && ::stat(m_path.c_str(), &named) == 0 &&
           IsSame(open, m_opened) && IsSame(named, m_opened);
}

bool UploadFile::IsRemoved() const
{
    struct stat named = {};
    return ::stat(m_path.c_str(), &named) != 0 && errno == ENOENT;
}

bool UploadFile::IsContentUnchanged() const
{
    struct stat open = {};
    return ::fstat(m_file.Get(), &open) == 0 && IsSameContent(open, m_opened);
}

Failure UploadFile::HashUpTo(std::int64_t offsetBytes, const AbortCheck& abort)
{
    if (m_hashedBytes >= offsetBytes)
        return {};
    std::vector<char> buffer(kBufferBytes);
    m_position = m_hashedBytes;
    while (m_position < offsetBytes) {
        if (IsAborted(abort))
            return Failure(EErrorCode::eAborted);
        if (Read(buffer.data(), buffer.size()) < 0)
            return m_readFailure;
    }
    return {};
}

} // namespace kesdk::impl
