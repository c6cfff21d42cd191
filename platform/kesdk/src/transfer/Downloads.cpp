// Fetches files from the service.
#include "transfer/Downloads.h"

#include "base/DigestText.h"
#include "client/Problems.h"
#include "transfer/Paths.h"
#include "transfer/TransferPolicy.h"

#include <optional>
#include <string_view>

namespace kesdk::impl {

namespace {

// A name that could leave its folder, or that the operator could not have meant, is not served.
bool IsUsableServiceName(const std::wstring& name)
{
    constexpr std::wstring_view kForbidden(L"/\0", 2);
    return !name.empty() && name != L"." && name != L".." &&
           name.find_first_of(kForbidden) == std::wstring::npos;
}

// How far a download ever was. Bytes that come once more are no progress.
struct Progress
{
    Patience patience;
    std::int64_t mostBytes;
};

// Puts the content behind what is already there.
class PartSink : public BodySink
{
public:
    PartSink(PartFile& part, const FileRecord& file, Progress& progress, const RetryingClient& time)
        : m_part(part), m_file(file), m_progress(progress), m_time(time)
    {}

    bool Accept(const HttpResponse& head) override
    {
        if (!head.IsSuccess() || FailureOf(head).IsSet())
            return false;
        if (head.status == 206)
            m_fits = IsFromHere(head.Header("Content-Range"));
        else if (m_part.SizeBytes() > 0)
            m_fits = m_part.Restart(); // it cannot be resumed: all of it comes once more
        return true;
    }

    bool Write(const char* bytes, std::size_t sizeBytes) override
    {
        m_fits =
            m_fits && m_part.SizeBytes() + static_cast<std::int64_t>(sizeBytes) <= m_file.sizeBytes;
        if (!m_fits || !m_part.Write(bytes, sizeBytes))
            return false;
        if (m_part.SizeBytes() > m_progress.mostBytes) {
            m_progress.mostBytes = m_part.SizeBytes();
            m_progress.patience.SeeProgress(m_time.Now());
        }
        return true;
    }

    Failure OwnFailure() const
    {
        if (m_part.WriteFailure().IsSet())
            return m_part.WriteFailure();
        return m_fits ? Failure() : Failure(EErrorCode::eDamaged, "not the range asked for");
    }

private:
    bool IsFromHere(const std::string* contentRange) const
    {
        const std::string expected = "bytes " + std::to_string(m_part.SizeBytes()) + "-";
        return contentRange && contentRange->compare(0, expected.size(), expected) == 0;
    }

    PartFile& m_part;
    const FileRecord& m_file;
    Progress& m_progress;
    const RetryingClient& m_time;
    bool m_fits = true;
};

Failure AsFileGone(Failure failure)
{
    if (failure.Is(EErrorCode::eNotFound))
        failure.code = EErrorCode::eFileGone;
    return failure;
}

} // namespace

Failure Downloads::Fetch(const ApiCall& call, const FileRecord& file, const std::string& localPath)
{
    if (!IsUsableServiceName(file.name))
        return Failure(EErrorCode::eUnusableServiceName, "the service's name for the file");
    SweepOnce(localPath);
    PartFile part;
    const PartOrigin origin{call.account, file.id, file.etag, file.sizeBytes, file.sha256Hex};
    Failure failure = part.Open(localPath, origin, call.abort);
    if (!failure.IsSet()) {
        failure = FetchWhole(call, file, part);
        m_inVain.See(failure, m_api.Http().Now());
    }
    if (failure.IsSet()) {
        if (!IsWorthlessAfter(failure))
            part.Keep();
        return failure;
    }
    return part.Commit();
}

void Downloads::SweepOnce(const std::string& localPath)
{
    const std::string folder = FolderOf(localPath);
    const std::int64_t nowS = m_wallTimeS();
    if (IsClockWrong(nowS, std::nullopt))
        return; // another time
    if (m_sweptFolders.insert(folder).second)
        RemoveStaleParts(folder, nowS);
}

Failure Downloads::FetchWhole(const ApiCall& call, const FileRecord& file, PartFile& part)
{
    for (;;) {
        if (Failure failure = FetchContent(call, file, part); failure.IsSet())
            return failure;
        const Result<Sha256::Digest> digest = part.Finish();
        if (!digest)
            return digest.failure;
        if (ToHex(digest.value) == file.sha256Hex)
            return {};
        // What an earlier run left may not have reached the disk whole.
        if (!part.IsResumed())
            return Failure(EErrorCode::eDamaged, "SHA-256 differs");
        if (!part.Restart())
            return part.WriteFailure();
    }
}

Failure Downloads::FetchContent(const ApiCall& call, const FileRecord& file, PartFile& part)
{
    ApiCall once = call;
    once.policy.attempts = 1; // repeating is done here, where the offset is known
    const Clock::Time now = m_api.Http().Now();
    Progress progress{Patience(now, m_inVain.Counts(now)), part.SizeBytes()};
    int fruitless = 0;
    while (part.SizeBytes() < file.sizeBytes || file.sizeBytes == 0) {
        const std::int64_t before = progress.mostBytes;
        PartSink sink(part, file, progress, m_api.Http());
        const Result<HttpResponse> reply =
            m_api.GetContent(once, {file.id, file.etag, part.SizeBytes()}, sink);
        if (sink.OwnFailure().IsSet())
            return sink.OwnFailure();
        // With the last byte there, it is no matter how the connection ended: the digest decides.
        const bool hasGrown = progress.mostBytes > before;
        if ((reply || hasGrown) && part.SizeBytes() == file.sizeBytes)
            break;
        Failure failure = reply.failure;
        if (reply)
            failure = Failure(EErrorCode::eDropped, "the content ended early");
        if (Failure end = progress.patience.Judge(failure, m_api.Http().Now()); end.IsSet())
            return AsFileGone(end);
        fruitless = hasGrown ? 1 : fruitless + 1;
        if (!m_api.Http().Pause(kTransferPolicy, fruitless, failure.retryAfter, once.abort))
            return Failure(EErrorCode::eAborted);
    }
    return {};
}

} // namespace kesdk::impl
