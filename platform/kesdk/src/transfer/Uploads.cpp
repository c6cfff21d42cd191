// Sends local files to the service.
#include "transfer/Uploads.h"

#include "base/DigestText.h"
#include "base/Text.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace kesdk::impl {

namespace {

std::string NameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

// The records of the files that an upload made. Its last reply has a body with them only when it
// was made in one request.
std::vector<FileRecord> RecordsOf(const NewUpload& upload, const UploadRecord& result,
                                  const Sha256::Digest& digest)
{
    if (result.files.size() == result.fileIds.size())
        return result.files;
    std::vector<FileRecord> files;
    for (std::size_t i = 0; i < result.fileIds.size(); ++i) {
        FileRecord file;
        file.id = result.fileIds[i];
        file.containerId = upload.targetInboxIds[i];
        file.name = ToWide(upload.nameUtf8);
        file.sizeBytes = upload.lengthBytes;
        file.sha256Hex = ToHex(digest);
        file.etag = '"' + file.sha256Hex + '"';
        files.push_back(std::move(file));
    }
    return files;
}

// Of the files that an upload made, which all hold the same; empty if nobody told.
std::string EtagOf(const UploadRecord& result)
{
    const std::optional<Sha256::Digest> digest = FromReprDigest(result.reprDigest);
    return digest ? '"' + ToHex(*digest) + '"' : std::string();
}

} // namespace

Result<std::vector<FileRecord>> Uploads::Send(const ApiCall& call, const std::string& localPath,
                                              const std::vector<std::int64_t>& targetInboxIds,
                                              const std::function<void()>& onReached)
{
    const Clock::Time now = m_api.Http().Now();
    Job job(Patience(now, m_inVain.Counts(now)));
    job.call = call;
    job.call.policy.attempts = 1; // repeating is done here, where the offsets are known
    job.upload.targetInboxIds = targetInboxIds;
    if (const Failure failure = Open(job, localPath); failure.IsSet())
        return failure;
    for (;;) {
        const Result<UploadRecord> result = RunToEnd(job);
        m_inVain.See(result.failure, m_api.Http().Now());
        if (!result) {
            if (IsOver(job, result.failure))
                m_journal.Forget(job.origin);
            return result.failure;
        }
        const bool isOwed = m_discards.Owes(job.call.account, result.value.fileIds);
        if (!IsAborted(job.call.abort))
            m_discards.Settle(m_api, job.call);
        // A copy that is to go, however right it is: nobody may take it for what was sent.
        if (isOwed) {
            if (++job.fruitlessAnswers >= kMostFruitlessAnswers)
                return Failure(EErrorCode::eBadReply, "the upload's result is to be deleted");
            UseNewKey(job);
            job.patience.SeeProgress(m_api.Http().Now());
            continue;
        }
        if (onReached)
            onReached();
        Sha256::Digest digest{};
        const Failure failure = Verify(job, result.value, digest);
        if (!failure.IsSet()) {
            m_keys.Spent(job.identity);
            m_journal.Forget(job.origin);
            return RecordsOf(job.upload, result.value, digest);
        }
        // Something else was once sent under this key: it is none of this call's business. Or this
        // went on with an upload of what the file held then.
        const bool isAnothers =
            failure.Is(EErrorCode::eFileChanged) && (job.isOld || !IsOwn(job, result.value));
        if (!isAnothers || !job.file.IsUnchanged())
            return failure;
        UseNewKey(job);
        job.patience.SeeProgress(m_api.Http().Now()); // it answered; the digest took the time
    }
}

// Whether the journal has served. As long as the outcome is unknown it has not: its key finds again
// what the service may hold.
bool Uploads::IsOver(const Job& job, const Failure& failure)
{
    const bool mayHaveBegun = job.hasSent || job.isOld || !job.location.empty();
    return failure.Is(EErrorCode::eFileChanged) || (IsRefusal(failure) && !mayHaveBegun);
}

Failure Uploads::Open(Job& job, const std::string& localPath)
{
    if (Failure failure = job.file.Open(localPath); failure.IsSet())
        return failure;
    job.upload.nameUtf8 = NameOf(localPath);
    job.upload.lengthBytes = job.file.SizeBytes();
    job.identity = job.file.Identity();
    for (const std::int64_t id : job.upload.targetInboxIds)
        job.identity += '\n' + std::to_string(id);
    const timespec modified = job.file.ModifiedAt();
    job.origin = {job.call.account, localPath,        job.file.SizeBytes(),
                  modified.tv_sec,  modified.tv_nsec, job.upload.targetInboxIds};
    if (const std::optional<BegunUpload> begun = m_journal.Find(job.origin)) {
        job.upload.idempotencyKey = begun->key;
        job.location = begun->location;
        job.step = job.location.empty() ? EStep::eAsk : EStep::eLook;
        job.isOld = true;
    } else {
        job.upload.idempotencyKey = m_keys.KeyOf(job.identity);
        job.step = m_keys.MayHaveBegun(job.identity) ? EStep::eAsk : EStep::eBegin;
    }
    return {};
}

Result<UploadRecord> Uploads::RunToEnd(Job& job)
{
    for (;;) {
        Result<UploadRecord> stand = Take(job);
        if (stand && stand.value.isComplete && job.step == EStep::eLook) {
            job.step = EStep::eAsk;
        } else if (stand && stand.value.isComplete) {
            if (stand.value.fileIds.size() == job.upload.targetInboxIds.size())
                return stand;
            return Failure(EErrorCode::eBadReply, "an upload made another number of files");
        } else if (stand) {
            Advance(job, stand.value);
            if (job.fruitlessAnswers >= kMostFruitlessAnswers)
                return Failure(EErrorCode::eBadReply, "the upload does not advance");
        } else if (const Failure failure = Recover(job, stand.failure); failure.IsSet()) {
            return failure;
        }
    }
}

Result<UploadRecord> Uploads::Take(Job& job)
{
    Result<UploadRecord> result;
    if (job.step == EStep::eAsk) {
        result = m_api.BeginUpload(job.call, job.upload, nullptr);
    } else if (job.step == EStep::eLook) {
        result = m_api.AskUpload(job.call, job.location);
    } else {
        const bool begins = job.step == EStep::eBegin;
        const std::int64_t offset = begins ? 0 : job.offsetBytes;
        const Clock::Time beforeDigest = m_api.Http().Now();
        if (const Failure failure = job.file.StartAt(offset, job.call.abort); failure.IsSet())
            return failure;
        job.patience.Extend(m_api.Http().Now() - beforeDigest);
        if (begins)
            m_journal.Keep(job.origin, {job.upload.idempotencyKey, {}});
        m_keys.Begun(job.identity);
        const Clock::Time begin = m_api.Http().Now();
        result = begins ? m_api.BeginUpload(job.call, job.upload, &job.file)
                        : m_api.ContinueUpload(job.call, job.location, offset, job.file);
        // The transport ends what has stalled: until then bytes left.
        const Clock::Time moved = m_api.Http().Now() - job.call.limits.stallWindow;
        if (moved > begin)
            job.patience.SeePossibleProgress(moved);
    }
    if (job.file.ReadFailure().IsSet())
        return job.file.ReadFailure();
    if (job.step == EStep::eAsk)
        result.value.isRepeated = true; // whatever is complete by now was so before
    job.hasSent = job.hasSent || (IsSending(job.step) && result && !result.value.isRepeated);
    return result;
}

// The service has less than all of it: the rest is next.
void Uploads::Advance(Job& job, const UploadRecord& stand)
{
    if (!stand.location.empty() && stand.location != job.location) {
        job.location = stand.location;
        job.mostOffsetBytes = 0; // another upload: what the one before had does not count
        m_journal.Keep(job.origin, {job.upload.idempotencyKey, job.location});
    }
    job.offsetBytes = stand.offsetBytes;
    const bool hasGrown = stand.offsetBytes > job.mostOffsetBytes;
    job.mostOffsetBytes = std::max(job.mostOffsetBytes, stand.offsetBytes);
    // Being told where it stands is not yet progress, but no lost attempt either.
    if (hasGrown) {
        m_journal.Renew(job.origin);
        job.fruitless = 0;
        job.fruitlessAnswers = 0;
        job.patience.SeeProgress(m_api.Http().Now());
    } else {
        const bool wasInVain = job.patience.SeeNoProgress();
        if (wasInVain || job.step == EStep::eContinue || job.location.empty())
            ++job.fruitlessAnswers;
    }
    job.step = job.location.empty() ? EStep::eAsk : EStep::eContinue;
}

// Chooses the next step after a failure, and waits before it where that may help.
Failure Uploads::Recover(Job& job, const Failure& failure)
{
    const bool isConflict = failure.Is(EErrorCode::eConflict);
    const bool isExpired = failure.Is(EErrorCode::eNotFound) && !job.location.empty() &&
                           (job.step == EStep::eContinue || job.step == EStep::eLook);
    if (!isConflict && !isExpired)
        return WaitAfter(job, failure);
    if (++job.fruitlessAnswers >= kMostFruitlessAnswers)
        return failure;
    if (isExpired && job.step == EStep::eLook) {
        job.location.clear(); // by its key its result may still be known
        job.step = EStep::eAsk;
    } else if (isExpired || job.step == EStep::eAsk) {
        UseNewKey(job);
    } else {
        job.step = job.location.empty() ? EStep::eAsk : EStep::eLook;
    }
    return {};
}

Failure Uploads::WaitAfter(Job& job, const Failure& failure)
{
    if (const Failure end = job.patience.Judge(failure, m_api.Http().Now()); end.IsSet())
        return end;
    job.hasSent = job.hasSent || (IsSending(job.step) && !WasNeverSent(failure));
    if (!m_api.Http().Pause(kTransferPolicy, ++job.fruitless, failure.retryAfter, job.call.abort))
        return Failure(EErrorCode::eAborted);
    if (!job.location.empty())
        job.step = EStep::eLook;
    else if (job.step != EStep::eBegin || !WasNeverSent(failure))
        job.step = EStep::eAsk;
    return {};
}

void Uploads::UseNewKey(Job& job)
{
    m_keys.Spent(job.identity);
    m_journal.Forget(job.origin);
    job.upload.idempotencyKey = m_keys.KeyOf(job.identity);
    job.location.clear();
    job.mostOffsetBytes = 0;
    job.hasSent = false;
    job.isOld = false;
    job.step = EStep::eBegin;
}

// Whether this call made the files. Those that an earlier request made are this call's only if it
// has sent content, whose answer was lost, and they hold just that.
bool Uploads::IsOwn(Job& job, const UploadRecord& result)
{
    if (!result.isRepeated)
        return true;
    const Result<Sha256::Digest> computed = job.file.Digest(job.call.abort);
    return job.hasSent && computed && result.reprDigest == ToReprDigest(computed.value);
}

// What was committed must be what was read, and what was read must still be what is there: the
// caller may remove the file next. Or nothing is there any more: then it has been kept in time.
Failure Uploads::Verify(Job& job, const UploadRecord& result, Sha256::Digest& digest)
{
    const Result<Sha256::Digest> computed = job.file.Digest(job.call.abort);
    Failure failure = computed.failure;
    bool isLastCopy = false;
    if (computed) {
        digest = computed.value;
        const bool isCommitted = result.reprDigest == ToReprDigest(digest);
        const bool isUnchanged = job.file.IsUnchanged();
        isLastCopy = isCommitted && !isUnchanged && job.file.IsRemoved();
        if (!isCommitted || !(isUnchanged || (isLastCopy && job.file.IsContentUnchanged())))
            failure = Failure(EErrorCode::eFileChanged, "what the service committed is not what "
                                                        "is in the file now");
    }
    if (failure.Is(EErrorCode::eFileChanged) && IsOwn(job, result)) {
        // The network comes last: should the power go in the middle of it, nothing may lead a
        // restarted console to a copy that is still to be deleted.
        if (!isLastCopy)
            m_discards.Owe(job.call.account, result.fileIds, EtagOf(result));
        m_keys.Spent(job.identity);
        m_journal.Forget(job.origin);
        m_discards.Settle(m_api, job.call);
    }
    return failure;
}

} // namespace kesdk::impl
