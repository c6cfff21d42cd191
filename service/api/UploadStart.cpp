// How an upload begins, or is found again.
#include "service/api/Access.h"
#include "service/api/UploadSteps.h"
#include "service/base/Random.h"
#include "service/http/Problem.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/UploadTable.h"

#include <algorithm>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

void requireTargets(soci::session& sql, const store::User& user,
                    const std::vector<store::Id>& targets)
{
    for (const store::Id target : targets) {
        const auto inbox = store::inboxById(sql, user.farmId(), target);
        if (!inbox) {
            throw Problem(EProblem::NotFound, "A target is not an inbox of this farm.");
        }
        if (!mayUse(user, *inbox)) {
            throw Problem(EProblem::Forbidden, "A target is somebody else's inbox.");
        }
    }
}

bool isSameWish(const store::Upload& upload, const UploadWish& wish)
{
    return upload.name == wish.name && upload.targets == wish.targets &&
           upload.lengthBytes == wish.lengthBytes;
}

/** Whether a repeat gets this upload's result; a result that somebody removed does not count. */
bool isStillGood(soci::session& sql, const store::Upload& upload, long long nowMs)
{
    if (!upload.finished) {
        return upload.expiresMs > nowMs;
    }
    return std::all_of(upload.files.begin(), upload.files.end(), [&sql, &upload](store::Id id) {
        return store::fileById(sql, upload.farm, id).has_value();
    });
}

std::optional<store::Upload> findRepeat(store::Transaction& transaction, const store::User& user,
                                        const UploadWish& wish, long long nowMs)
{
    if (wish.key.empty()) {
        return std::nullopt;
    }
    auto known = store::uploadByKey(transaction.sql, user.id, wish.key);
    if (!known) {
        return std::nullopt;
    }
    if (!isSameWish(*known, wish)) {
        throw Problem(EProblem::Conflict,
                      "The Idempotency-Key was used for another name, target or length.");
    }
    if (isStillGood(transaction.sql, *known, nowMs)) {
        return known;
    }
    store::forgetKey(transaction, known->id);
    return std::nullopt;
}

Beginning begin(store::Transaction& transaction, const store::User& user, const UploadWish& wish,
                const std::string& newId, long long nowMs)
{
    if (auto repeat = findRepeat(transaction, user, wish, nowMs)) {
        return {std::move(*repeat), true};
    }
    requireTargets(transaction.sql, user, wish.targets);
    store::Upload upload;
    upload.id = newId;
    upload.farm = user.farmId();
    upload.user = user.id;
    upload.key = wish.key;
    upload.name = wish.name;
    upload.targets = wish.targets;
    upload.lengthBytes = wish.lengthBytes;
    upload.createdMs = nowMs;
    upload.expiresMs = nowMs + uploadLifeMs;
    store::addUpload(transaction, upload);
    return {std::move(upload), false};
}

} // namespace

std::string newUploadId()
{
    return randomHex(16);
}

Async<Beginning> beginUpload(Context& context, const store::User& user, const UploadWish& wish,
                             const std::string& newId)
{
    auto change = [&context, &user, &wish, &newId](store::Transaction& transaction) {
        return begin(transaction, user, wish, newId, context.clock.nowMs());
    };
    co_return co_await context.database.write(change);
}

Async<store::Upload> findUpload(Context& context, const store::User& user, const std::string& id)
{
    auto query = [&id](soci::session& sql) { return store::uploadById(sql, id); };
    const auto upload = co_await context.database.read(query);
    if (!upload || upload->user != user.id) {
        throw Problem(EProblem::NotFound, "There is no such upload.");
    }
    if (!upload->finished && upload->expiresMs <= context.clock.nowMs()) {
        throw Problem(EProblem::Gone, "The upload has expired.");
    }
    co_return *upload;
}

} // namespace kelvo::api
