// How bytes become an upload and an upload becomes files.
#include "service/api/Access.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "service/content/Receive.h"
#include "service/http/Problem.h"
#include "service/store/Files.h"
#include "service/store/Inboxes.h"
#include "service/store/Uploads.h"
#include "service/store/Users.h"

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

void addWarning(store::Upload& upload, const store::Inbox& inbox)
{
    upload.warnings.push_back("The inbox of " + inbox.ownerName + " has \"" + upload.name +
                              "\" more than once now; a console reaches only the first.");
}

/** Files and events of a received upload. */
store::Upload commitFiles(Context& context, store::Transaction& transaction, store::Upload upload)
{
    soci::session& sql = transaction.sql;
    const auto user = store::userById(sql, upload.user);
    if (!user || user->disabled) {
        throw Problem(EProblem::Unauthenticated, "The account has been disabled.");
    }
    if (!store::uploadById(sql, upload.id)) {
        throw Problem(EProblem::NotFound, "There is no such upload.");
    }
    const long long now = context.clock.nowMs();
    const EventFrame frame{upload.farm, now, context.settings.eventsKept};
    for (const store::Id target : upload.targets) {
        const auto inbox = store::inboxById(sql, upload.farm, target);
        if (!inbox || !mayUse(*user, *inbox)) {
            throw Problem(EProblem::NotFound, "A target is not there any more.");
        }
        if (user->role == store::ERole::Office &&
            store::nameIsInInbox(sql, upload.farm, target, upload.name)) {
            addWarning(upload, *inbox);
        }
        const store::File file =
            store::addFile(transaction, upload.farm,
                           {0, target, upload.name, upload.lengthBytes, upload.sha256, now});
        addFileAdded(transaction, frame, *inbox, file);
        upload.files.push_back(file.id);
    }
    upload.finished = true;
    store::finishUpload(transaction, upload);
    return upload;
}

Async<store::Upload> reload(Context& context, const std::string& id)
{
    auto query = [&id](soci::session& sql) { return store::uploadById(sql, id); };
    const auto upload = co_await context.database.read(query);
    if (!upload) {
        throw Problem(EProblem::NotFound, "There is no such upload.");
    }
    co_return *upload;
}

[[noreturn]] void throwWrongOffset(long long offset)
{
    throw Problem(EProblem::UploadOffsetMismatch, "The upload is not at this offset.",
                  {{"Upload-Offset", std::to_string(offset)}});
}

} // namespace

Async<Progress> currentProgress(Context& context, http::Request& request, store::Upload upload)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    upload = co_await reload(context, upload.id);
    if (upload.finished) {
        co_return Progress{upload, upload.lengthBytes};
    }
    auto look = [&context, &upload] { return context.contents.uploadSize(upload.id); };
    const auto size = co_await context.filePool.run(look);
    co_return Progress{upload, static_cast<long long>(size)};
}

Async<Progress> receivePart(Context& context, http::Request& request, store::Upload upload,
                            long long offset)
{
    const auto hold = co_await context.activeUploads.take(upload.id, request.body);
    upload = co_await reload(context, upload.id);
    if (upload.finished) {
        throwWrongOffset(upload.lengthBytes);
    }
    auto open = [&context, &upload, offset] {
        // The size first: a wrong offset must not cost the digest of what is there.
        const auto size = static_cast<long long>(context.contents.uploadSize(upload.id));
        if (size != offset) {
            throwWrongOffset(size);
        }
        return content::UploadWriter(context.contents, context.digests, upload.id);
    };
    content::UploadWriter writer = co_await context.filePool.run(open);
    if (static_cast<std::uint64_t>(upload.lengthBytes - offset) < request.body.lengthBytes()) {
        writer.suspend();
        throw Problem(EProblem::ContentTooLarge, "The body is longer than what is missing.");
    }
    const bool whole = co_await content::receiveBody(request.body, writer, context.filePool);
    const auto reached = static_cast<long long>(writer.offset());
    if (reached == upload.lengthBytes) {
        upload = co_await finishUpload(context, upload, writer);
        co_return Progress{upload, reached};
    }
    if (whole) {
        auto sync = [&writer] { writer.sync(); };
        co_await context.filePool.run(sync);
    }
    writer.suspend();
    if (!whole) {
        throw http::PeerGone();
    }
    co_return Progress{upload, reached};
}

Async<store::Upload> finishUpload(Context& context, store::Upload upload,
                                  content::UploadWriter& writer)
{
    auto seal = [&writer] {
        writer.sync();
        return writer.finish();
    };
    upload.sha256 = co_await context.filePool.run(seal);
    auto lock = co_await context.digestLocks.lock(upload.sha256);
    auto adopt = [&context, &upload] { return context.contents.adopt(upload.id, upload.sha256); };
    const bool moved = co_await context.filePool.run(adopt);
    auto change = [&context, &upload](store::Transaction& transaction) {
        return commitFiles(context, transaction, upload);
    };
    std::exception_ptr failure;
    store::Upload finished;
    try {
        finished = co_await context.database.write(change);
    } catch (...) {
        failure = std::current_exception();
    }
    auto tidy = [&context, &upload, moved, failed = failure != nullptr] {
        if (!failed && !moved) {
            context.contents.removeUpload(upload.id); // an equal content was there already
        } else if (failed && moved) {
            context.contents.giveBack(upload.id, upload.sha256); // the next attempt finds it
        }
    };
    co_await context.filePool.run(tidy);
    if (failure) {
        std::rethrow_exception(failure);
    }
    co_return finished;
}

void addResultHeaders(http::Response& response, const store::Upload& upload)
{
    response.with("Repr-Digest", reprDigest(upload.sha256));
    response.with("Kelvo-File-Ids", store::joinIds(upload.files));
}

Async<http::Response> resultDocument(Context& context, const store::Upload& upload, unsigned status)
{
    auto query = [&upload](soci::session& sql) {
        Json files = Json::array();
        for (const store::Id id : upload.files) {
            if (const auto file = store::fileById(sql, upload.farm, id)) {
                files.push_back(toJson(*file));
            }
        }
        return files;
    };
    Json files = co_await context.database.read(query);
    http::Response response =
        http::Response::json({{"files", std::move(files)}, {"warnings", upload.warnings}}, status);
    addResultHeaders(response, upload);
    co_return response;
}

} // namespace kelvo::api
