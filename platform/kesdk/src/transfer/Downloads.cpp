// Fetches files from the service.
#include "transfer/Downloads.h"

#include "transfer/TransferPolicy.h"

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

// Puts the content behind what is already there.
class PartSink : public BodySink
{
public:
    PartSink(PartFile& part, const FileRecord& file) : m_part(part), m_file(file) {}

    bool Accept(const HttpResponse& head) override
    {
        if (!head.IsSuccess())
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
        return m_fits && m_part.Write(bytes, sizeBytes);
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
    PartFile part;
    Failure failure = part.Create(localPath, file.sizeBytes);
    if (!failure.IsSet())
        failure = FetchContent(call, file, part);
    if (failure.IsSet())
        return failure;
    const Result<Sha256::Digest> digest = part.Finish();
    if (!digest)
        return digest.failure;
    if (ToHex(digest.value) != file.sha256Hex)
        return Failure(EErrorCode::eDamaged, "SHA-256 differs");
    return part.Commit();
}

Failure Downloads::FetchContent(const ApiCall& call, const FileRecord& file, PartFile& part)
{
    ApiCall once = call;
    once.policy.attempts = 1; // repeating is done here, where the offset is known
    int fruitless = 0;
    for (;;) {
        const std::int64_t before = part.SizeBytes();
        PartSink sink(part, file);
        const Result<HttpResponse> reply =
            m_api.GetContent(once, {file.id, file.etag, before}, sink);
        if (sink.OwnFailure().IsSet())
            return sink.OwnFailure();
        // With the last byte there, it is no matter how the connection ended: the digest decides.
        const bool hasGrown = part.SizeBytes() > before;
        if ((reply || hasGrown) && part.SizeBytes() == file.sizeBytes)
            return {};
        Failure failure = reply.failure;
        if (reply)
            failure = Failure(EErrorCode::eDropped, "the content ended early");
        if (hasGrown)
            fruitless = 0;
        if (!IsWorthWaiting(failure, ++fruitless))
            return AsFileGone(failure);
        if (!m_api.Http().Pause(kTransferPolicy, fruitless, failure.retryAfter, once.abort))
            return Failure(EErrorCode::eAborted);
    }
}

} // namespace kesdk::impl
