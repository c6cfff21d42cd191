// Fetches files from the service.
#pragma once

#include "client/ApiClient.h"
#include "transfer/PartFile.h"

#include <string>

namespace kesdk::impl {

// One download at a time; resumed within the call, behind the last byte that arrived, when the link
// drops.
// Errors: as Failure; then nothing new stands under the path. Retry: safe.
class Downloads
{
public:
    explicit Downloads(ApiClient& api) : m_api(api) {}

    // The whole file, verified and synced, stands under the path when nothing failed. The file's
    // name on the service never becomes part of a path.
    Failure Fetch(const ApiCall& call, const FileRecord& file, const std::string& localPath);

private:
    Failure FetchContent(const ApiCall& call, const FileRecord& file, PartFile& part);

    ApiClient& m_api;
};

} // namespace kesdk::impl
