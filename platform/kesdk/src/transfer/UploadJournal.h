// The keys of uploads, for a later call and for a restarted console.
#pragma once

#include "base/Failure.h"
#include "transfer/StaleFiles.h"

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kesdk::impl {

// The file, its state, its targets and the user. Only an upload of exactly these gets the key.
struct UploadOrigin
{
    std::string userId;
    std::string path;
    std::int64_t sizeBytes = 0;
    std::int64_t modifiedS = 0;
    std::int64_t modifiedNs = 0;
    std::vector<std::int64_t> targetInboxIds;
};

// One small file for each upload, in a folder of the library. If that folder cannot be written, the
// journal is a hidden file beside the sent file. If that fails too, the key is remembered until the
// object ends. A journal that is older than a week is removed. While the clock is wrong the ages
// are unknown: a folder keeps the 1,000 newest journals and the journal of the running upload.
//
// The journal of a finished upload stays until the sent file is gone. So a console that is killed
// before it removes the file does not send it again. Only an upload checks for removed files, and
// only in the folder of the file that it sends: on a dead medium the check may block for ever. The
// journals of an earlier process are removed by their age only.
//
// Thread: the caller's, one at a time.
class UploadJournal
{
public:
    // Without a folder all journals lie beside the files.
    UploadJournal(std::string folder, WallClock wallTimeS);
    UploadJournal(const UploadJournal&) = delete;
    UploadJournal& operator=(const UploadJournal&) = delete;

    // The key of an unfinished upload, or of an upload that an earlier process finished; empty if
    // there is none. Removes the journal of an earlier state of the file. Fails if a journal cannot
    // be read now: a new key could store the file twice.
    Result<std::string> RemoveOtherAndFind(const UploadOrigin& origin);
    // Blocks for two syncs. If no journal can be written, the key is kept in memory only.
    void Keep(const UploadOrigin& origin, const std::string& key);
    // Sets the journal's date to now, because the upload has just made progress.
    void Renew(const UploadOrigin& origin);
    void Finish(const UploadOrigin& origin);
    void Forget(const UploadOrigin& origin);
    // Removes the journals of uploads that this object finished, if their file in `folder` is gone.
    // If the medium is away, the file does not count as gone.
    void ForgetRemovedFiles(const std::string& folder);

private:
    // An upload whose key is not on the disk, or which this object has finished.
    struct Known
    {
        UploadOrigin origin;
        std::string key; // empty: the upload is finished
        dev_t device;    // the device of the file's folder when the upload was finished
    };

    using Places = std::array<std::string, 2>; // in the library's folder, beside the file

    Places PlacesOf(const UploadOrigin& origin) const;
    void RemoveStale(const std::string& path);

    const std::string m_folder;
    const WallClock m_wallTimeS;
    std::set<std::string> m_searchedFolders;
    std::map<std::string, Known> m_known; // by the place beside the file
};

} // namespace kesdk::impl
