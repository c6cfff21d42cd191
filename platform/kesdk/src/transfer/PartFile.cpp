#include "transfer/PartFile.h"

#include "transfer/JournalFile.h"
#include "transfer/Paths.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

namespace kesdk::impl {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{256} * 1024;
// After this many bytes the kernel begins to write: the sync at the end is short then.
constexpr std::int64_t kWriteBehindBytes = std::int64_t{8} * 1024 * 1024;
// The part file of a smaller file is not kept.
constexpr std::int64_t kWorthKeepingBytes = std::int64_t{64} * 1024;

Failure FailureOf(const char* what, int error)
{
    const bool isFull = error == ENOSPC || error == EDQUOT || error == EFBIG;
    return Failure(isFull ? EErrorCode::eDiskFull : EErrorCode::eCannotWrite,
                   std::string(what) + ": " + std::strerror(error));
}

std::size_t LongestName(const std::string& folder)
{
    const long most = ::pathconf(folder.c_str(), _PC_NAME_MAX);
    return most > 0 ? static_cast<std::size_t>(most) : NAME_MAX;
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
    if (!m_isLeft)
        Remove();
}

Failure PartFile::Open(const std::string& finalPath, const PartOrigin& origin,
                       const AbortCheck& abort)
{
    const std::string folder = FolderOf(finalPath);
    const std::string name = NameOf(finalPath);
    const std::size_t longest = LongestName(folder);
    if (Failure failure = CheckName(name, longest); failure.IsSet())
        return failure;
    struct stat existing = {};
    if (::stat(finalPath.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode))
        return Failure(EErrorCode::eUnusableFileName, "a folder or another object has this name");
    m_finalPath = finalPath;
    m_paths = PartPathsOf(folder, name, longest);
    m_buffer.reserve(kBufferBytes);
    const Result<bool> isResumed = Resume(origin, abort);
    m_isLeft = !isResumed; // an aborted call keeps the part file
    Failure failure = isResumed.failure;
    if (isResumed && !isResumed.value)
        failure = Create(origin);
    return failure.IsSet() ? failure : Preallocate(origin.sizeBytes);
}

void PartFile::Remove()
{
    if (m_paths.part.empty())
        return;
    ::unlink(m_paths.part.c_str());
    ::unlink(m_paths.loosePart.c_str());
    RemoveJournal(m_paths.journal);
}

// Whether there is a part file of this version. Reads the part file once, for the digest of the
// whole file. Fails only if it is aborted.
Result<bool> PartFile::Resume(const PartOrigin& origin, const AbortCheck& abort)
{
    if (origin.account.empty() || ReadJournal(m_paths.journal).value != ToPartJournal(origin))
        return false;
    FileHandle file(::open(m_paths.part.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat found = {};
    if (!file.IsOpen() || ::fstat(file.Get(), &found) != 0 || !S_ISREG(found.st_mode) ||
        found.st_nlink != 1 || found.st_size > origin.sizeBytes)
        return false;
    std::vector<char> piece(kBufferBytes);
    std::int64_t hashed = 0;
    while (hashed < found.st_size) {
        if (IsAborted(abort))
            return Failure(EErrorCode::eAborted);
        const ssize_t got = file.ReadAt(piece.data(), piece.size(), hashed);
        if (got <= 0) {
            m_hash.Reset();
            return false;
        }
        m_hash.Update(piece.data(), static_cast<std::size_t>(got));
        hashed += got;
    }
    m_hasJournal = true;
    m_path = m_paths.part;
    m_file = std::move(file);
    m_sizeBytes = m_flushedBytes = hashed;
    m_isResumed = hashed > 0;
    ::futimens(m_file.Get(), nullptr); // the part file's week starts again, even if no byte arrives
    return true;
}

Failure PartFile::Create(const PartOrigin& origin)
{
    // Removes an older part file first: open must not follow a link of this name.
    Remove();
    RemoveOldestPartFiles(FolderOf(m_finalPath));
    // Before the part file: a part file without a journal would never be removed.
    m_hasJournal = !origin.account.empty() && origin.sizeBytes >= kWorthKeepingBytes &&
                   WriteJournal(m_paths.journal, ToPartJournal(origin));
    m_path = m_hasJournal ? m_paths.part : m_paths.loosePart;
    m_file = FileHandle(
        ::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
    if (!m_file.IsOpen()) {
        const int error = errno;
        if (m_hasJournal)
            RemoveJournal(m_paths.journal);
        m_paths = {};
        return FailureOf("create", error);
    }
    return {};
}

Failure PartFile::Preallocate(std::int64_t sizeBytes)
{
    if (sizeBytes > 0 &&
        ::fallocate(m_file.Get(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(sizeBytes)) != 0 &&
        (errno == ENOSPC || errno == EDQUOT ||
         errno == EFBIG)) // else: this file system cannot reserve space
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
    m_isResumed = false;
    m_hash.Reset();
    return ::ftruncate(m_file.Get(), 0) == 0 || Fail("truncate");
}

Result<Sha256::Digest> PartFile::Finish()
{
    if (!Flush())
        return m_failure;
    return m_hash.Finish();
}

void PartFile::Keep()
{
    if (!m_hasJournal || !m_file.IsOpen() || m_failure.IsSet() || !Flush())
        return;
    // Frees the reserved space. No sync here: after a power cut the digest check detects lost
    // bytes.
    m_isLeft =
        m_sizeBytes > 0 && ::ftruncate(m_file.Get(), static_cast<off_t>(m_flushedBytes)) == 0;
}

Failure PartFile::Commit()
{
    if (::fsync(m_file.Get()) != 0)
        return FailureOf("sync", errno);
    m_file.Close();
    if (::rename(m_path.c_str(), m_finalPath.c_str()) != 0)
        return FailureOf("rename", errno);
    m_isLeft = true;
    if (m_hasJournal)
        RemoveJournal(m_paths.journal);
    if (SyncFolder(FolderOf(m_finalPath)))
        return {};
    ::unlink(m_finalPath.c_str());
    return FailureOf("sync of the folder", EIO);
}

bool PartFile::Flush()
{
    m_hash.Update(m_buffer.data(), m_buffer.size());
    if (!m_file.WriteAt({m_buffer.data(), m_buffer.size()}, m_flushedBytes))
        return Fail("write");
    const std::int64_t before = std::exchange(m_flushedBytes, m_sizeBytes);
    if (before / kWriteBehindBytes != m_flushedBytes / kWriteBehindBytes)
        ::sync_file_range(m_file.Get(), 0, static_cast<off_t>(m_flushedBytes),
                          SYNC_FILE_RANGE_WRITE);
    m_buffer.clear();
    return true;
}

bool PartFile::Fail(const char* what)
{
    m_failure = FailureOf(what, errno);
    return false;
}

} // namespace kesdk::impl
