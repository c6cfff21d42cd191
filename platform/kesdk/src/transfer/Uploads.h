// Sends local files to the service.
#pragma once

#include "client/ApiClient.h"
#include "http/ConsoleFacts.h"
#include "transfer/PendingDeletions.h"
#include "transfer/ResumableTransfer.h"
#include "transfer/UploadFile.h"
#include "transfer/UploadJournal.h"

#include <map>
#include <string>
#include <vector>

namespace kesdk::impl {

// One upload at a time, as a ResumableTransfer. Each upload has a random idempotency key, which the
// journal holds before the first byte is sent. The key is the upload's one identity: a later call
// and a restarted console ask for it.
//
//   begin     sends the key and all of the content
//   ask       sends the key without content
//   continue  sends the rest of the content to the upload's location
//
//   step      answer                                              next step
//   begin     none, and the request was never sent                begin
//   begin     none                                                ask
//   ask       none                                                ask
//   continue  none                                                ask
//   begin     an offset                                           ask, or continue: see below
//   ask       an offset                                           ask, or continue: see below
//   continue  an offset in the file, at the upload's location     continue
//   continue  another offset or location                          ask
//   any       409; 404 or 410 to continue                         ask
//   any       the result, with the right digest and records       end
//   any       another result                                      ask
//   ask       another result at the upload's location:
//               it is a pending deletion                          begin, with a new key
//               the file changed while it was sent                end; the copy is deleted
//               an earlier call sent another content              begin, with a new key
//   any       another failure                                     end
//
// After three changes of the location or the key the upload ends, and the journal stays.
//
// A broken middlebox may repeat the answer to another upload. So a location is this upload's only
// if two answers to its key name it, and no other key of this process has it. Bytes are sent only
// there. A copy is deleted only if its location is the upload's and the file has changed.
//
// Errors: as Failure; the local file stays as it is. Retry: safe.
class Uploads
{
public:
    // Send opens the file, and sets the result when the service has committed it.
    struct UploadState
    {
        UploadFile file;
        NewUpload upload;
        UploadOrigin origin;
        UploadRecord result;
    };

    Uploads(ApiClient& api, Timing& timing, const std::string& journalFolder = {},
            const WallClock& wallTimeS = RealConsoleFacts().wallTimeS)
        : m_api(api),
          m_timing(timing),
          m_journal(journalFolder, wallTimeS),
          m_pendingDeletions(journalFolder, wallTimeS)
    {}

    Result<UploadState> Send(const ApiCall& call, const std::string& localPath,
                             const std::vector<std::int64_t>& targetInboxIds);
    // The last look at the file before the caller removes it: whether it still is what was sent.
    // The copy of a file that changed is deleted. The copy of a removed file stays: it may be the
    // last one. Gives the new files in the order of the targets. Blocks only if the file changed.
    Result<std::vector<FileRecord>> Confirm(const ApiCall& call, const UploadState& state);

private:
    using Attempt = ResumableTransfer::Attempt;
    enum class EStep { eBegin, eAsk, eContinue };
    struct Job
    {
        ApiCall call;
        UploadState state;
        ResumableTransfer transfer;
        EStep step = EStep::eBegin;
        std::string location{};     // of the upload; empty until two answers named it
        std::string lastLocation{}; // that an answer named
        bool isResumed = false;     // the journal had the key before this call
        bool hasSent = false; // content of this call may have reached the service under this key
        int restarts = 0;     // how often another upload on the service took the place of this one
    };

    Failure Open(Job& job, const std::string& localPath);
    Attempt Step(Job& job);
    Result<UploadRecord> Request(Job& job);
    Attempt AfterFailure(Job& job, const Failure& failure);
    Attempt TakeOffset(Job& job, const UploadRecord& answer);
    Attempt TakeResult(Job& job, const UploadRecord& answer);
    Attempt AfterWrongResult(Job& job, const UploadRecord& answer, bool isPendingDeletion);
    Attempt AskAgain(Job& job, const Failure& reason = {});
    Failure UseNewKey(Job& job);
    bool IsOfAnotherUpload(const Job& job, const std::string& location) const;
    bool IsOwn(Job& job, const std::string& location);
    bool IsAnsweredAgain(const ApiCall& call, const UploadState& state);
    void DeleteCopy(const ApiCall& call, const UploadState& state, const UploadRecord& copy);

    ApiClient& m_api;
    Timing& m_timing;
    UploadJournal m_journal;
    PendingDeletions m_pendingDeletions;
    GivenUp m_givenUp;
    std::map<std::string, std::string> m_keys; // of this object's uploads, by location
};

} // namespace kesdk::impl
