// Which uploads a console has begun, for the time after a restart.
#pragma once

#include "transfer/StaleFiles.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kesdk::impl {

// What is sent where, by whom. Another account or service never goes on with it, and a file that
// was written since is another one.
struct UploadOrigin
{
    std::string account; // and service; empty: nothing is kept
    std::string path;
    std::int64_t sizeBytes = 0;
    std::int64_t modifiedS = 0;
    std::int64_t modifiedNs = 0;
    std::vector<std::int64_t> targetInboxIds;
};

struct BegunUpload
{
    std::string key;      // under which it was begun
    std::string location; // empty as long as no answer told it
};

// One small file for each upload that was begun and not yet ended, in a folder that is the
// library's own.
//
// Thread: the caller's, one at a time. Errors: none; a folder that cannot be written to, or that is
// full, only costs going on after a restart.
class UploadJournal
{
public:
    // Without a folder nothing is kept.
    UploadJournal(std::string folder, WallClock wallTimeS);

    // What was begun of just this. What was begun of an earlier state of the file is removed.
    std::optional<BegunUpload> Find(const UploadOrigin& origin);
    void Keep(const UploadOrigin& origin, const BegunUpload& upload);
    // The service keeps it longer too, because more of it has arrived.
    void Renew(const UploadOrigin& origin);
    void Forget(const UploadOrigin& origin);

private:
    bool IsKept(const UploadOrigin& origin) const;
    std::string PathOf(const UploadOrigin& origin) const;

    const std::string m_folder;
    const WallClock m_wallTimeS;
    bool m_isSwept = false;
};

} // namespace kesdk::impl
