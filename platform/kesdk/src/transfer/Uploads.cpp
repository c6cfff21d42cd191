#include "transfer/Uploads.h"

#include "base/DigestText.h"
#include "base/Text.h"
#include "transfer/Paths.h"

#include <openssl/rand.h>

#include <algorithm>
#include <optional>

namespace kesdk::impl {

namespace {

std::string NewKey()
{
    Sha256::Digest random{};
    if (RAND_bytes(random.data(), static_cast<int>(random.size())) != 1)
        return {};
    return ToHex(random);
}

// The answer to the last PATCH has no records.
std::vector<FileRecord> RecordsOf(const Uploads::Sent& sent)
{
    if (!sent.result.files.empty())
        return sent.result.files;
    std::vector<FileRecord> files;
    for (std::size_t i = 0; i < sent.result.fileIds.size(); ++i) {
        FileRecord file;
        file.id = sent.result.fileIds[i];
        file.containerId = sent.upload.targetInboxIds[i];
        file.name = ToWide(sent.upload.nameUtf8);
        file.sizeBytes = sent.upload.lengthBytes;
        file.sha256Hex = ToHex(sent.digest);
        file.etag = '"' + file.sha256Hex + '"';
        files.push_back(std::move(file));
    }
    return files;
}

// Whether the answer's records are of files with this name, size and targets.
bool HasRecordsOf(const NewUpload& upload, const UploadRecord& answer)
{
    const std::optional<Sha256::Digest> digest = FromReprDigest(answer.reprDigest);
    if (!digest || answer.files.size() != upload.targetInboxIds.size())
        return false;
    for (std::size_t i = 0; i < answer.files.size(); ++i) {
        const FileRecord& file = answer.files[i];
        if (file.id != answer.fileIds[i] || file.containerId != upload.targetInboxIds[i] ||
            file.name != ToWide(upload.nameUtf8) || file.sizeBytes != upload.lengthBytes ||
            file.sha256Hex != ToHex(*digest))
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

Result<Uploads::Sent> Uploads::Send(const ApiCall& call, const std::string& localPath,
                                    const std::vector<std::int64_t>& targetInboxIds)
{
    Job job{call, {}, {m_timing, m_givenUp, call.abort}};
    job.call.policy = PolicyOf(ECall::eContent);
    job.sent.upload.targetInboxIds = targetInboxIds;
    if (Failure failure = Open(job, localPath); failure.IsSet())
        return failure;
    const Failure failure = job.transfer.Run([&] { return Step(job); });
    if (!failure.IsSet())
        return std::move(job.sent);
    // While the outcome is unknown the journal stays: its key finds what the service may have.
    const bool mayHaveBegun = job.isResumed || job.hasSent || !job.location.empty();
    if (failure.Is(EErrorCode::eFileChanged) || (IsRefusal(failure) && !mayHaveBegun))
        m_journal.Forget(job.sent.origin);
    return failure;
}

Result<std::vector<FileRecord>> Uploads::Confirm(const ApiCall& call, const Sent& sent)
{
    const bool isUnchanged = sent.file.IsUnchanged();
    const bool isRemoved = !isUnchanged && sent.file.IsRemoved();
    if (isUnchanged || (isRemoved && sent.file.IsContentUnchanged())) {
        m_journal.Finish(sent.origin);
        return RecordsOf(sent);
    }
    if (isRemoved)
        m_journal.Forget(sent.origin);
    else
        DeleteCopy(call, sent.origin, sent.result);
    return Failure(EErrorCode::eFileChanged, "the file changed while it was sent");
}

Failure Uploads::Open(Job& job, const std::string& localPath)
{
    Sent& sent = job.sent;
    if (Failure failure = sent.file.Open(localPath); failure.IsSet())
        return failure;
    sent.upload.nameUtf8 = NameOf(localPath);
    sent.upload.lengthBytes = sent.file.SizeBytes();
    const timespec modified = sent.file.ModifiedAt();
    // Without the service's address, which may change: no other service knows a random key.
    const std::string accountUserId = job.call.account.substr(job.call.account.rfind('\n') + 1);
    sent.origin = {accountUserId,   localPath,        sent.file.SizeBytes(),
                   modified.tv_sec, modified.tv_nsec, sent.upload.targetInboxIds};
    if (const std::optional<std::string> key = m_journal.Find(sent.origin)) {
        sent.upload.idempotencyKey = *key;
        job.isResumed = true;
        job.step = EStep::eAsk;
    } else {
        UseNewKey(job);
    }
    return {};
}

Uploads::Attempt Uploads::Step(Job& job)
{
    const Result<UploadRecord> answer = Request(job);
    if (job.sent.file.ReadFailure().IsSet())
        return {true, job.sent.file.ReadFailure()};
    if (!answer)
        return AfterFailure(job, answer.failure);
    job.hasSent = job.hasSent || job.step != EStep::eAsk;
    return answer.value.isComplete ? TakeResult(job, answer.value) : TakeOffset(job, answer.value);
}

Result<UploadRecord> Uploads::Request(Job& job)
{
    Sent& sent = job.sent;
    if (job.step == EStep::eAsk)
        return m_api.BeginUpload(job.call, sent.upload, nullptr);
    const bool begins = job.step == EStep::eBegin;
    const std::int64_t offset = begins ? 0 : job.transfer.OffsetBytes();
    const Clock::Time beforeDigest = m_timing.Now();
    if (Failure failure = sent.file.StartAt(offset, job.call.abort); failure.IsSet())
        return failure;
    job.transfer.Extend(m_timing.Now() - beforeDigest);
    if (!sent.file.IsContentUnchanged())
        return Failure(EErrorCode::eFileChanged, "the file changed before all of it was sent");
    const Clock::Time begin = m_timing.Now();
    auto answer = begins ? m_api.BeginUpload(job.call, sent.upload, &sent.file)
                         : m_api.ContinueUpload(job.call, job.location, offset, sent.file);
    if (!answer)
        job.transfer.NoteSent(begin);
    return answer;
}

Uploads::Attempt Uploads::AfterFailure(Job& job, const Failure& failure)
{
    const bool isConflict = failure.Is(EErrorCode::eConflict);
    if (isConflict || (failure.Is(EErrorCode::eNotFound) && job.step == EStep::eContinue)) {
        job.transfer.CountUselessAnswer();
        // The key belongs to another upload, or the upload expired; else its offset is another.
        if (!isConflict || job.step == EStep::eAsk)
            UseNewKey(job);
        else
            job.step = EStep::eAsk;
        return {};
    }
    const bool wasSent = job.step != EStep::eAsk && MayPass(failure) && !WasNeverSent(failure);
    job.hasSent = job.hasSent || wasSent;
    if (job.step == EStep::eContinue || wasSent)
        job.step = EStep::eAsk;
    return {false, failure};
}

Uploads::Attempt Uploads::TakeOffset(Job& job, const UploadRecord& answer)
{
    const bool isMoved = !answer.location.empty() && answer.location != job.location;
    const bool isForeign = isMoved && job.step == EStep::eContinue;
    if (isForeign || answer.offsetBytes > job.sent.upload.lengthBytes) {
        job.transfer.CountUselessAnswer();
        job.step = EStep::eAsk;
        return {};
    }
    if (isMoved) {
        job.location = answer.location;
        job.transfer.StartOver();
    }
    if (job.transfer.Reach(answer.offsetBytes))
        m_journal.Renew(job.sent.origin); // the service too keeps it for a week from now
    else if (job.step == EStep::eContinue || job.location.empty())
        job.transfer.CountUselessAnswer();
    job.step = job.location.empty() ? EStep::eAsk : EStep::eContinue;
    return {};
}

Uploads::Attempt Uploads::TakeResult(Job& job, const UploadRecord& answer)
{
    Sent& sent = job.sent;
    const bool isPendingDeletion = m_pendingDeletions.Contains(job.call.account, answer.fileIds);
    if (!IsAborted(job.call.abort))
        m_pendingDeletions.Run(m_api, m_timing, job.call);
    const Result<Sha256::Digest> digest = sent.file.Digest(job.call.abort);
    if (!digest)
        return {true, digest.failure};
    job.transfer.RestartDeadline(); // the service answered, and the digest took its time
    const bool hasRecords = HasRecordsOf(sent.upload, answer);
    const bool isOfAnother = isPendingDeletion || IsOfAnother(job, answer);
    if (!isOfAnother && answer.reprDigest == ToReprDigest(digest.value) &&
        (hasRecords || answer.files.empty())) {
        sent.result = answer;
        sent.digest = digest.value;
        m_resultIds.insert(answer.fileIds.begin(), answer.fileIds.end());
        return {true, {}};
    }
    job.transfer.CountUselessAnswer();
    const bool wasAsked = job.step == EStep::eAsk;
    job.step = EStep::eAsk;
    if (wasAsked && isOfAnother)
        UseNewKey(job);
    else if (!isOfAnother && hasRecords && (wasAsked || IsAborted(job.call.abort)))
        return AfterWrongCopy(job, answer);
    return {};
}

// The key's own result has another digest than the file.
Uploads::Attempt Uploads::AfterWrongCopy(Job& job, const UploadRecord& answer)
{
    if (job.hasSent) {
        DeleteCopy(job.call, job.sent.origin, answer);
        if (!job.isResumed || !job.sent.file.IsUnchanged())
            return {true, Failure(EErrorCode::eFileChanged, "the service has another content")};
    }
    // An earlier call sent an earlier content of the file, all of it or its beginning.
    UseNewKey(job);
    return {};
}

void Uploads::UseNewKey(Job& job)
{
    job.location.clear();
    job.transfer.StartOver();
    job.hasSent = false;
    job.isResumed = false;
    job.step = EStep::eBegin;
    job.sent.upload.idempotencyKey = NewKey();
    m_journal.Keep(job.sent.origin, job.sent.upload.idempotencyKey);
}

// Whether a middlebox has repeated the answer to another upload.
bool Uploads::IsOfAnother(const Job& job, const UploadRecord& answer)
{
    const auto isKnown = [this](std::int64_t id) { return m_resultIds.count(id) > 0; };
    return answer.fileIds.size() != job.sent.upload.targetInboxIds.size() ||
           std::any_of(answer.fileIds.begin(), answer.fileIds.end(), isKnown);
}

void Uploads::DeleteCopy(const ApiCall& call, const UploadOrigin& origin,
                         const UploadRecord& result)
{
    const std::optional<Sha256::Digest> digest = FromReprDigest(result.reprDigest);
    m_pendingDeletions.Add(call.account, result.fileIds, digest ? '"' + ToHex(*digest) + '"' : "");
    // The network comes last: after a power cut no journal leads to a copy that is still to be
    // deleted.
    m_journal.Forget(origin);
    m_pendingDeletions.Run(m_api, m_timing, call);
}

} // namespace kesdk::impl
