// A file that is being downloaded.
#pragma once

#include "base/Failure.h"
#include "base/Sha256.h"
#include "transfer/FileHandle.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kesdk::impl {

// Grows beside its final name and takes that name only when it is whole and on the disk. What is
// not committed is removed with the object.
class PartFile
{
public:
    PartFile() = default;
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    // Claims the space, so that a full disk shows before anything is fetched.
    Failure Create(const std::string& finalPath, std::int64_t expectedBytes);

    bool Write(const char* bytes, std::size_t sizeBytes);
    // What made Write or Restart fail.
    const Failure& WriteFailure() const { return m_failure; }

    std::int64_t SizeBytes() const { return m_sizeBytes; }
    // Throws away what was written so far.
    bool Restart();

    // Brings all of it to the disk's file (not yet to the disk) and computes its digest. Call once.
    Result<Sha256::Digest> Finish();
    // Syncs the file, gives it its name and syncs the folder.
    Failure Commit();

private:
    bool Flush();
    bool Fail(const char* what);

    std::string m_finalPath;
    std::string m_partPath;
    FileHandle m_file;
    std::vector<char> m_buffer;
    Sha256 m_hash;
    std::int64_t m_sizeBytes = 0;
    std::int64_t m_flushedBytes = 0;
    Failure m_failure;
    bool m_isCommitted = false;
};

} // namespace kesdk::impl
