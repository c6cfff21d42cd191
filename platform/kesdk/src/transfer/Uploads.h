// Sends local files to the service.
#pragma once

#include "client/ApiClient.h"
#include "http/ConsoleFacts.h"
#include "transfer/PendingDeletions.h"
#include "transfer/ResumableTransfer.h"
#include "transfer/UploadFile.h"
#include "transfer/UploadJournal.h"

#include <set>
#include <string>
#include <vector>

namespace kesdk::impl {

// One upload at a time, as a ResumableTransfer. Each upload has a random idempotency key, which the
// journal holds before the first byte is sent. The key is the upload's one identity: a later call
// and a restarted console ask for it.
//
//   begin ──(201, complete)──► result            begin:    key and all of the content
//     │                          ▲  │            ask:      key without content
//     │(answer lost, 409)        │  │            continue: the rest of the content
//     ▼                          │  │
//    ask ──(complete)────────────┤  └──(result of another upload)──► ask
//     │ ▲                        │
//     │ └──(answer lost, 409)─┐  │
//     └──(offset)──► continue ┴──┘               404 to continue: begin with a new key
//
// A result is this upload's only if the digest, the number of files and, where the answer has them,
// names, sizes and targets are those that were sent. The SDK believes and deletes no other file. If
// the key's own result has the right records but another digest, the file changed on the way: that
// copy is deleted, with a later upload if the link drops now.
//
// Errors: as Failure; the local file stays as it is. Retry: safe.
class Uploads
{
public:
    // A file that the service has committed. The digest is of the bytes that were read.
    struct Sent
    {
        UploadFile file;
        NewUpload upload;
        UploadOrigin origin;
        UploadRecord result;
        Sha256::Digest digest{};
    };

    Uploads(ApiClient& api, Timing& timing, const std::string& journalFolder = {},
            const WallClock& wallTimeS = RealConsoleFacts().wallTimeS)
        : m_api(api),
          m_timing(timing),
          m_journal(journalFolder, wallTimeS),
          m_pendingDeletions(journalFolder, wallTimeS)
    {}

    Result<Sent> Send(const ApiCall& call, const std::string& localPath,
                      const std::vector<std::int64_t>& targetInboxIds);
    // The last look at the file before the caller removes it: whether it still is what was sent.
    // The copy of a file that changed is deleted. The copy of a removed file stays: it may be the
    // last one. Gives the new files in the order of the targets.
    Result<std::vector<FileRecord>> Confirm(const ApiCall& call, const Sent& sent);

    // The caller removes a sent file after Confirm. Later calls remove the file's journal here.
    void ForgetRemovedFiles() { m_journal.ForgetRemovedFiles(); }

private:
    using Attempt = ResumableTransfer::Attempt;
    enum class EStep { eBegin, eAsk, eContinue };
    struct Job
    {
        ApiCall call;
        Sent sent;
        ResumableTransfer transfer;
        EStep step = EStep::eBegin;
        std::string location{}; // empty until an answer told it
        bool isResumed = false; // the journal had the key before this call
        bool hasSent = false;   // content of this call may have reached the service under this key
    };

    Failure Open(Job& job, const std::string& localPath);
    Attempt Step(Job& job);
    Result<UploadRecord> Request(Job& job);
    Attempt AfterFailure(Job& job, const Failure& failure);
    Attempt TakeOffset(Job& job, const UploadRecord& answer);
    Attempt TakeResult(Job& job, const UploadRecord& answer);
    Attempt AfterWrongCopy(Job& job, const UploadRecord& answer);
    void UseNewKey(Job& job);
    bool IsOfAnother(const Job& job, const UploadRecord& answer);
    void DeleteCopy(const ApiCall& call, const UploadOrigin& origin, const UploadRecord& result);

    ApiClient& m_api;
    Timing& m_timing;
    UploadJournal m_journal;
    PendingDeletions m_pendingDeletions;
    GivenUp m_givenUp;
    std::set<std::int64_t> m_resultIds; // files of this object's uploads
};

} // namespace kesdk::impl
