// A file that is being downloaded.
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

// Grows beside its final name and takes that name only when it is whole and on the disk. What is
// neither committed nor kept is removed with the object. A journal beside a large one lets another
// process go on with it; one without bears a name by which it is known for what it is.
class PartFile
{
public:
    PartFile() = default;
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    // Goes on with what an earlier run left of the same, or begins anew: whatever else bears the
    // part's names is removed. Claims the space, so that a full disk shows before anything is
    // fetched; then what an earlier run left goes as well, as the space is needed.
    Failure Open(const std::string& finalPath, const PartOrigin& origin, const AbortCheck& abort);

    bool Write(const char* bytes, std::size_t sizeBytes);
    // What made Write or Restart fail.
    const Failure& WriteFailure() const { return m_failure; }

    std::int64_t SizeBytes() const { return m_sizeBytes; }
    // Whether some of it was left by an earlier run.
    bool IsResumed() const { return m_isResumed; }
    // Throws away what was written so far.
    bool Restart();

    // Brings all of it to the disk's file (not yet to the disk) and computes its digest. Call once.
    Result<Sha256::Digest> Finish();
    // Leaves what is there to a later run, as far as there is enough to be worth it.
    void Keep();
    // Syncs the file, gives it its name and syncs the folder.
    Failure Commit();

private:
    void Remove();
    bool Resume(const PartOrigin& origin, const AbortCheck& abort);
    Failure Create(const PartOrigin& origin);
    Failure Claim(std::int64_t sizeBytes);
    bool Flush();
    bool Fail(const char* what);

    std::string m_finalPath;
    PartPaths m_paths;
    std::string m_path; // the part's own
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
