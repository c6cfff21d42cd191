#include "transfer/Uploads.h"

#include "base/DigestText.h"
#include "base/Text.h"
#include "transfer/Paths.h"

#include <openssl/rand.h>

#include <optional>
#include <utility>

namespace kesdk::impl {

namespace {

// Whether the answer's records are of files with this name, size and targets, and one content.
bool HasRecordsOf(const NewUpload& upload, const UploadRecord& answer)
{
    if (answer.files.size() != upload.targetInboxIds.size() || answer.files.empty())
        return false;
    for (std::size_t i = 0; i < answer.files.size(); ++i) {
        const FileRecord& file = answer.files[i];
        if (file.containerId != upload.targetInboxIds[i] || file.name != ToWide(upload.nameUtf8) ||
            file.sizeBytes != upload.lengthBytes ||
            file.sha256Hex != answer.files.front().sha256Hex)
            return false;
    }
    return true;
}

// Whether the service takes no such upload.
bool IsRefusal(const Failure& failure)
{
    return failure.Is(EErrorCode::eNotFound, EErrorCode::eForbidden, EErrorCode::eTooLarge,
                      EErrorCode::eRefusedByService);
}

} // namespace

Result<Uploads::UploadState> Uploads::Send(const ApiCall& call, const std::string& localPath,
                                           const std::vector<std::int64_t>& targetInboxIds)
{
    m_journal.ForgetRemovedFiles(FolderOf(localPath));
    Job job{call, {}, {m_timing, m_givenUpAt, call.abort, 0, call.report}};
    job.call.policy = PolicyOf(ECall::eContent);
    job.state.upload.targetInboxIds = targetInboxIds;
    if (Failure failure = Open(job, localPath); failure.IsSet())
        return failure;
    const Failure failure = job.transfer.Run([&] { return Step(job); });
    if (!failure.IsSet())
        return std::move(job.state);
    // After `begin` the service may have the upload: the journal's key finds it.
    const bool isRefused = job.step == EStep::eBegin && IsRefusal(failure);
    if (isRefused || failure.Is(EErrorCode::eFileChanged))
        m_journal.Forget(job.state.origin);
    return failure;
}

Result<std::vector<FileRecord>> Uploads::Confirm(const ApiCall& call, const UploadState& state)
{
    const bool isUnchanged = state.file.IsUnchanged();
    const bool isRemoved = !isUnchanged && state.file.IsRemoved();
    if (isUnchanged || (isRemoved && state.file.IsContentUnchanged())) {
        m_journal.Finish(state.origin);
        return state.result.files;
    }
    if (!isRemoved && IsAnsweredAgain(call, state))
        DeleteCopy(call, state, state.result);
    else
        m_journal.Forget(state.origin);
    return Failure(EErrorCode::eFileChanged, "the file changed while it was sent");
}

Failure Uploads::Open(Job& job, const std::string& localPath)
{
    UploadState& state = job.state;
    if (Failure failure = state.file.Open(localPath); failure.IsSet())
        return failure;
    state.upload.nameUtf8 = NameOf(localPath);
    state.upload.lengthBytes = state.file.SizeBytes();
    job.call.report.Begin(kesdkimpl::EDirection::eUpload, state.upload.nameUtf8,
                          state.upload.lengthBytes);
    const timespec modified = state.file.ModifiedAt();
    // The service's address is left out: it may change, and no other service knows a random key.
    state.origin = {UserIdOf(job.call.account), localPath,
                    state.file.SizeBytes(),     modified.tv_sec,
                    modified.tv_nsec,           state.upload.targetInboxIds};
    const Result<std::string> key = m_journal.RemoveOtherAndFind(state.origin);
    if (!key || key.value.empty())
        return key ? UseNewKey(job) : key.failure;
    state.upload.idempotencyKey = key.value;
    job.isResumed = true;
    job.step = EStep::eAsk;
    return {};
}

Uploads::Attempt Uploads::Step(Job& job)
{
    const Result<UploadRecord> answer = Request(job);
    if (job.state.file.ReadFailure().IsSet())
        return {true, job.state.file.ReadFailure()};
    if (!answer)
        return AfterFailure(job, answer.failure);
    // An answer to PATCH names no upload, so nothing in it is believed.
    if (job.step == EStep::eContinue)
        return AskAgain(job);
    const bool isComplete = !answer.value.reprDigest.empty();
    return isComplete ? TakeResult(job, answer.value) : TakeOffset(job, answer.value);
}

Result<UploadRecord> Uploads::Request(Job& job)
{
    UploadState& state = job.state;
    if (job.step == EStep::eAsk)
        return m_api.BeginUpload(job.call, state.upload, nullptr);
    const bool begins = job.step == EStep::eBegin;
    const std::int64_t offset = begins ? 0 : job.transfer.OffsetBytes();
    const Clock::Time beforeDigest = m_timing.Now();
    if (Failure failure = state.file.StartAt(offset, job.call.abort); failure.IsSet())
        return failure;
    job.transfer.Extend(m_timing.Now() - beforeDigest);
    if (!state.file.IsContentUnchanged())
        return Failure(EErrorCode::eFileChanged, "the file changed before all of it was sent");
    const Clock::Time start = m_timing.Now();
    auto answer = begins ? m_api.BeginUpload(job.call, state.upload, &state.file)
                         : m_api.ContinueUpload(job.call, job.location, offset, state.file);
    if (!answer && !answer.failure.WasNeverSent())
        job.transfer.NoteBytesSent(start);
    return answer;
}

Uploads::Attempt Uploads::AfterFailure(Job& job, const Failure& failure)
{
    if (failure.Is(EErrorCode::eConflict))
        return AskAgain(job, failure);
    // The upload has expired. The service begins another one when it is asked with the key.
    if (failure.Is(EErrorCode::eNotFound) && job.step == EStep::eContinue)
        return AskAgain(job);
    if (job.step == EStep::eContinue || (MayPass(failure) && !failure.WasNeverSent()))
        job.step = EStep::eAsk;
    return {false, failure};
}

Uploads::Attempt Uploads::TakeOffset(Job& job, const UploadRecord& answer)
{
    if (!NoteLocation(job, answer.location) || answer.offsetBytes > job.state.upload.lengthBytes)
        return AskAgain(job);
    if (job.transfer.Reach(answer.offsetBytes))
        m_journal.Renew(job.state.origin); // from now, the service keeps the upload for a week, too
    job.step = EStep::eContinue;
    return {};
}

Uploads::Attempt Uploads::TakeResult(Job& job, const UploadRecord& answer)
{
    UploadState& state = job.state;
    const bool isPendingDeletion = m_pendingDeletions.Contains(job.call, answer.files);
    if (!IsAborted(job.call.abort))
        m_pendingDeletions.Run(m_api, m_timing, job.call);
    job.call.report.SetVerifying();
    const Result<Sha256::Digest> digest = state.file.Digest(job.call.abort);
    if (!digest)
        return {true, digest.failure};
    job.transfer.RestartDeadline(); // the service answered, and the digest took its time
    if (!HasRecordsOf(state.upload, answer) || IsOfAnotherUpload(job, answer.location))
        return AskAgain(job);
    if (isPendingDeletion || answer.reprDigest != ToReprDigest(digest.value) ||
        answer.files.front().sha256Hex != ToHex(digest.value))
        return AfterWrongResult(job, answer, isPendingDeletion);
    m_keys[answer.location] = state.upload.idempotencyKey;
    state.result = answer;
    return {true, {}};
}

Uploads::Attempt Uploads::AfterWrongResult(Job& job, const UploadRecord& answer,
                                           bool isPendingDeletion)
{
    if (!NoteLocation(job, answer.location))
        return AskAgain(job);
    if (!isPendingDeletion && !job.state.file.IsContentUnchanged()) {
        DeleteCopy(job.call, job.state, answer);
        return {true, Failure(EErrorCode::eFileChanged, "the service has another content")};
    }
    // An earlier call sent an earlier content of the file, all of it or its beginning.
    if (job.isResumed) {
        const Failure failure = UseNewKey(job);
        return {failure.IsSet(), failure};
    }
    return AskAgain(job, Failure(EErrorCode::eServiceError, "the service has another content"));
}

// `reason` is the upload's failure if all further answers are useless too.
Uploads::Attempt Uploads::AskAgain(Job& job, const Failure& reason)
{
    job.transfer.CountUselessAnswer(reason);
    job.step = EStep::eAsk;
    return {};
}

Failure Uploads::UseNewKey(Job& job)
{
    Sha256::Digest random{};
    if (RAND_bytes(random.data(), static_cast<int>(random.size())) != 1)
        return Failure(EErrorCode::eInternal, "no random bytes for the upload's key");
    job.location.clear();
    job.isResumed = false;
    job.transfer.StartOver();
    job.step = EStep::eBegin;
    job.state.upload.idempotencyKey = ToHex(random);
    m_journal.Keep(job.state.origin, job.state.upload.idempotencyKey);
    return {};
}

bool Uploads::IsOfAnotherUpload(const Job& job, const std::string& location) const
{
    const auto known = m_keys.find(location);
    return location.empty() ||
           (known != m_keys.end() && known->second != job.state.upload.idempotencyKey);
}

// Notes the location of an answer to the key. Returns whether the last two answers named it.
bool Uploads::NoteLocation(Job& job, const std::string& location)
{
    if (IsOfAnotherUpload(job, location) || std::exchange(job.location, location) != location)
        return false;
    m_keys[location] = job.state.upload.idempotencyKey;
    return true;
}

// Whether a second answer to the key gives the same result. Blocks for 2 s at most, also when the
// call is aborted.
bool Uploads::IsAnsweredAgain(const ApiCall& call, const UploadState& state)
{
    ApiCall ask = call;
    ask.policy = PolicyOf(ECall::eAskAgain);
    ask.abort = nullptr;
    const Result<UploadRecord> answer = m_api.BeginUpload(ask, state.upload, nullptr);
    return answer && answer.value.location == state.result.location &&
           answer.value.files == state.result.files;
}

void Uploads::DeleteCopy(const ApiCall& call, const UploadState& state, const UploadRecord& copy)
{
    m_pendingDeletions.Add(call, copy.files);
    // The journals change before the network is used: after a power cut no upload's journal leads
    // to a copy that is still to be deleted.
    m_journal.Forget(state.origin);
    m_pendingDeletions.Run(m_api, m_timing, call);
}

} // namespace kesdk::impl
