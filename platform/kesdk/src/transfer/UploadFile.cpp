#include "transfer/UploadFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>
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

auto ContentOf(const struct stat& file)
{
    return std::tuple(file.st_dev, file.st_ino, file.st_size, file.st_mtim.tv_sec,
                      file.st_mtim.tv_nsec);
}

auto StateOf(const struct stat& file)
{
    return std::tuple(ContentOf(file), file.st_ctim.tv_sec, file.st_ctim.tv_nsec);
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
           StateOf(open) == StateOf(m_opened) && StateOf(named) == StateOf(m_opened);
}

bool UploadFile::IsRemoved() const
{
    struct stat named = {};
    return ::stat(m_path.c_str(), &named) != 0 && errno == ENOENT;
}

bool UploadFile::IsContentUnchanged() const
{
    struct stat open = {};
    return ::fstat(m_file.Get(), &open) == 0 && ContentOf(open) == ContentOf(m_opened);
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
