// Sends local files to the service.
#pragma once

#include "client/ApiClient.h"
#include "transfer/PendingDeletions.h"
#include "transfer/ResumableTransfer.h"
#include "transfer/UploadFile.h"
#include "transfer/UploadJournal.h"

#include <map>
#include <optional>
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
//   step      answer                                       next step
//   begin     none, and the request was never sent         begin
//   any       none, or 429, 502, 503, 504                  ask
//   any       409; 404 or 410 to continue                  ask
//   continue  an offset or a result                        ask
//   begin     an offset                                    ask
//   ask       an offset in the file                        continue, at the answer's location
//   begin     the result, with the right digest            end
//   ask       the result, with the right digest            end
//   ask       a result with another digest, or a pending deletion:
//               the file changed while it was sent         end; the copy is deleted
//               an earlier call began the upload           begin, with a new key
//   any       another failure                              end
//
// A broken middlebox may repeat an answer to another upload. An answer to continue does not show
// which upload it belongs to, so only answers to the key are believed. An offset is believed if the
// last two answers name its location, and no other key of this process has that location. The same
// holds for a result before its copy is deleted or its key is given up. After any other answer the
// upload asks again.
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

    Uploads(ApiClient& api, Timing& timing, const std::string& journalFolder,
            const WallClock& wallTimeS)
        : m_api(api),
          m_timing(timing),
          m_journal(journalFolder, wallTimeS),
          m_pendingDeletions(journalFolder, wallTimeS)
    {}

    Result<UploadState> Send(const ApiCall& call, const std::string& localPath,
                             const std::vector<std::int64_t>& targetInboxIds);
    // Checks whether the file is still the file that was sent, because the caller removes the file
    // next. If the file changed, deletes its copy on the service, which blocks. If the file was
    // removed, the copy stays: it may be the last one. Gives the new files in the order of the
    // targets.
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
        std::string location{}; // in the last answer to the key
        bool isResumed = false; // the journal had the key before this call
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
    bool NoteLocation(Job& job, const std::string& location);
    bool IsAnsweredAgain(const ApiCall& call, const UploadState& state);
    void DeleteCopy(const ApiCall& call, const UploadState& state, const UploadRecord& copy);

    ApiClient& m_api;
    Timing& m_timing;
    UploadJournal m_journal;
    PendingDeletions m_pendingDeletions;
    std::optional<Clock::Time> m_givenUpAt;
    std::map<std::string, std::string> m_keys; // the keys of this object's uploads, by location
};

} // namespace kesdk::impl
