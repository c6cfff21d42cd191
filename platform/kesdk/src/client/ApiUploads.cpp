// Uploads: tus 1.0.0 with an idempotency key and result fields.
#include "client/ApiClient.h"

#include "base/Text.h"
#include "client/ApiJson.h"
#include "client/Problems.h"

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
        return Failure(EErrorCode::eBadAnswer, "the answer to an upload has no offset",
                       response.status);
    if (const std::string* digest = response.Header("Repr-Digest"))
        upload.reprDigest = *digest;
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
