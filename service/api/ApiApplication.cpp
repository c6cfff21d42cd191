#include "service/api/ApiApplication.h"

#include "service/api/UploadHeaders.h"
#include "service/base/Log.h"
#include "service/base/Unavailable.h"
#include "service/content/Contents.h"
#include "service/http/Problem.h"
#include "service/store/Errors.h"

#include <cerrno>
#include <system_error>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

constexpr std::string_view uploadsPath = "/uploads";

/** EFBIG too: for an upload a file size limit is like a full disk. */
bool meansFull(const std::system_error& error)
{
    const int code = error.code().value();
    return error.code().category() == std::generic_category() &&
           (code == ENOSPC || code == EDQUOT || code == EFBIG);
}

} // namespace

ApiApplication::ApiApplication(Context& context, metrics::Metrics& metrics)
    : router_(basePath), metrics_(metrics)
{
    addSessionRoutes(router_, context);
    addAccountRoutes(router_, context);
    addResourceRoutes(router_, context);
    addContentRoutes(router_, context);
    addUploadRoutes(router_, context);
    addBinRoutes(router_, context);
    addReportRoutes(router_, context);
    addFetchRoutes(router_, context);
    addConsoleRoutes(router_, context);
    addEventRoutes(router_, context);
    addFarmRoutes(router_, context);
    addQuotaRoutes(router_, context);
    addUserRoutes(router_, context);
    addPersonRoutes(router_, context);
    addAuditRoutes(router_, context);
    addAdmitRoute(router_, context);
    addBaseMapRoutes(router_, context);
}

/** Every answer of the tus protocol names its version, a refusal too. */
Async<http::Response> ApiApplication::handle(http::Request& request)
{
    http::Response response;
    try {
        response = co_await route(request);
    } catch (const Problem& problem) {
        response = problem.toResponse();
    }
    if (request.route.starts_with(uploadsPath)) {
        response.with("Tus-Resumable", tusVersion);
    }
    co_return response;
}

Async<http::Response> ApiApplication::route(http::Request& request)
{
    try {
        co_return co_await router_.find(request)(request);
    } catch (const store::StorageFull&) {
        throw Problem(EProblem::InsufficientStorage, "The service's storage is full.");
    } catch (const store::StoreBusy&) {
        throw Problem(EProblem::Busy, "The service's database is busy; nothing was changed.",
                      {{"Retry-After", "5"}});
    } catch (const store::CommitInDoubt& error) {
        logWarning("commit-in-doubt", error.what());
        throw Problem(EProblem::Busy, "The service does not know whether the change is stored.",
                      {{"Retry-After", "5"}});
    } catch (const store::NotUnique& error) {
        throw Problem(EProblem::Conflict, error.what());
    } catch (const store::UnstorableText&) {
        throw Problem(EProblem::MalformedRequest,
                      "A text has the character NUL, is not UTF-8 or is too long.");
    } catch (const store::SessionEnded&) {
        throw Problem(EProblem::Unauthenticated, "The session has ended.");
    } catch (const store::TooManyReported&) {
        throw Problem(EProblem::Unprocessable,
                      "The farm or the user has too many consoles or devices.");
    } catch (const content::Superseded&) {
        throw Problem(EProblem::Conflict, "Another request has taken the upload over.");
    } catch (const Unavailable& error) {
        logWarning("contents-unavailable", error.what());
        throw Problem(EProblem::Busy, "The service's store of files does not answer.",
                      {{"Retry-After", "5"}});
    } catch (const std::system_error& error) {
        if (meansFull(error)) {
            throw Problem(EProblem::InsufficientStorage, "The service's storage is full.");
        }
        throw;
    }
}

void ApiApplication::requestBegun()
{
    metrics_.begin();
}

void ApiApplication::requestDone(const http::RequestSummary& summary)
{
    metrics_.count(summary);
    logRequest({summary.method, summary.route, summary.status, summary.receivedBytes,
                summary.sentBytes, summary.durationMs, summary.farm, summary.user});
}

} // namespace kelvo::api
