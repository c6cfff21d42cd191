// Sends local files to the service.
#pragma once

#include "client/ApiClient.h"
#include "transfer/UploadFile.h"
#include "transfer/UploadKeys.h"

#include <string>
#include <vector>

namespace kesdk::impl {

// One upload at a time; resumed within the call when the link drops.
//
//   begin ──(201, complete)──────────────────────────────► verify ─► done
//     │ └──(409: begun before)──► ask ──(complete)────────────▲
//     └──(drop)──────────────────► ▲ │                        │
//                                  │ └──(offset)──► continue ─┘
//                                  └────(drop)────────┘
//
// Errors: as Failure; the file stays as it is. Retry: safe, an upload that the service has already
// committed is found again by its key.
class Uploads
{
public:
    explicit Uploads(ApiClient& api) : m_api(api) {}

    // The files that the upload made, in the order of the targets.
    Result<std::vector<FileRecord>> Send(const ApiCall& call, const std::string& localPath,
                                         const std::vector<std::int64_t>& targetInboxIds);

private:
    enum class EStep {
        eBegin,    // key and whole content
        eAsk,      // key without content: where does it stand?
        eContinue, // the rest of the content
    };
    struct Job
    {
        ApiCall call;
        UploadFile file;
        NewUpload upload;
        std::string identity;
        EStep step = EStep::eBegin;
        std::string location;
        std::int64_t offsetBytes = 0;
        std::int64_t mostOffsetBytes = 0; // that the service ever acknowledged
        int fruitless = 0;                // attempts in a row that brought nothing
        bool hasSent = false;             // content, in this call and under this key
    };

    Result<UploadRecord> RunToEnd(Job& job);
    Result<UploadRecord> Take(Job& job);
    void Advance(Job& job, const UploadRecord& stand);
    Failure Recover(Job& job, const Failure& failure);
    void UseNewKey(Job& job);
    bool IsOwn(Job& job, const UploadRecord& result);
    Failure Verify(Job& job, const UploadRecord& result, Sha256::Digest& digest);

    ApiClient& m_api;
    UploadKeys m_keys;
};

} // namespace kesdk::impl
