// /uploads: the tus 1.0 protocol with creation, creation-with-upload, expiration and termination.
#include "service/api/Access.h"
#include "service/api/UploadSteps.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/UploadTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;
using TusHandler = Async<Response> (*)(Context&, Request&);

/** Every answer of the protocol has its version, errors too. */
Async<Response> withTus(Context& context, Request& request, TusHandler handler)
{
    Response response;
    try {
        requireTusVersion(request);
        response = co_await handler(context, request);
    } catch (const Problem& problem) {
        response = problem.toResponse();
    }
    response.with("Tus-Resumable", tusVersion);
    co_return response;
}

Async<Response> describeProtocol(Context& context)
{
    Response response = Response::noContent();
    response.headers = {{"Tus-Resumable", tusVersion},
                        {"Tus-Version", tusVersion},
                        {"Tus-Extension", "creation,creation-with-upload,expiration,termination"},
                        {"Tus-Max-Size", std::to_string(context.settings.maxUploadBytes)}};
    co_return response;
}

/** Adds the upload's offset and expiry as headers. */
void addProgress(Response& response, const Progress& progress)
{
    response.with("Upload-Offset", std::to_string(progress.offset));
    if (!progress.upload.finished) {
        response.with("Upload-Expires", httpDate(progress.upload.expiresMs));
    }
}

std::string locationOf(const store::Upload& upload)
{
    std::string path = basePath;
    path += "/uploads/";
    path += upload.id;
    return path;
}

/** Throws Problem if the repeat brings bytes for an unfinished upload. */
Async<Progress> progressOfRepeat(Context& context, Request& request, const store::Upload& upload)
{
    if (!upload.finished && request.body.lengthBytes() > 0) {
        throw Problem(EProblem::Conflict,
                      "This upload exists already: get its offset and send the rest.");
    }
    co_return co_await stopAndInspect(context, request, upload);
}

Async<Response> create(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const UploadRequest wanted = readUploadRequest(request, context.settings.maxUploadBytes);
    if (request.body.lengthBytes() > 0) {
        requireOffsetStream(request);
    }
    // Held before its id is known to any other request, so that its state cannot change meanwhile.
    const std::string id = newUploadId();
    auto hold = co_await context.activeUploads.take(id, request.body);
    const StartedUpload started = co_await startUpload(context, user, wanted, id);
    Progress progress{started.upload, 0, {}};
    if (started.isRepeat) {
        hold.reset();
        progress = co_await progressOfRepeat(context, request, started.upload);
    } else if (request.body.lengthBytes() > 0 || wanted.lengthBytes == 0) {
        progress = co_await receiveHeldPart(context, request, started.upload, 0);
    }
    Response response;
    response.status = 201;
    if (progress.upload.finished) {
        response = co_await resultDocument(context, progress, 201);
        if (started.isRepeat) {
            // An earlier request made the result; a body of this request is not part of it.
            response.with("Kelvo-Repeated", "true");
        }
    }
    response.with("Location", locationOf(progress.upload));
    addProgress(response, progress);
    co_return response;
}

Async<Response> inspect(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const store::Upload upload = co_await findUpload(context, user, request.parameter("id"));
    const Progress progress = co_await stopAndInspect(context, request, upload);
    Response response;
    response.headers = {{"Cache-Control", "no-store"},
                        {"Upload-Length", std::to_string(progress.upload.lengthBytes)}};
    addProgress(response, progress);
    if (progress.upload.finished) {
        addResultHeaders(response, progress.upload);
    }
    co_return response;
}

Async<Response> append(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    requireOffsetStream(request);
    const long long offset = readOffset(request);
    const store::Upload upload = co_await findUpload(context, user, request.parameter("id"));
    const Progress progress = co_await receivePart(context, request, upload, offset);
    Response response = Response::noContent();
    addProgress(response, progress);
    if (progress.upload.finished) {
        addResultHeaders(response, progress.upload);
    }
    co_return response;
}

Async<Response> terminate(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const store::Upload upload = co_await findUpload(context, user, request.parameter("id"));
    co_await deleteUpload(context, request, upload);
    co_return Response::noContent();
}

} // namespace

void addUploadRoutes(http::Router& router, Context& context)
{
    struct Row
    {
        const char* method;
        const char* path;
        TusHandler handler;
    };
    static constexpr Row rows[] = {
        {"POST", "/uploads", create},
        {"HEAD", "/uploads/{id}", inspect},
        {"PATCH", "/uploads/{id}", append},
        {"DELETE", "/uploads/{id}", terminate},
    };
    router.add("OPTIONS", "/uploads", [&context](Request&) { return describeProtocol(context); });
    for (const Row& row : rows) {
        router.add(row.method, row.path, [&context, handler = row.handler](Request& request) {
            return withTus(context, request, handler);
        });
    }
}

} // namespace kelvo::api
