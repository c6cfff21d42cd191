// The service's API: its paths, headers and documents.
#pragma once

#include "client/Records.h"
#include "client/RetryingClient.h"
#include "kesdk/api/Environment.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kesdk::impl {

// What all requests of one operation have in common.
struct ApiCall
{
    std::string token; // of the session; empty only for a login
    // The service and the account, for what outlives the session; empty: nothing does.
    std::string account;
    AbortCheck abort;
    RetryPolicy policy;
    HttpLimits limits;
};

struct NewUpload
{
    std::string nameUtf8;
    std::int64_t lengthBytes = 0;
    std::vector<std::int64_t> targetInboxIds;
    std::string idempotencyKey;
};

struct ContentRequest
{
    std::int64_t fileId = 0;
    std::string etag;
    std::int64_t fromByte = 0;
};

// Each operation sends one request (and its repeats) and blocks until it is answered.
//
// Thread safety: one thread at a time; Wake from any.
// Errors: as Failure. An answer that is not what the API describes is eBadReply.
// Retry: as RetryingClient. Uploads' and downloads' contents are sent and fetched once.
class ApiClient
{
public:
    explicit ApiClient(RetryingClient& http);

    Result<LoginRecord> LogIn(const ApiCall& call, const std::wstring& user,
                              const std::wstring& password);
    Failure LogOut(const ApiCall& call);

    Result<AccountRecord> GetAccount(const ApiCall& call);
    Result<ProjectRecord> GetProjectResources(const ApiCall& call, std::int64_t projectId);
    Result<ResourceRecord> GetResource(const ApiCall& call, std::int64_t resourceId);
    Result<InboxRecord> CreateUserInbox(const ApiCall& call, const std::wstring& projectName);

    // Ends when the stream does; its bytes go to the sink.
    HttpOutcome ReadEvents(const ApiCall& call, const std::string& cursor, BodySink& sink);

    // Begins an upload, or asks where one with this key stands: then `content` must be null.
    Result<UploadRecord> BeginUpload(const ApiCall& call, const NewUpload& upload,
                                     BodySource* content);
    // Where the upload at this address stands, without its result.
    Result<UploadRecord> AskUpload(const ApiCall& call, const std::string& location);
    Result<UploadRecord> ContinueUpload(const ApiCall& call, const std::string& location,
                                        std::int64_t offsetBytes, BodySource& content);

    // The sink sees only the head of a good answer; the failure of another is in the result.
    Result<HttpResponse> GetContent(const ApiCall& call, const ContentRequest& content,
                                    BodySink& sink);
    Failure DeleteFile(const ApiCall& call, std::int64_t fileId, const std::string& etag);

    Failure PutEnvironment(const ApiCall& call, const api::Environment& environment);
    Failure PutDevice(const ApiCall& call, const api::Environment::MeasDeviceReport& report,
                      bool sharing);
    Failure PostPosition(const ApiCall& call, const api::Position& position);

    RetryingClient& Http() { return m_http; }

private:
    HttpOutcome Perform(const ApiCall& call, HttpRequest request);

    RetryingClient& m_http;
};

} // namespace kesdk::impl
