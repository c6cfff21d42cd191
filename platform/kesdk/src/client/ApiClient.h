// The service's API: its paths, headers and documents.
#pragma once

#include "base/LinkBoard.h"
#include "client/Records.h"
#include "client/RetryingClient.h"
#include "kesdk/api/Environment.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kesdk::impl {

// All requests of one operation have this in common.
struct ApiCall
{
    std::string token;   // the session's token; empty only for a login
    std::string account; // the service's address and the user's id, for journals; may be empty
    AbortCheck abort;
    TransferReport report; // reports an upload or download
    CallPolicy policy = PolicyOf(ECall::eAccount);
    std::optional<Clock::Time> lastStart; // no attempt begins later
};

// The user's id in an ApiCall::account.
inline std::string UserIdOf(const std::string& account)
{
    return account.substr(account.rfind('\n') + 1);
}

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
// Errors: as Failure. An answer that is not what the API describes is eBadAnswer.
// Retry: as RetryingClient. Uploads' and downloads' contents are sent and fetched once.
class ApiClient
{
public:
    explicit ApiClient(RetryingClient& http) : m_http(http) {}

    Result<LoginRecord> LogIn(const ApiCall& call, const std::wstring& user,
                              const std::wstring& password);
    Failure LogOut(const ApiCall& call);

    Result<AccountRecord> GetAccount(const ApiCall& call);
    Result<ProjectRecord> GetProjectResources(const ApiCall& call, std::int64_t projectId);
    Result<ResourceRecord> GetResource(const ApiCall& call, std::int64_t resourceId);
    Result<InboxRecord> CreateUserInbox(const ApiCall& call, const std::wstring& projectName);

    // Blocks until the stream ends. Its bytes go to the sink.
    HttpOutcome ReadEvents(const ApiCall& call, const std::string& cursor, BodySink& sink);

    // Begins an upload. Without content: asks for the offset, or the result, of the upload with
    // this key. If the service does not have this upload, it begins one at offset 0.
    Result<UploadRecord> BeginUpload(const ApiCall& call, const NewUpload& upload,
                                     BodySource* content);
    Result<UploadRecord> ContinueUpload(const ApiCall& call, const std::string& location,
                                        std::int64_t offsetBytes, BodySource& content);

    // The sink gets only a good answer.
    Failure GetContent(const ApiCall& call, const ContentRequest& content, BodySink& sink);
    Failure DeleteFile(const ApiCall& call, std::int64_t fileId, const std::string& etag);

    Failure PutEnvironment(const ApiCall& call, const api::Environment& environment);
    Failure PutDevice(const ApiCall& call, const api::Environment::MeasDeviceReport& report,
                      bool sharing);
    Failure PostPosition(const ApiCall& call, const api::Position& position);

    // Tells which files the console has fetched and unpacked. A repeated report changes nothing.
    Failure PostFetches(const ApiCall& call, const std::vector<FetchRecord>& fetches);

    // A running operation asks its abort check at once.
    void Wake() { m_http.Wake(); }

private:
    HttpOutcome Perform(const ApiCall& call, HttpRequest request);

    RetryingClient& m_http;
};

} // namespace kesdk::impl
