// Makes one file of several uploads.
#include "service/api/UploadChecksum.h"
#include "service/api/UploadSteps.h"
#include "service/base/Log.h"
#include "service/http/Problem.h"
#include "service/store/UploadTable.h"

#include <set>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

using Holds = std::vector<std::shared_ptr<ActiveUploads::Hold>>;

/** No request changes a part meanwhile. All requests take the parts in the same order. */
Async<Holds> holdParts(Context& context, http::Request& request, const std::set<std::string>& ids)
{
    Holds holds;
    for (const std::string& id : ids) {
        holds.push_back(co_await context.activeUploads.take(id, request.body));
    }
    co_return holds;
}

Async<void> requireComplete(Context& context, const std::set<std::string>& ids)
{
    for (const std::string& id : ids) {
        auto read = [&id](soci::session& sql) { return store::uploadById(sql, id); };
        const auto part = co_await context.database.read(read);
        if (!part) {
            throw Problem(EProblem::NotFound, "A part of the upload does not exist.");
        }
        auto look = [&context, &id] { return context.contents.keptBytes(id); };
        const auto size = static_cast<long long>(co_await context.contentPool.run(look));
        if (size != part->lengthBytes) {
            throw Problem(EProblem::Conflict, "A part of the upload is not complete.");
        }
    }
}

Async<void> appendPart(Context& context, const std::string& id, content::Receiver& receiver)
{
    auto open = [&context, &id] { return context.contents.openUpload(id); };
    const auto part = co_await context.contentPool.run(open);
    if (!part) {
        co_return; // no bytes of an empty part were ever received
    }
    ReadNext readNext = [&part, offset = std::uint64_t{0}](void* buffer,
                                                           std::size_t mostBytes) mutable {
        const std::size_t got = part->read(offset, buffer, mostBytes);
        offset += got;
        return got;
    };
    co_await appendAll(context, std::move(readNext), receiver);
}

/** The file of the final upload is committed, even if the removal fails. */
Async<void> removeParts(Context& context, const std::set<std::string>& ids)
{
    try {
        auto remove = [&context, &ids] {
            for (const std::string& id : ids) {
                context.contents.removeUpload(id);
            }
        };
        co_await context.contentPool.run(remove);
    } catch (const std::exception& error) {
        logWarning("upload-not-removed", error.what()); // the janitor removes them
    }
}

} // namespace

Async<Progress> concatenate(Context& context, http::Request& request, const store::Upload& upload)
{
    const std::vector<std::string> parts = partsOf(upload.concat);
    const std::set<std::string> ids(parts.begin(), parts.end());
    const Holds holds = co_await holdParts(context, request, ids);
    co_await requireComplete(context, ids);
    const auto memory = co_await context.transferMemory.take(
        upload.farm,
        context.contents.receiverMemory(upload.lengthBytes) +
            context.contents.readerMemory(upload.lengthBytes), // of the parts, one after another
        &request.body);
    auto open = [&context, &upload] {
        context.contents.removeUpload(upload.id); // the bytes of an attempt that a crash ended
        return context.contents.receive(upload.id);
    };
    const auto receiver = co_await context.contentPool.run(open);
    for (const std::string& id : parts) {
        co_await appendPart(context, id, *receiver);
    }
    if (static_cast<long long>(receiver->offset()) != upload.lengthBytes) {
        throw Problem(EProblem::Conflict, "A part of the upload has changed.");
    }
    FinishedUpload finished =
        co_await finishUpload(context, upload, *receiver, request.peerAddress);
    co_await removeParts(context, ids);
    co_return Progress{finished.upload, upload.lengthBytes, finished.files};
}

} // namespace kelvo::api
