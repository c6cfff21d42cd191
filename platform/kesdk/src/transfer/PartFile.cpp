// A file that is being downloaded.
#include "transfer/PartFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace kesdk::impl {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{256} * 1024;
// The disk is told to begin writing after so much, so that the sync at the end has little left.
constexpr std::int64_t kWriteBehindBytes = std::int64_t{8} * 1024 * 1024;
constexpr std::string_view kSuffix = ".part";

Failure FailureOf(const char* what, int error)
{
    const bool isFull = error == ENOSPC || error == EDQUOT || error == EFBIG;
    return Failure(isFull ? EErrorCode::eDiskFull : EErrorCode::eCannotWrite,
                   std::string(what) + ": " + std::strerror(error));
}

std::string FolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::size_t LongestName(const std::string& folder)
{
    const long most = ::pathconf(folder.c_str(), _PC_NAME_MAX);
    return most > 0 ? static_cast<std::size_t>(most) : NAME_MAX;
}

// Shortened, at the end of a character, where the suffix would not fit behind the name.
std::string PartNameOf(std::string name, std::size_t longest)
{
    if (name.size() + kSuffix.size() > longest) {
        std::size_t end = longest - kSuffix.size();
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0u) == 0x80u)
            --end;
        name.resize(end);
    }
    return name + std::string(kSuffix);
}

Failure CheckName(const std::string& name, std::size_t longest)
{
    if (name.empty() || name == "." || name == "..")
        return Failure(EErrorCode::eUnusableFileName, "no name for a file");
    if (name.size() > longest)
        return Failure(EErrorCode::eUnusableFileName, "the name is too long");
    return {};
}

} // namespace

PartFile::~PartFile()
{
    m_file.Close();
    if (!m_partPath.empty() && !m_isCommitted)
        ::unlink(m_partPath.c_str());
}

Failure PartFile::Create(const std::string& finalPath, std::int64_t expectedBytes)
{
    const std::string folder = FolderOf(finalPath);
    const std::string name = finalPath.substr(finalPath.rfind('/') + 1);
    const std::size_t longest = LongestName(folder);
    if (Failure failure = CheckName(name, longest); failure.IsSet())
        return failure;
    struct stat existing = {};
    if (::stat(finalPath.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode))
        return Failure(EErrorCode::eUnusableFileName, "something else bears that name");
    const std::string partPath = (folder == "." ? "" : folder) + PartNameOf(name, longest);
    // A link under that name must not lead elsewhere: what an earlier run left goes first.
    ::unlink(partPath.c_str());
    m_file = FileHandle(
        ::open(partPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
    if (!m_file.IsOpen())
        return FailureOf("create", errno);
    m_finalPath = finalPath;
    m_partPath = partPath;
    m_buffer.reserve(kBufferBytes);
    if (expectedBytes > 0 &&
        ::fallocate(m_file.Get(), FALLOC_FL_KEEP_SIZE, 0,
                    static_cast<off_t>(expectedBytes)) != 0 &&
        (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) // else: it cannot be claimed here
        return FailureOf("reserve", errno);
    return {};
}

bool PartFile::Write(const char* bytes, std::size_t sizeBytes)
{
    while (sizeBytes > 0) {
        const std::size_t part = std::min(sizeBytes, kBufferBytes - m_buffer.size());
        m_buffer.insert(m_buffer.end(), bytes, bytes + part);
        m_sizeBytes += static_cast<std::int64_t>(part);
        bytes += part;
        sizeBytes -= part;
        if (m_buffer.size() == kBufferBytes && !Flush())
            return false;
    }
    return true;
}

bool PartFile::Restart()
{
    m_buffer.clear();
    m_sizeBytes = 0;
    m_flushedBytes = 0;
    m_hash.Reset();
    return ::ftruncate(m_file.Get(), 0) == 0 || Fail("truncate");
}

Result<Sha256::Digest> PartFile::Finish()
{
    if (!Flush())
        return m_failure;
    return m_hash.Finish();
}

Failure PartFile::Commit()
{
    if (::fsync(m_file.Get()) != 0)
        return FailureOf("sync", errno);
    m_file.Close();
    if (::rename(m_partPath.c_str(), m_finalPath.c_str()) != 0)
        return FailureOf("rename", errno);
    m_isCommitted = true;
    const FileHandle folder(
        ::open(FolderOf(m_finalPath).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; one that can and fails has lost the file.
    if (folder.IsOpen() && ::fsync(folder.Get()) != 0 && errno == EIO) {
        ::unlink(m_finalPath.c_str());
        return FailureOf("sync of the folder", EIO);
    }
    return {};
}

bool PartFile::Flush()
{
    m_hash.Update(m_buffer.data(), m_buffer.size());
    std::size_t done = 0;
    while (done < m_buffer.size()) {
        const ssize_t put = ::pwrite(m_file.Get(), m_buffer.data() + done, m_buffer.size() - done,
                                     static_cast<off_t>(m_flushedBytes));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return Fail("write");
        done += static_cast<std::size_t>(put);
        const std::int64_t before = m_flushedBytes;
        m_flushedBytes += put;
        if (before / kWriteBehindBytes != m_flushedBytes / kWriteBehindBytes)
            ::sync_file_range(m_file.Get(), 0, static_cast<off_t>(m_flushedBytes),
                              SYNC_FILE_RANGE_WRITE);
    }
    m_buffer.clear();
    return true;
}

bool PartFile::Fail(const char* what)
{
    m_failure = FailureOf(what, errno);
    return false;
}

} // namespace kesdk::impl
