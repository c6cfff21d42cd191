// What the service's error answers mean to the SDK.
#include "client/Problems.h"

#include "client/ApiJson.h"
#include "client/RetryingClient.h"

#include <string_view>

namespace kesdk::impl {

namespace {

struct ProblemRow
{
    std::string_view name;
    int status;
    EErrorCode code;
};

// Asked by name first; an answer of something between us and the service has only a status.
constexpr ProblemRow kProblems[] = {
    {"invalid-credentials", 0, EErrorCode::eInvalidCredentials},
    {"unauthenticated", 401, EErrorCode::eSessionEnded},
    {"account-disabled", 0, EErrorCode::eAccountDisabled},
    {"forbidden", 403, EErrorCode::eForbidden},
    {"not-found", 404, EErrorCode::eNotFound},
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

} // namespace

Failure FailureOf(const HttpResponse& response)
{
    if (response.status < 400)
        return {};
    const ProblemDocument problem = ParseProblem(response.body);
    std::string detail = "HTTP " + std::to_string(response.status);
    if (!problem.name.empty())
        detail += ", " + problem.name;
    if (!problem.detail.empty())
        detail += ": " + problem.detail;
    Failure failure(CodeOf(problem.name, response.status), detail, response.status);
    failure.retryAfter = RetryAfter(response);
    return failure;
}

Failure FailureOf(const HttpOutcome& outcome)
{
    return outcome.failure.IsSet() ? outcome.failure : FailureOf(outcome.response);
}

} // namespace kesdk::impl
