// The part file of a download.
#pragma once

#include "base/Clock.h"
#include "base/Failure.h"
#include "base/Sha256.h"
#include "transfer/FileHandle.h"
#include "transfer/PartJournal.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kesdk::impl {

// Grows beside the final name, and gets this name when it is complete and on the disk. The
// destructor removes a part file that is neither committed nor kept. A large part file has a
// journal, with which another process resumes it. A part file without a journal has a name that
// shows its origin.
class PartFile
{
public:
    PartFile() = default;
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    // Resumes the part file of an earlier run, or begins a new one and removes files with the names
    // of the part file. Reserves the space, so that a full disk fails before the first request.
    Failure Open(const std::string& finalPath, const PartOrigin& origin, const AbortCheck& abort);

    bool Write(const char* bytes, std::size_t sizeBytes);
    // Set if Write or Restart failed.
    const Failure& WriteFailure() const { return m_failure; }

    std::int64_t SizeBytes() const { return m_sizeBytes; }
    // Whether an earlier run wrote its first bytes.
    bool IsResumed() const { return m_isResumed; }
    // Removes all bytes of the part file.
    bool Restart();

    // Writes the buffer to the file, without a sync, and computes the digest. Call once.
    Result<Sha256::Digest> Finish();
    // Keeps the part file for a later run, if it has a byte and the whole file is large enough.
    void Keep();
    // Syncs the file, renames it and syncs the folder.
    Failure Commit();

private:
    void Remove();
    Result<bool> Resume(const PartOrigin& origin, const AbortCheck& abort);
    Failure Create(const PartOrigin& origin);
    Failure Preallocate(std::int64_t sizeBytes);
    bool Flush();
    bool Fail(const char* what);

    std::string m_finalPath;
    PartPaths m_paths;
    std::string m_path; // the name of the part file
    FileHandle m_file;
    std::vector<char> m_buffer;
    Sha256 m_hash;
    std::int64_t m_sizeBytes = 0;
    std::int64_t m_flushedBytes = 0;
    Failure m_failure;
    bool m_hasJournal = false;
    bool m_isResumed = false;
    bool m_isLeft = false; // committed or kept
};

} // namespace kesdk::impl
