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

// Whether a part is useless to a later call: the service has another file or none, the content is
// wrong, or the console has no room. After all other failures the part stays.
bool IsWorthlessAfter(const Failure& failure)
{
    return failure.Is(EErrorCode::eFileGone, EErrorCode::eNotFound, EErrorCode::eForbidden,
                      EErrorCode::eRangeRefused, EErrorCode::eDamaged, EErrorCode::eDiskFull,
                      EErrorCode::eCannotWrite, EErrorCode::eInvalidArgument,
                      EErrorCode::eUnusableFileName, EErrorCode::eUnusableServiceName);
}

// Appends the content to the part.
class PartSink : public BodySink
{
public:
    PartSink(PartFile& part, const FileRecord& file, ResumableTransfer& transfer)
        : m_part(part), m_file(file), m_transfer(transfer)
    {}

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
        m_fits =
            m_fits && m_part.SizeBytes() + static_cast<std::int64_t>(sizeBytes) <= m_file.sizeBytes;
        if (!m_fits || !m_part.Write(bytes, sizeBytes))
            return false;
        m_transfer.Reach(m_part.SizeBytes());
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
    ResumableTransfer& m_transfer;
    bool m_fits = true;
};

} // namespace

Failure Downloads::Fetch(const ApiCall& call, const FileRecord& file, const std::string& localPath)
{
    if (!IsUsableServiceName(file.name))
        return Failure(EErrorCode::eUnusableServiceName, "the service's name for the file");
    SweepOnce(localPath);
    call.report.Begin(kesdkimpl::EDirection::eDownload, ToUtf8(file.name), file.sizeBytes);
    PartFile part;
    const PartOrigin origin{call.serviceAndUser, file.id, file.etag, file.sizeBytes,
                            file.sha256Hex};
    Failure failure = part.Open(localPath, origin, call.abort);
    if (!failure.IsSet())
        failure = FetchWhole(call, file, part);
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
        return; // try again at the next download
    if (m_sweptFolders.insert(folder).second)
        RemoveStaleParts(folder, nowS);
}

Failure Downloads::FetchWhole(const ApiCall& call, const FileRecord& file, PartFile& part)
{
    for (;;) {
        if (Failure failure = FetchContent(call, file, part); failure.IsSet())
            return failure;
        call.report.Verify();
        const Result<Sha256::Digest> digest = part.Finish();
        if (!digest)
            return digest.failure;
        if (ToHex(digest.value) == file.sha256Hex)
            return {};
        // A power cut may have taken bytes of the resumed part.
        if (!part.IsResumed())
            return Failure(EErrorCode::eDamaged, "SHA-256 differs");
        if (!part.Restart())
            return part.WriteFailure();
    }
}

Failure Downloads::FetchContent(const ApiCall& call, const FileRecord& file, PartFile& part)
{
    ApiCall content = call;
    content.policy = PolicyOf(ECall::eContent);
    ResumableTransfer transfer(m_timing, m_givenUp, call.abort, part.SizeBytes(), call.report);
    call.report.ReachOffset(part.SizeBytes());
    const auto attempt = [&]() -> ResumableTransfer::Attempt {
        if (part.SizeBytes() == file.sizeBytes && file.sizeBytes > 0)
            return {true, {}};
        const std::int64_t before = transfer.HighestOffsetBytes();
        PartSink sink(part, file, transfer);
        const Result<HttpResponse> answer =
            m_api.GetContent(content, {file.id, file.etag, part.SizeBytes()}, sink);
        if (sink.OwnFailure().IsSet())
            return {true, sink.OwnFailure()};
        // The last byte is there: the digest decides, however the connection ended.
        const bool hasGrown = transfer.HighestOffsetBytes() > before;
        if ((answer || hasGrown) && part.SizeBytes() == file.sizeBytes)
            return {true, {}};
        return {false,
                answer ? Failure(EErrorCode::eDropped, "the content ended early") : answer.failure};
    };
    return transfer.Run(attempt).NotFoundAs(EErrorCode::eFileGone);
}

} // namespace kesdk::impl
