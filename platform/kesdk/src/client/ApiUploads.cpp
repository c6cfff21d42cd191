// Uploads: tus 1.0.0 with an idempotency key and result fields.
#include "client/ApiClient.h"

#include "base/Text.h"
#include "client/ApiJson.h"
#include "client/Problems.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace kesdk::impl {

namespace {

constexpr std::string_view kPath = "/v1/uploads/";

HttpRequest UploadRequest(std::string method, std::string target)
{
    HttpRequest request;
    request.method = std::move(method);
    request.target = std::move(target);
    request.headers.push_back({"Tus-Resumable", "1.0.0"});
    return request;
}

std::string JoinIds(const std::vector<std::int64_t>& ids)
{
    std::string out;
    for (const std::int64_t id : ids)
        out += (out.empty() ? "" : ",") + std::to_string(id);
    return out;
}

std::vector<std::int64_t> SplitIds(std::string_view text)
{
    std::vector<std::int64_t> ids;
    while (!text.empty()) {
        const std::size_t comma = text.find(',');
        ids.push_back(ToInteger(Trim(text.substr(0, comma))).value_or(-1));
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    }
    return ids;
}

// The upload's address below the base URL. Only the last part of the service's text is used.
std::string ToTarget(std::string_view location)
{
    const std::size_t at = location.rfind(kPath);
    if (at == std::string_view::npos)
        return {};
    const std::string_view id = location.substr(at + kPath.size());
    if (id.empty() || id.find_first_of("/?#\r\n ") != std::string_view::npos)
        return {};
    return std::string(kPath) + std::string(id);
}

Failure BadAnswer(const HttpResponse& response, const char* what)
{
    return Failure(EErrorCode::eBadAnswer, std::string("the answer to an upload has ") + what,
                   response.status);
}

Result<UploadRecord> ReadUpload(const HttpOutcome& outcome)
{
    if (const Failure failure = FailureOf(outcome); failure.IsSet())
        return failure;
    const HttpResponse& response = outcome.response;
    UploadRecord upload;
    if (const std::string* location = response.Header("Location"))
        upload.location = ToTarget(*location);
    const std::string* offset = response.Header("Upload-Offset");
    upload.offsetBytes = offset ? ToInteger(*offset).value_or(-1) : -1;
    if (!response.IsSuccess() || upload.offsetBytes < 0)
        return BadAnswer(response, "no offset");
    const std::string* ids = response.Header("Kelvo-File-Ids");
    const std::string* digest = response.Header("Repr-Digest");
    if (!ids || !digest)
        return upload;
    upload.isComplete = true;
    upload.fileIds = SplitIds(*ids);
    if (upload.fileIds.empty() || !std::all_of(upload.fileIds.begin(), upload.fileIds.end(), &IsId))
        return BadAnswer(response, "unusable file ids");
    upload.reprDigest = *digest;
    // A 204 has no body.
    if (auto files = ParseUploadedFiles(response.body))
        upload.files = std::move(*files);
    return upload;
}

} // namespace

Result<UploadRecord> ApiClient::BeginUpload(const ApiCall& call, const NewUpload& upload,
                                            BodySource* content)
{
    HttpRequest request = UploadRequest("POST", "/v1/uploads");
    request.headers.push_back({"Upload-Length", std::to_string(upload.lengthBytes)});
    request.headers.push_back(
        {"Upload-Metadata", "name " + EncodeBase64(upload.nameUtf8) + ",targets " +
                                EncodeBase64(JoinIds(upload.targetInboxIds))});
    request.headers.push_back({"Idempotency-Key", upload.idempotencyKey});
    if (content) {
        request.headers.push_back({"Content-Type", "application/offset+octet-stream"});
        request.source = content;
    }
    return ReadUpload(Perform(call, std::move(request)));
}

Result<UploadRecord> ApiClient::ContinueUpload(const ApiCall& call, const std::string& location,
                                               std::int64_t offsetBytes, BodySource& content)
{
    HttpRequest request = UploadRequest("PATCH", location);
    request.headers.push_back({"Upload-Offset", std::to_string(offsetBytes)});
    request.headers.push_back({"Content-Type", "application/offset+octet-stream"});
    request.source = &content;
    return ReadUpload(Perform(call, std::move(request)));
}

} // namespace kesdk::impl
