#include "client/Problems.h"

#include "base/Text.h"
#include "client/ApiJson.h"
#include "client/RetryingClient.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kesdk::impl {

namespace {

struct ProblemRow
{
    std::string_view name;
    int status;
    EErrorCode code;
};

// A known name decides; otherwise the status decides. A proxy's answer has only a status.
constexpr ProblemRow kProblems[] = {
    {"invalid-credentials", 0, EErrorCode::eInvalidCredentials},
    {"unauthenticated", 401, EErrorCode::eSessionEnded},
    {"account-disabled", 0, EErrorCode::eAccountDisabled},
    {"forbidden", 403, EErrorCode::eForbidden},
    {"not-found", 404, EErrorCode::eNotFound},
    {"", 408, EErrorCode::eDropped}, // a proxy got no byte of the request for too long
    {"conflict", 409, EErrorCode::eConflict},
    {"upload-offset-mismatch", 0, EErrorCode::eConflict},
    {"cursor-too-old", 0, EErrorCode::eCursorTooOld},
    {"gone", 410, EErrorCode::eNotFound},
    {"precondition-failed", 412, EErrorCode::eFileGone},
    {"content-too-large", 413, EErrorCode::eTooLarge},
    {"range-not-satisfiable", 416, EErrorCode::eRangeRefused},
    {"login-throttled", 0, EErrorCode::eLoginThrottled},
    {"", 429, EErrorCode::eServiceBusy},
    {"internal", 500, EErrorCode::eServiceError},
    {"", 502, EErrorCode::eServiceBusy},
    {"busy", 503, EErrorCode::eServiceBusy},
    {"", 504, EErrorCode::eServiceBusy},
    {"insufficient-storage", 507, EErrorCode::eServiceFull},
};

EErrorCode CodeOf(std::string_view name, int status)
{
    if (!name.empty()) {
        for (const ProblemRow& row : kProblems) {
            if (row.name == name)
                return row.code;
        }
    }
    for (const ProblemRow& row : kProblems) {
        if (row.status == status)
            return row.code;
    }
    return status >= 500 ? EErrorCode::eServiceError : EErrorCode::eRefusedByService;
}

bool IsPage(const HttpResponse& response)
{
    constexpr std::string_view kTypes[] = {"text/html", "application/xhtml+xml"};
    const std::string* type = response.Header("Content-Type");
    return type && std::any_of(std::begin(kTypes), std::end(kTypes), [&](std::string_view page) {
               return EqualNoCase(std::string_view(*type).substr(0, page.size()), page);
           });
}

// Only the service itself can say that a file is gone or forbidden.
bool IsAboutAFile(int status)
{
    constexpr int kStatuses[] = {403, 404, 410, 412};
    return std::find(std::begin(kStatuses), std::end(kStatuses), status) != std::end(kStatuses);
}

// The service sends no pages and no redirects. A proxy before the service may send an error as a
// page: its status counts, unless it is a status that only the service can know.
bool IsFromPortal(const HttpResponse& response)
{
    constexpr int kNetworkWantsLogin = 511;
    const int status = response.status;
    if (status == kNetworkWantsLogin || (status >= 300 && status < 400 && status != 304))
        return true;
    const bool isServiceStatus = response.IsSuccess() || status == 401 || IsAboutAFile(status);
    return isServiceStatus && IsPage(response);
}

} // namespace

Failure FailureOf(const HttpResponse& response)
{
    if (IsFromPortal(response))
        return Failure(EErrorCode::eCaptivePortal,
                       "HTTP " + std::to_string(response.status) + ", a page and no answer",
                       response.status);
    if (response.status < 400)
        return {};
    const ProblemDocument problem = ParseProblem(response.body);
    std::string detail = "HTTP " + std::to_string(response.status);
    if (!problem.name.empty())
        detail += ", " + problem.name;
    if (!problem.detail.empty())
        detail += ": " + problem.detail;
    // A proxy without a route to the service answers 404 as a plain text.
    const bool isOfAProxy = problem.name.empty() && IsAboutAFile(response.status);
    Failure failure(isOfAProxy ? EErrorCode::eBadAnswer : CodeOf(problem.name, response.status),
                    detail, response.status);
    failure.retryAfter = RetryAfter(response);
    return failure;
}

Failure FailureOf(const HttpOutcome& outcome)
{
    return outcome.failure.IsSet() ? outcome.failure : FailureOf(outcome.response);
}

} // namespace kesdk::impl
