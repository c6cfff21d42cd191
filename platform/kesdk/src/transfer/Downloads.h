// Fetches files from the service.
#pragma once

#include "client/ApiClient.h"
#include "transfer/PartFile.h"
#include "transfer/ResumableTransfer.h"
#include "transfer/StaleFiles.h"

#include <optional>
#include <set>
#include <string>
#include <utility>

namespace kesdk::impl {

// One download at a time, as a ResumableTransfer. If the link drops, the download resumes after
// the last byte that arrived. If the transfer is given up or aborted, the part file of a large file
// stays. A later call, also of a restarted console, resumes it. The first download into a folder
// removes the part files there that are a week old.
//
// Errors: as Failure; nothing new has the final name then. Retry: safe.
class Downloads
{
public:
    struct Job
    {
        ApiCall call;
        const FileRecord& file;
        PartFile& part;
        ResumableTransfer transfer;
    };

    Downloads(ApiClient& api, Timing& timing, WallClock wallTimeS)
        : m_api(api), m_timing(timing), m_wallTimeS(std::move(wallTimeS))
    {}

    // Without a failure the whole file, verified and synced, has the name `localPath`. The file's
    // name on the service never becomes part of a path.
    Failure Fetch(const ApiCall& call, const FileRecord& file, const std::string& localPath);

private:
    using Attempt = ResumableTransfer::Attempt;

    Attempt FetchRest(Job& job);
    Attempt Verify(Job& job);

    ApiClient& m_api;
    Timing& m_timing;
    WallClock m_wallTimeS;
    std::set<std::string> m_searchedFolders;
    std::optional<Clock::Time> m_givenUpAt;
};

} // namespace kesdk::impl
