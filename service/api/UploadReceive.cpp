// Appends the bytes of a request to an upload.
#include "service/api/ReceiveBody.h"
#include "service/api/UploadSteps.h"
#include "service/http/Problem.h"
#include "service/store/UploadTable.h"

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

constexpr long long extensionStepMs = 3600LL * 1000;

Async<store::Upload> reload(Context& context, const std::string& id)
{
    auto query = [&id](soci::session& sql) { return store::uploadById(sql, id); };
    const auto upload = co_await context.database.read(query);
    if (!upload) {
        throw Problem(EProblem::NotFound, "This upload does not exist.");
    }
    co_return *upload;
}

/**
 * Extends the expiry to the full time. Skipped if the expiry was extended in the last hour: a
 * commit costs more than a small part. Throws Problem if the upload has been removed.
 */
Async<void> extend(Context& context, store::Upload& upload)
{
    const long long expiresMs = context.clock.nowMs() + uploadLifeMs;
    if (upload.expiresMs > expiresMs - extensionStepMs) {
        co_return;
    }
    auto change = [&upload, expiresMs](store::Transaction& transaction) {
        return store::extendUpload(transaction, upload.id, expiresMs);
    };
    const bool exists = co_await context.database.write(change);
    if (!exists) {
        throw Problem(EProblem::Gone, "The upload has expired.");
    }
    upload.expiresMs = expiresMs;
}

[[noreturn]] void throwWrongOffset(long long offset)
{
    throw Problem(EProblem::UploadOffsetMismatch, "The upload has another offset.",
                  {{"Upload-Offset", std::to_string(offset)}});
}

} // namespace

Async<Progress> stopAndInspect(Context& context, http::Request& request, store::Upload upload)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    upload = co_await reload(context, upload.id);
    if (upload.finished) {
        co_return Progress{upload, upload.lengthBytes, {}};
    }
    auto look = [&context, &upload] { return context.contents.uploadSize(upload.id); };
    const auto size = co_await context.filePool.run(look);
    co_return Progress{upload, static_cast<long long>(size), {}};
}

Async<void> deleteUpload(Context& context, http::Request& request, const store::Upload& upload)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    // The request that held the upload before may have finished it.
    auto change = [&upload](store::Transaction& transaction) {
        const bool removed = store::removeUnfinishedUpload(transaction, upload.id);
        if (!removed && store::uploadById(transaction.sql, upload.id)) {
            throw Problem(EProblem::Conflict, "The upload is finished and its files exist.");
        }
        return removed;
    };
    const bool removed = co_await context.database.write(change);
    if (!removed) {
        throw Problem(EProblem::NotFound, "This upload does not exist.");
    }
    auto remove = [&context, &upload] { context.contents.removeUpload(upload.id); };
    co_await context.filePool.run(remove);
}

Async<Progress> receivePart(Context& context, http::Request& request, store::Upload upload,
                            long long offset)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    upload = co_await reload(context, upload.id);
    if (upload.finished) {
        throwWrongOffset(upload.lengthBytes);
    }
    co_await extend(context, upload);
    co_return co_await receiveHeldPart(context, request, upload, offset);
}

Async<Progress> receiveHeldPart(Context& context, http::Request& request, store::Upload upload,
                                long long offset)
{
    auto open = [&context, &request, &upload, offset] {
        // The size is checked first: a wrong offset must not cost digesting the present bytes.
        const auto size = static_cast<long long>(context.contents.uploadSize(upload.id));
        if (size != offset) {
            throwWrongOffset(size);
        }
        context.reserve.requireRoom(static_cast<long long>(request.body.lengthBytes()));
        return content::UploadWriter(context.contents, context.digests, upload.id);
    };
    content::UploadWriter writer = co_await context.filePool.run(open);
    if (static_cast<std::uint64_t>(upload.lengthBytes - offset) < request.body.lengthBytes()) {
        writer.suspend();
        throw Problem(EProblem::ContentTooLarge, "The body is longer than the missing part.");
    }
    const bool whole = co_await receiveBody(request.body, writer, context.filePool);
    const auto reached = static_cast<long long>(writer.offset());
    if (reached == upload.lengthBytes) {
        FinishedUpload finished = co_await finishUpload(context, upload, writer);
        co_return Progress{finished.upload, reached, finished.files};
    }
    if (whole) {
        auto sync = [&writer] { writer.sync(); };
        co_await context.filePool.run(sync);
    }
    writer.suspend();
    co_await extend(context, upload);
    if (!whole) {
        throw http::PeerGone();
    }
    co_return Progress{upload, reached, {}};
}

} // namespace kelvo::api
