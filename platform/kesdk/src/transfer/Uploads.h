// Sends local files to the service.
#pragma once

#include "client/ApiClient.h"
#include "http/ConsoleFacts.h"
#include "transfer/Discards.h"
#include "transfer/TransferPolicy.h"
#include "transfer/UploadFile.h"
#include "transfer/UploadJournal.h"
#include "transfer/UploadKeys.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kesdk::impl {

// One upload at a time; resumed when the link drops, and by a later call or, with a journal, by a
// restarted console.
//
//   begin ──(201, complete)──────────────────────────────► verify ─► done
//     │ └──(409: begun before)──► ask ──(complete)────────────▲
//     └──(drop)──────────────────► ▲ │                        │
//                                  │ └──(offset)──► continue ─┘
//           (complete, or expired) │                ▲     │
//                                  └── look ─(offset)     │
//                                       ▲────(drop)───────┘
//
// That an upload is complete is believed only of an answer to its key: the service gives none for
// files that were removed since, and stores them anew.
//
// What was committed and is not what the file holds is deleted there; if the link does not carry
// that now, with a later upload, also after a restart. Until then it is nobody's result. What was
// committed and was all of a file that is gone since stays there: it may be the last copy.
//
// Errors: as Failure; the file stays as it is. Retry: safe, an upload that the service has already
// committed is found again by its key.
class Uploads
{
public:
    explicit Uploads(ApiClient& api, std::string journalFolder = {},
                     WallClock wallTimeS = RealConsoleFacts().wallTimeS)
        : m_api(api),
          m_journal(journalFolder, wallTimeS),
          m_discards(std::move(journalFolder), std::move(wallTimeS))
    {}

    // The files that the upload made, in the order of the targets. The last thing it does is to see
    // that the file is still what was sent, because callers remove it next. `onReached` runs before
    // that, when the service has just answered: what else is due to it is sent there, not behind.
    Result<std::vector<FileRecord>> Send(const ApiCall& call, const std::string& localPath,
                                         const std::vector<std::int64_t>& targetInboxIds,
                                         const std::function<void()>& onReached = {});

private:
    enum class EStep {
        eBegin,    // key and whole content
        eAsk,      // key without content: where does it stand?
        eLook,     // the same, where its address is known
        eContinue, // the rest of the content
    };
    struct Job
    {
        ApiCall call;
        UploadFile file;
        NewUpload upload;
        std::string identity;
        UploadOrigin origin;
        EStep step = EStep::eBegin;
        std::string location;
        std::int64_t offsetBytes = 0;
        std::int64_t mostOffsetBytes = 0; // that the service ever acknowledged
        int fruitless = 0;                // attempts in a row that brought nothing
        int fruitlessAnswers = 0;         // of the service's, in a row
        Patience patience;
        bool hasSent = false; // content, in this call and under this key
        bool isOld = false;   // begun before this call

        explicit Job(const Patience& full) : patience(full) {}
    };

    static bool IsSending(EStep step) { return step == EStep::eBegin || step == EStep::eContinue; }

    static bool IsOver(const Job& job, const Failure& failure);

    Failure Open(Job& job, const std::string& localPath);
    Result<UploadRecord> RunToEnd(Job& job);
    Result<UploadRecord> Take(Job& job);
    void Advance(Job& job, const UploadRecord& stand);
    Failure Recover(Job& job, const Failure& failure);
    Failure WaitAfter(Job& job, const Failure& failure);
    void UseNewKey(Job& job);
    bool IsOwn(Job& job, const UploadRecord& result);
    Failure Verify(Job& job, const UploadRecord& result, Sha256::Digest& digest);

    ApiClient& m_api;
    UploadKeys m_keys;
    UploadJournal m_journal;
    Discards m_discards;
    LastInVain m_inVain;
};

} // namespace kesdk::impl
