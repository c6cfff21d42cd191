// Makes files of a received upload.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/TusMetadata.h"
#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "service/base/Encoding.h"
#include "service/http/Problem.h"
#include "service/store/Errors.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/UploadTable.h"
#include "service/store/UserTable.h"

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

void addWarning(store::Upload& upload, const store::Inbox& inbox)
{
    upload.warnings.push_back("The inbox of " + inbox.ownerName + " has \"" + upload.name +
                              "\" more than once; a console can only open the first.");
}

/** Removes the rows of the uploads that a final upload is made of. */
void forgetParts(store::Transaction& transaction, const store::Upload& upload)
{
    if (!upload.isFinal()) {
        return;
    }
    for (const std::string& part : partsOf(upload.concat)) {
        store::removeUnfinishedUpload(transaction, part);
    }
}

/** Adds the files and events of a received upload. */
FinishedUpload commitFiles(Context& context, store::Transaction& transaction, store::Upload upload,
                           const std::string& address)
{
    std::vector<store::File> files;
    soci::session& sql = transaction.sql;
    const auto user = store::userById(sql, upload.user);
    if (!user || user->disabled) {
        throw Problem(EProblem::Unauthenticated, "This account has been disabled.");
    }
    const auto stored = store::uploadById(sql, upload.id);
    if (!stored) {
        throw Problem(EProblem::NotFound, "This upload does not exist.");
    }
    if (stored->finished) { // by another instance
        throw Problem(EProblem::Conflict, "The upload is finished and its files exist.");
    }
    const long long now = context.clock.nowMs();
    const EventFrame frame{upload.farm, now, context.settings.eventsKept};
    const std::string note = noteIn(upload.metadata);
    for (const store::Id target : upload.targets) {
        const auto inbox = store::inboxById(sql, upload.farm, target);
        if (!inbox || !mayUse(*user, *inbox)) {
            throw Problem(EProblem::NotFound, "A target no longer exists.");
        }
        if (user->role == store::ERole::Office &&
            store::nameIsInInbox(sql, upload.farm, target, upload.name)) {
            addWarning(upload, *inbox);
        }
        const store::File file = store::addFile(transaction, upload.farm,
                                                {0, target, upload.name, upload.lengthBytes,
                                                 upload.sha256, now, user->id, user->name, note});
        addFileAdded(transaction, frame, *inbox, file);
        audit(transaction, context, address, *user, {"file-add", "file", file.id});
        upload.files.push_back(file.id);
        files.push_back(file);
    }
    forgetParts(transaction, upload);
    upload.finished = true;
    store::finishUpload(transaction, upload);
    return {std::move(upload), std::move(files)};
}

/** The upload's files that are still in their targets. */
Async<std::vector<store::File>> filesOf(Context& context, const store::Upload& upload)
{
    auto query = [&upload](soci::session& sql) {
        std::vector<store::File> files;
        for (const store::Id id : upload.files) {
            if (auto file = store::fileById(sql, upload.farm, id)) {
                files.push_back(std::move(*file));
            }
        }
        return files;
    };
    co_return co_await context.database.read(query);
}

/** A durable content, without a reference yet. */
struct StoredContent
{
    std::unique_ptr<content::DigestLocks::Guard> lock; // protects the content from the janitor
    std::unique_ptr<content::Adoption> adoption;
};

/**
 * Makes a content of the received bytes and sets the upload's digest. Runs as one job of the pool
 * unless it has to wait for the lock.
 */
Async<StoredContent> storeContent(Context& context, store::Upload& upload,
                                  content::Receiver& receiver)
{
    StoredContent stored;
    auto adopt = [&receiver, &stored] { stored.adoption = receiver.adopt(); };
    auto work = [&context, &upload, &receiver, &stored, &adopt] {
        upload.sha256 = receiver.finish();
        stored.lock = context.digestLocks.tryLock(upload.sha256);
        if (stored.lock) {
            adopt();
        }
    };
    co_await context.contentPool.run(work);
    if (!stored.lock) {
        stored.lock = co_await context.digestLocks.lock(upload.sha256);
        co_await context.contentPool.run(adopt);
    }
    co_return stored;
}

enum class EOutcome : std::uint8_t { Committed, RolledBack };

/** If the transaction was rolled back, the next attempt finds the upload unchanged. */
Async<void> settle(Context& context, std::unique_ptr<content::Adoption>& adoption, EOutcome outcome)
{
    if (outcome == EOutcome::Committed && !adoption->leavesUpload()) {
        adoption->committed(); // does not block
        co_return;
    }
    auto work = [&adoption, outcome] {
        if (outcome == EOutcome::Committed) {
            adoption->committed();
        } else {
            adoption->rolledBack();
        }
    };
    co_await context.contentPool.run(work);
}

} // namespace

Async<FinishedUpload> finishUpload(Context& context, store::Upload upload,
                                   content::Receiver& receiver, std::string address)
{
    StoredContent stored = co_await storeContent(context, upload, receiver);
    auto change = [&context, &upload, &address, &stored](store::Transaction& transaction) {
        FinishedUpload made = commitFiles(context, transaction, upload, address);
        stored.adoption->join(transaction);
        return made;
    };
    FinishedUpload finished;
    EOutcome outcome = EOutcome::Committed;
    std::exception_ptr failure;
    try {
        finished = co_await context.database.write(store::Scope::farm(upload.farm), change);
    } catch (const store::CommitInDoubt&) {
        // The content is kept, because committed files may need it. If there are none, the janitor
        // removes the content and the client sends the upload again.
        failure = std::current_exception();
    } catch (...) {
        outcome = EOutcome::RolledBack;
        failure = std::current_exception();
    }
    co_await settle(context, stored.adoption, outcome);
    if (failure) {
        std::rethrow_exception(failure);
    }
    co_return finished;
}

namespace {

constexpr std::size_t longestWarnings = 4096;

/** The warnings with percent encoding, separated by commas. Many warnings are cut with "...". */
std::string warningsHeader(const std::vector<std::string>& warnings)
{
    std::string text;
    for (const std::string& warning : warnings) {
        const std::string encoded = percentEncode(warning, " ;.");
        if (text.size() + encoded.size() > longestWarnings) {
            return text + (text.empty() ? "..." : ", ...");
        }
        text += (text.empty() ? "" : ", ") + encoded;
    }
    return text;
}

} // namespace

void addResultHeaders(http::Response& response, const store::Upload& upload)
{
    response.with("Repr-Digest", reprDigest(upload.sha256));
    response.with("Kelvo-File-Ids", store::joinIds(upload.files));
    if (!upload.warnings.empty()) {
        response.with("Kelvo-Warnings", warningsHeader(upload.warnings));
    }
}

Async<http::Response> resultDocument(Context& context, const Progress& progress, unsigned status)
{
    std::vector<store::File> files = progress.newFiles;
    if (files.empty()) {
        files = co_await filesOf(context, progress.upload);
    }
    Json list = Json::array();
    for (const store::File& file : files) {
        list.push_back(toJson(file));
    }
    http::Response response = http::Response::json(
        {{"files", std::move(list)}, {"warnings", progress.upload.warnings}}, status);
    addResultHeaders(response, progress.upload);
    co_return response;
}

} // namespace kelvo::api
