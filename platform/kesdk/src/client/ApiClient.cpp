#include "client/ApiClient.h"

#include "base/Text.h"
#include "client/ApiJson.h"
#include "client/Problems.h"

#include <utility>

namespace kesdk::impl {

namespace {

HttpRequest Request(std::string method, std::string target)
{
    HttpRequest request;
    request.method = std::move(method);
    request.target = "/v1" + std::move(target);
    return request;
}

HttpRequest JsonRequest(std::string method, std::string target, std::string body)
{
    HttpRequest request = Request(std::move(method), std::move(target));
    request.headers.push_back({"Content-Type", "application/json"});
    request.body = std::move(body);
    return request;
}

Failure BadAnswer(const HttpResponse& response)
{
    return Failure(EErrorCode::eBadAnswer, "the answer is not what the API describes",
                   response.status);
}

// The body of a good answer, as `parse` reads it.
template <class T, class Parse>
Result<T> ReadAnswer(const HttpOutcome& outcome, Parse parse)
{
    if (const Failure failure = FailureOf(outcome); failure.IsSet())
        return failure;
    if (auto value = parse(outcome.response.body); value && outcome.response.IsSuccess())
        return std::move(*value);
    return BadAnswer(outcome.response);
}

Failure ReadEmptyAnswer(const HttpOutcome& outcome)
{
    const Failure failure = FailureOf(outcome);
    // The service sends no body here: an answer with a body came from something else.
    const bool isGood = outcome.response.IsSuccess() && outcome.response.body.empty();
    return failure.IsSet() || isGood ? failure : BadAnswer(outcome.response);
}

// Refuses an answer about another resource than the request named.
template <class T>
Result<T> OnlyOf(std::int64_t id, Result<T> answer)
{
    if (!answer || IdOf(answer.value) == id)
        return answer;
    return Failure(EErrorCode::eBadAnswer, "the answer is about something else");
}

std::string Resource(std::int64_t id)
{
    return "/resources/" + std::to_string(id);
}

} // namespace

HttpOutcome ApiClient::Perform(const ApiCall& call, HttpRequest request)
{
    if (!call.token.empty())
        request.headers.push_back({"Authorization", "Bearer " + call.token});
    return m_http.Perform(std::move(request), call.policy, call.abort, call.lastStart);
}

Result<LoginRecord> ApiClient::LogIn(const ApiCall& call, const std::wstring& user,
                                     const std::wstring& password)
{
    return ReadAnswer<LoginRecord>(
        Perform(call, JsonRequest("POST", "/sessions", LoginJson(user, password))), &ParseLogin);
}

Failure ApiClient::LogOut(const ApiCall& call)
{
    return ReadEmptyAnswer(Perform(call, Request("DELETE", "/sessions/current")));
}

Result<AccountRecord> ApiClient::GetAccount(const ApiCall& call)
{
    HttpRequest request = Request("GET", "/account");
    request.acceptsGzip = true;
    return ReadAnswer<AccountRecord>(Perform(call, std::move(request)), &ParseAccount);
}

Result<ProjectRecord> ApiClient::GetProjectResources(const ApiCall& call, std::int64_t projectId)
{
    const std::string target = "/projects/" + std::to_string(projectId) + "/resources";
    return OnlyOf(projectId, ReadAnswer<ProjectRecord>(Perform(call, Request("GET", target)),
                                                       &ParseProjectResources));
}

Result<ResourceRecord> ApiClient::GetResource(const ApiCall& call, std::int64_t resourceId)
{
    const HttpOutcome outcome = Perform(call, Request("GET", Resource(resourceId)));
    return OnlyOf(resourceId, ReadAnswer<ResourceRecord>(outcome, &ParseResource));
}

Result<InboxRecord> ApiClient::CreateUserInbox(const ApiCall& call, const std::wstring& projectName)
{
    HttpRequest request =
        Request("POST", "/projects/" + EncodePathSegment(ToUtf8(projectName)) + "/user-inbox");
    request.isRepeatable = true; // answers the same inbox again
    return ReadAnswer<InboxRecord>(Perform(call, std::move(request)), &ParseInbox);
}

HttpOutcome ApiClient::ReadEvents(const ApiCall& call, const std::string& cursor, BodySink& sink)
{
    HttpRequest request = Request("GET", "/events");
    request.headers.push_back({"Accept", "text/event-stream"});
    request.headers.push_back({"Last-Event-ID", cursor});
    request.sink = &sink;
    return Perform(call, std::move(request));
}

Failure ApiClient::GetContent(const ApiCall& call, const ContentRequest& content, BodySink& sink)
{
    HttpRequest request = Request("GET", Resource(content.fileId) + "/content");
    request.headers.push_back({"If-Match", content.etag});
    if (content.fromByte > 0) {
        request.headers.push_back({"Range", "bytes=" + std::to_string(content.fromByte) + "-"});
        request.headers.push_back({"If-Range", content.etag});
    }
    request.sink = &sink;
    return FailureOf(Perform(call, std::move(request)));
}

Failure ApiClient::DeleteFile(const ApiCall& call, std::int64_t fileId, const std::string& etag)
{
    HttpRequest request = Request("DELETE", Resource(fileId));
    if (!etag.empty())
        request.headers.push_back({"If-Match", etag});
    const HttpOutcome outcome = Perform(call, std::move(request));
    const Failure failure = FailureOf(outcome);
    const bool isGone = failure.Is(EErrorCode::eNotFound, EErrorCode::eFileGone);
    // Ids are never reused: an earlier attempt deleted the file, and its answer was lost.
    if (outcome.mayHaveRunBefore && isGone)
        return {};
    return ReadEmptyAnswer(outcome);
}

Failure ApiClient::PutEnvironment(const ApiCall& call, const api::Environment& environment)
{
    return ReadEmptyAnswer(
        Perform(call, JsonRequest("PUT", "/environment", EnvironmentJson(environment))));
}

Failure ApiClient::PutDevice(const ApiCall& call, const api::Environment::MeasDeviceReport& report,
                             bool sharing)
{
    return ReadEmptyAnswer(
        Perform(call, JsonRequest("PUT", "/devices", DeviceJson(report, sharing))));
}

Failure ApiClient::PostPosition(const ApiCall& call, const api::Position& position)
{
    return ReadEmptyAnswer(
        Perform(call, JsonRequest("POST", "/positions", PositionJson(position))));
}

Failure ApiClient::PostFetches(const ApiCall& call, const std::vector<FetchRecord>& fetches)
{
    return ReadEmptyAnswer(Perform(call, JsonRequest("POST", "/fetches", FetchesJson(fetches))));
}

} // namespace kesdk::impl
