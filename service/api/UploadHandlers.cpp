// /uploads: the tus 1.0 protocol and its extensions.
#include "service/api/Access.h"
#include "service/api/UploadChecksum.h"
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

Async<Response> describeProtocol(Context& context)
{
    Response response = Response::noContent();
    response.headers = {{"Tus-Version", tusVersion},
                        {"Tus-Extension", "creation,creation-with-upload,creation-defer-length,"
                                          "expiration,termination,checksum,concatenation"},
                        {"Tus-Checksum-Algorithm", Checksum::algorithms},
                        {"Tus-Max-Size", std::to_string(context.settings.maxUploadBytes)}};
    co_return response;
}

/** Adds the upload's offset and expiry as headers. */
void addProgress(Response& response, const Progress& progress)
{
    if (progress.upload.finished || !progress.upload.isFinal()) {
        response.with("Upload-Offset", std::to_string(progress.offset));
    }
    if (!progress.upload.finished) {
        response.with("Upload-Expires", httpDate(progress.upload.expiresMs));
    }
}

/** Adds what the client said about the upload when it was created. */
void addDescription(Response& response, const store::Upload& upload)
{
    if (upload.lengthBytes == store::unknownLength) {
        response.with("Upload-Defer-Length", "1");
    } else {
        response.with("Upload-Length", std::to_string(upload.lengthBytes));
    }
    if (!upload.metadata.empty()) {
        response.with("Upload-Metadata", upload.metadata);
    }
    if (!upload.concat.empty()) {
        response.with("Upload-Concat", upload.concat);
    }
}

std::string locationOf(const store::Upload& upload)
{
    std::string path = basePath;
    path += "/uploads/";
    path += upload.id;
    return path;
}

/** The first step of a new upload, which this request holds. */
Async<Progress> begin(Context& context, Request& request, const store::Upload& upload)
{
    if (upload.isFinal()) {
        co_return co_await concatenate(context, request, upload);
    }
    if (request.body.isPresent() || upload.lengthBytes == 0) {
        co_return co_await receiveHeldPart(context, request, upload, 0);
    }
    co_return Progress{upload, 0, {}};
}

/** The largest upload that a power failure may take back to its beginning. */
constexpr long long smallUploadBytes = 1024 * 1024;

/**
 * A small upload that is whole in the request has no answer between its creation and its files. The
 * commit of the files makes the creation durable too, so that one sync serves both.
 */
store::EDurability durabilityOf(const Request& request, const UploadRequest& wanted)
{
    const auto bodyBytes = request.body.isPresent() ? request.body.lengthBytes() : 0;
    const bool isWhole =
        wanted.concat.empty() && bodyBytes == static_cast<std::uint64_t>(wanted.lengthBytes);
    return isWhole && wanted.lengthBytes <= smallUploadBytes ? store::EDurability::Later
                                                             : store::EDurability::Now;
}

Async<Response> create(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const UploadRequest wanted = readUploadRequest(request, context.settings.maxUploadBytes);
    if (request.body.isPresent()) {
        requireOffsetStream(request);
    }
    // Held before its id is known to any other request, so that its state cannot change meanwhile.
    const std::string id = newUploadId();
    auto hold = co_await context.activeUploads.take(id, request.body);
    const StartedUpload started =
        co_await startUpload(context, user, wanted, id, durabilityOf(request, wanted));
    Progress progress;
    if (started.isRepeat) {
        hold.reset();
        progress = co_await resumeCreation(context, request, started.upload);
    } else {
        progress = co_await begin(context, request, started.upload);
    }
    Response response;
    response.status = 201;
    if (progress.upload.finished) {
        response = co_await resultDocument(context, progress, 201);
        if (started.isRepeat && progress.newFiles.empty()) {
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
    response.with("Cache-Control", "no-store");
    addDescription(response, progress.upload);
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
    co_await deleteUpload(context, request, user, upload);
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
            requireTusVersion(request);
            return handler(context, request);
        });
    }
}

} // namespace kelvo::api
