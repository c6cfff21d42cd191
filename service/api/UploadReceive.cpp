// Appends the bytes of a request to an upload.
#include "service/api/Audit.h"
#include "service/api/Quota.h"
#include "service/api/ReceiveBody.h"
#include "service/api/UploadChecksum.h"
#include "service/api/UploadSteps.h"
#include "service/http/Problem.h"
#include "service/store/UploadTable.h"

#include <exception>
#include <memory>

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
    const bool exists = co_await context.database.write(store::Scope::farm(upload.farm), change);
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

Async<long long> receivedSize(Context& context, const store::Upload& upload)
{
    auto look = [&context, &upload] { return context.contents.keptBytes(upload.id); };
    const auto size = co_await context.contentPool.run(look);
    co_return static_cast<long long>(size);
}

/**
 * The state of an upload. The bytes come before the row: if another instance finishes the upload in
 * between, its bytes are gone and only the row tells its length.
 */
Async<Progress> progressOf(Context& context, const store::Upload& upload)
{
    const long long size = co_await receivedSize(context, upload);
    store::Upload stored = co_await reload(context, upload.id);
    co_return Progress{stored, stored.finished ? stored.lengthBytes : size, {}};
}

void requireFits(const http::Request& request, std::uint64_t missing)
{
    if (request.body.lengthBytes().value_or(0) > missing) {
        throw Problem(EProblem::ContentTooLarge, "The body is longer than the missing part.");
    }
}

/** Stores the length that this part names, if the creation did not name it. */
Async<void> setLateLength(Context& context, const http::Request& request, store::Upload& upload,
                          long long offset)
{
    const auto length = readLateLength(request, context.settings.maxUploadBytes);
    if (!length || *length == upload.lengthBytes) {
        co_return;
    }
    if (upload.lengthBytes != store::unknownLength || *length < offset) {
        throw Problem(EProblem::MalformedRequest, "The upload has another length.");
    }
    const Progress progress = co_await progressOf(context, upload);
    if (progress.offset != offset) {
        throwWrongOffset(progress.offset);
    }
    requireFits(request, static_cast<std::uint64_t>(*length - offset));
    auto change = [&context, &upload, &length](store::Transaction& transaction) {
        claimQuota(transaction, context.settings.quotas, upload, *length);
        return store::setUploadLength(transaction, upload.id, *length);
    };
    const bool isSet = co_await context.database.write(store::Scope::farm(upload.farm), change);
    if (!isSet) {
        throw Problem(EProblem::Gone, "The upload has expired.");
    }
    upload.lengthBytes = *length;
}

/**
 * Claims quota for an upload whose length is not known. A chunked part may have any length, so the
 * claim is for the largest upload.
 */
Async<void> claimQuotaForPart(Context& context, const http::Request& request,
                              const store::Upload& upload, long long offset)
{
    const long long largest = context.settings.maxUploadBytes;
    const auto length = request.body.lengthBytes().value_or(static_cast<std::uint64_t>(largest));
    // The sum could overflow.
    const bool isBelow = static_cast<std::uint64_t>(offset) < static_cast<std::uint64_t>(largest) &&
                         length < static_cast<std::uint64_t>(largest - offset);
    const long long bytes = isBelow ? offset + static_cast<long long>(length) : largest;
    auto change = [&context, &upload, bytes](store::Transaction& transaction) {
        claimQuota(transaction, context.settings.quotas, upload, bytes);
    };
    co_await context.database.write(store::Scope::farm(upload.farm), change,
                                    store::EDurability::Later);
}

/** Keeps the claim for the received bytes only. */
Async<void> releaseQuota(Context& context, const store::Upload& upload)
{
    const long long bytes = co_await receivedSize(context, upload);
    auto change = [&upload, bytes](store::Transaction& transaction) {
        store::setClaimedBytes(transaction, upload.id, bytes);
    };
    co_await context.database.write(store::Scope::farm(upload.farm), change,
                                    store::EDurability::Later);
}

/** Throws Problem if the body is longer than the missing part; a chunked body ends there. */
void limitBody(const Context& context, http::Request& request, const store::Upload& upload,
               std::uint64_t offset)
{
    const long long length = upload.lengthBytes == store::unknownLength
                                 ? context.settings.maxUploadBytes
                                 : upload.lengthBytes;
    // An upload without a length may have come under a larger limit.
    const std::uint64_t missing = std::max(static_cast<std::uint64_t>(length), offset) - offset;
    requireFits(request, missing);
    request.body.limit(missing);
}

/**
 * Appends the body. With a checksum the bytes are appended after they are checked: a crash leaves
 * only checked bytes. False if the body was cut; then unchecked bytes are dropped.
 */
Async<bool> receiveInto(Context& context, http::Request& request, const store::Upload& upload,
                        std::optional<Checksum>& checksum, content::Receiver& receiver)
{
    limitBody(context, request, upload, receiver.offset());
    if (checksum) {
        co_return co_await receiveChecked(context, request, *checksum, receiver);
    }
    const Sink sink = [&receiver](const void* data, std::size_t sizeBytes) {
        receiver.append(data, sizeBytes);
    };
    // The link may be cut silently. Then the client resumes at any instance, behind these bytes.
    const Pause pause{[&receiver] { receiver.suspend(); }};
    co_return co_await receiveBody(request.body, sink, context.contentPool, pause);
}

/** Throws Problem if the upload has another offset. */
std::unique_ptr<content::Receiver> openReceiver(Context& context, const http::Request& request,
                                                const store::Upload& upload, long long offset)
{
    const auto requireOffset = [&context, &upload, offset](std::uint64_t found) {
        if (static_cast<long long>(found) != offset) {
            const auto stored = context.database.readNow(
                [&upload](soci::session& sql) { return store::uploadById(sql, upload.id); });
            const bool isFinished = stored && stored->finished; // by another instance meanwhile
            throwWrongOffset(isFinished ? stored->lengthBytes : static_cast<long long>(found));
        }
    };
    // The size is checked first: a wrong offset must not cost digesting the present bytes.
    requireOffset(context.contents.keptBytes(upload.id));
    context.contents.requireRoom(static_cast<long long>(request.body.lengthBytes().value_or(0)));
    auto receiver = context.contents.receive(upload.id);
    requireOffset(receiver->offset()); // another process may have received bytes meanwhile
    return receiver;
}

/** Appends the body at `offset`. If it was the last part, finishes the upload. */
Async<Progress> appendPart(Context& context, http::Request& request, store::Upload upload,
                           long long offset)
{
    auto checksum = checksumOf(request);
    const auto memory = co_await context.transferMemory.take(
        upload.farm, context.contents.receiverMemory(upload.lengthBytes), &request.body);
    auto open = [&context, &request, &upload, offset] {
        return openReceiver(context, request, upload, offset);
    };
    const auto receiver = co_await context.contentPool.run(open);
    const bool whole = co_await receiveInto(context, request, upload, checksum, *receiver);
    const auto reached = static_cast<long long>(receiver->offset());
    if (whole && reached == upload.lengthBytes && !upload.isPartial()) {
        FinishedUpload finished =
            co_await finishUpload(context, upload, *receiver, request.peerAddress);
        co_return Progress{finished.upload, reached, finished.files};
    }
    auto keep = [&receiver, whole] { whole ? receiver->flush() : receiver->suspend(); };
    co_await context.contentPool.run(keep);
    co_await extend(context, upload);
    if (!whole) {
        request.body.throwFailure();
    }
    co_return Progress{upload, reached, {}};
}

/**
 * The offset of a held upload. A crash or a failed commit may have left a whole upload without its
 * files. A client takes the full offset for success, so the upload is finished first.
 */
Async<Progress> inspectHeld(Context& context, http::Request& request, Progress progress)
{
    const store::Upload& upload = progress.upload;
    const bool mayFinish = !upload.finished && !upload.isPartial() && !upload.isFinal();
    if (!mayFinish || progress.offset != upload.lengthBytes) {
        co_return progress;
    }
    const auto memory = co_await context.transferMemory.take(
        upload.farm, context.contents.receiverMemory(upload.lengthBytes), &request.body);
    auto open = [&context, &upload] { return context.contents.receive(upload.id); };
    const auto receiver = co_await context.contentPool.run(open);
    if (static_cast<long long>(receiver->offset()) != progress.offset) {
        co_return co_await progressOf(context, upload); // another process has changed it meanwhile
    }
    FinishedUpload finished =
        co_await finishUpload(context, upload, *receiver, request.peerAddress);
    co_return Progress{finished.upload, progress.offset, {}}; // the bytes are of earlier requests
}

} // namespace

Async<Progress> stopAndInspect(Context& context, http::Request& request, store::Upload upload)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    const Progress progress = co_await progressOf(context, upload);
    co_return co_await inspectHeld(context, request, progress);
}

Async<void> deleteUpload(Context& context, http::Request& request, const store::User& user,
                         const store::Upload& upload)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    // The request that held the upload before may have finished it.
    auto change = [&](store::Transaction& transaction) {
        if (!store::removeUnfinishedUpload(transaction, upload.id)) {
            if (store::uploadById(transaction.sql, upload.id)) {
                throw Problem(EProblem::Conflict, "The upload is finished and its files exist.");
            }
            throw Problem(EProblem::NotFound, "This upload does not exist.");
        }
        audit(transaction, context, request, user, {"upload-delete"});
    };
    co_await context.database.write(store::Scope::farm(upload.farm), change);
    auto remove = [&context, &upload] { context.contents.removeUpload(upload.id); };
    co_await context.contentPool.run(remove);
}

Async<Progress> receivePart(Context& context, http::Request& request, store::Upload upload,
                            long long offset)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    upload = co_await reload(context, upload.id);
    if (upload.isFinal()) {
        throw Problem(EProblem::Forbidden, "A final upload takes no bytes.");
    }
    if (upload.finished) {
        throwWrongOffset(upload.lengthBytes);
    }
    co_await setLateLength(context, request, upload, offset);
    co_await extend(context, upload);
    co_return co_await receiveHeldPart(context, request, upload, offset);
}

Async<Progress> resumeCreation(Context& context, http::Request& request, store::Upload upload)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    Progress progress = co_await progressOf(context, upload);
    if (progress.upload.finished) {
        co_return progress;
    }
    co_await extend(context, progress.upload);
    if (progress.upload.isFinal()) {
        co_return co_await concatenate(context, request, progress.upload);
    }
    if (!request.body.isPresent() || progress.offset > 0) {
        // The body starts at 0: the client sends the rest.
        co_return co_await inspectHeld(context, request, progress);
    }
    co_return co_await receiveHeldPart(context, request, progress.upload, 0);
}

Async<Progress> receiveHeldPart(Context& context, http::Request& request, store::Upload upload,
                                long long offset)
{
    if (upload.lengthBytes != store::unknownLength || !request.body.isPresent()) {
        co_return co_await appendPart(context, request, upload, offset);
    }
    co_await claimQuotaForPart(context, request, upload, offset);
    Progress progress;
    std::exception_ptr failure;
    try {
        progress = co_await appendPart(context, request, upload, offset);
    } catch (...) {
        failure = std::current_exception();
    }
    co_await releaseQuota(context, upload);
    if (failure) {
        std::rethrow_exception(failure);
    }
    co_return progress;
}

} // namespace kelvo::api
