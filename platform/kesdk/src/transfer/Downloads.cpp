#include "transfer/Downloads.h"

#include "base/DigestText.h"
#include "base/Text.h"
#include "client/Problems.h"
#include "transfer/Paths.h"

#include <optional>
#include <string_view>

namespace kesdk::impl {

namespace {

// Refuses a name that could leave its folder.
bool IsUsableServiceName(const std::wstring& name)
{
    constexpr std::wstring_view kForbidden(L"/\0", 2);
    return !name.empty() && name != L"." && name != L".." &&
           name.find_first_of(kForbidden) == std::wstring::npos;
}

// Whether the part file is useless to a later call. Either the service has another file or none, or
// the content is wrong, or the console has no room.
bool MustRemovePart(const Failure& failure)
{
    return failure.Is(EErrorCode::eFileGone, EErrorCode::eNotFound, EErrorCode::eForbidden,
                      EErrorCode::eRangeRefused, EErrorCode::eDamaged, EErrorCode::eDiskFull,
                      EErrorCode::eCannotWrite, EErrorCode::eInvalidArgument,
                      EErrorCode::eUnusableFileName, EErrorCode::eUnusableServiceName);
}

// Appends the content to the part file.
class PartSink : public BodySink
{
public:
    explicit PartSink(Downloads::Job& job) : m_job(job), m_part(job.part) {}

    bool Accept(const HttpResponse& head) override
    {
        if (!head.IsSuccess() || FailureOf(head).IsSet())
            return false;
        if (head.status == 206)
            m_fits = IsFromHere(head.Header("Content-Range"));
        else if (m_part.SizeBytes() > 0)
            m_fits = m_part.Restart(); // the service sends all of it again
        return true;
    }

    bool Write(const char* bytes, std::size_t sizeBytes) override
    {
        const std::int64_t freeBytes = m_job.file.sizeBytes - m_part.SizeBytes();
        m_fits = m_fits && static_cast<std::int64_t>(sizeBytes) <= freeBytes;
        if (!m_fits || !m_part.Write(bytes, sizeBytes))
            return false;
        m_job.transfer.Reach(m_part.SizeBytes());
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

    Downloads::Job& m_job;
    PartFile& m_part;
    bool m_fits = true;
};

} // namespace

Failure Downloads::Fetch(const ApiCall& call, const FileRecord& file, const std::string& localPath)
{
    if (!IsUsableServiceName(file.name))
        return Failure(EErrorCode::eUnusableServiceName, "the service's name for the file");
    const std::string folder = FolderOf(localPath);
    if (const std::int64_t nowS = m_wallTimeS(); MustSearch(m_searchedFolders, folder, nowS))
        RemoveStalePartFiles(folder, nowS);
    call.report.Begin(kesdkimpl::EDirection::eDownload, ToUtf8(file.name), file.sizeBytes);
    PartFile part;
    const PartOrigin origin{call.account, file.id, file.etag, file.sizeBytes, file.sha256Hex};
    if (Failure failure = part.Open(localPath, origin, call.abort); failure.IsSet())
        return failure;
    Job job{call, file, part, {m_timing, m_givenUpAt, call.abort, part.SizeBytes(), call.report}};
    job.call.policy = PolicyOf(ECall::eContent);
    call.report.ReachOffset(part.SizeBytes());
    Failure failure =
        job.transfer.Run([&] { return FetchRest(job); }).NotFoundAs(EErrorCode::eFileGone);
    if (!failure.IsSet())
        return part.Commit();
    if (!MustRemovePart(failure))
        part.Keep();
    return failure;
}

Downloads::Attempt Downloads::FetchRest(Job& job)
{
    const auto hasLastByte = [&] {
        return job.file.sizeBytes > 0 && job.part.SizeBytes() == job.file.sizeBytes;
    };
    if (hasLastByte())
        return Verify(job); // the resumed part file has all bytes
    PartSink sink(job);
    const Failure failure =
        m_api.GetContent(job.call, {job.file.id, job.file.etag, job.part.SizeBytes()}, sink);
    if (sink.OwnFailure().IsSet())
        return {true, sink.OwnFailure()};
    // The digest decides, however the connection ended.
    if (hasLastByte() || (!failure.IsSet() && job.file.sizeBytes == 0))
        return Verify(job);
    return {false,
            failure.IsSet() ? failure : Failure(EErrorCode::eDropped, "the content ended early")};
}

Downloads::Attempt Downloads::Verify(Job& job)
{
    job.call.report.SetVerifying();
    const Result<Sha256::Digest> digest = job.part.Finish();
    if (!digest || ToHex(digest.value) == job.file.sha256Hex)
        return {true, digest.failure};
    if (!job.part.IsResumed())
        return {true, Failure(EErrorCode::eDamaged, "SHA-256 differs")};
    // A power cut may have taken bytes of the resumed part file.
    job.transfer.StartOver();
    if (job.part.Restart())
        return {};
    return {true, job.part.WriteFailure()};
}

} // namespace kesdk::impl
