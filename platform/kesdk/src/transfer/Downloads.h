// Fetches files from the service.
#pragma once

#include "client/ApiClient.h"
#include "http/ConsoleFacts.h"
#include "transfer/PartFile.h"
#include "transfer/StaleFiles.h"
#include "transfer/TransferPolicy.h"

#include <set>
#include <string>
#include <utility>

namespace kesdk::impl {

// One download at a time; resumed behind the last byte that arrived when the link drops. A large
// one that was given up for the link's sake, or for the console's end, is gone on with by a later
// call, also after a restart. What nobody goes on with is removed by the first download into its
// folder, when it is old enough.
// Errors: as Failure; then nothing new stands under the path. Retry: safe.
class Downloads
{
public:
    explicit Downloads(ApiClient& api, WallClock wallTimeS = RealConsoleFacts().wallTimeS)
        : m_api(api), m_wallTimeS(std::move(wallTimeS))
    {}

    // The whole file, verified and synced, stands under the path when nothing failed. The file's
    // name on the service never becomes part of a path.
    Failure Fetch(const ApiCall& call, const FileRecord& file, const std::string& localPath);

private:
    Failure FetchWhole(const ApiCall& call, const FileRecord& file, PartFile& part);
    Failure FetchContent(const ApiCall& call, const FileRecord& file, PartFile& part);

    void SweepOnce(const std::string& localPath);

    ApiClient& m_api;
    WallClock m_wallTimeS;
    std::set<std::string> m_sweptFolders;
    LastInVain m_inVain;
};

} // namespace kesdk::impl
