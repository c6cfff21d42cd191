// Starts an upload, or finds it again.
#include "service/api/Access.h"
#include "service/api/Quota.h"
#include "service/api/UploadSteps.h"
#include "service/base/Random.h"
#include "service/http/Problem.h"
#include "service/store/InboxTable.h"
#include "service/store/UploadTable.h"

#include <algorithm>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

/** Returns the number of targets of each owner. */
std::map<store::Id, long long> requireTargets(soci::session& sql, const store::User& user,
                                              const std::vector<store::Id>& targets)
{
    std::map<store::Id, long long> ofOwners;
    for (const store::Id target : targets) {
        const auto inbox = store::inboxById(sql, user.farmId(), target);
        if (!inbox) {
            throw Problem(EProblem::NotFound, "A target is not an inbox of the farm.");
        }
        if (!mayUse(user, *inbox)) {
            throw Problem(EProblem::Forbidden, "A target is the inbox of another user.");
        }
        ++ofOwners[inbox->ownerId];
    }
    return ofOwners;
}

bool isSameRequest(const store::Upload& upload, const UploadRequest& wanted)
{
    // The length may have become known after the creation.
    const bool isSameLength = wanted.isFinal() || wanted.lengthBytes == store::unknownLength ||
                              upload.lengthBytes == wanted.lengthBytes;
    return upload.name == wanted.name && upload.targets == wanted.targets &&
           upload.concat == wanted.concat && isSameLength &&
           noteIn(upload.metadata) == noteIn(wanted.metadata);
}

std::optional<store::Upload> findRepeat(store::Transaction& transaction, const store::User& user,
                                        const UploadRequest& wanted, ExpiryTime now)
{
    if (wanted.key.empty()) {
        return std::nullopt;
    }
    auto known = store::uploadByKey(transaction.sql, user.id, wanted.key);
    if (!known) {
        return std::nullopt;
    }
    if (!isSameRequest(*known, wanted)) {
        throw Problem(EProblem::Conflict,
                      "The Idempotency-Key was used for another name, target or length.");
    }
    const bool isUsable = known->finished ? store::isRepeatable(transaction.sql, *known)
                                          : !now.hasReached(known->expiresMs);
    if (isUsable) {
        return known;
    }
    store::forgetKey(transaction, known->id);
    return std::nullopt;
}

/** The length of all parts of a final upload. */
long long lengthOfParts(soci::session& sql, const store::User& user, const UploadRequest& wanted,
                        ExpiryTime now)
{
    long long length = 0;
    for (const std::string& id : wanted.parts) {
        const auto part = store::uploadById(sql, id);
        const bool isUsable = part && part->user == user.id && !now.hasReached(part->expiresMs);
        if (!isUsable || !part->isPartial()) {
            throw Problem(EProblem::NotFound, "A part of the upload does not exist.");
        }
        if (part->lengthBytes == store::unknownLength) {
            throw Problem(EProblem::Conflict, "A part of the upload is not complete.");
        }
        length += part->lengthBytes;
    }
    return length;
}

/** Throws Problem if the sum of the parts is longer than a file may be. */
long long lengthFor(const Context& context, soci::session& sql, const store::User& user,
                    const UploadRequest& wanted)
{
    if (!wanted.isFinal()) {
        return wanted.lengthBytes;
    }
    const long long length = lengthOfParts(sql, user, wanted, context.clock.expiryNow());
    if (length > context.settings.maxUploadBytes) {
        throw Problem(EProblem::ContentTooLarge, "The file is larger than this service allows.");
    }
    return length;
}

StartedUpload start(Context& context, store::Transaction& transaction, const store::User& user,
                    const UploadRequest& wanted, const std::string& newId)
{
    if (auto repeat = findRepeat(transaction, user, wanted, context.clock.expiryNow())) {
        return {std::move(*repeat), true};
    }
    const auto ofOwners = requireTargets(transaction.sql, user, wanted.targets);
    const long long lengthBytes = lengthFor(context, transaction.sql, user, wanted);
    requireQuota(transaction.sql, context.settings.quotas,
                 {user.farmId(), user.id, std::max(lengthBytes, 0LL), ofOwners});
    context.contents.requireRoom(std::max(lengthBytes, 0LL));
    store::Upload upload;
    upload.id = newId;
    upload.farm = user.farmId();
    upload.user = user.id;
    upload.key = wanted.key;
    upload.name = wanted.name;
    upload.targets = wanted.targets;
    upload.lengthBytes = lengthBytes;
    upload.metadata = wanted.metadata;
    upload.concat = wanted.concat;
    upload.createdMs = context.clock.nowMs();
    upload.expiresMs = upload.createdMs + uploadLifeMs;
    store::addUpload(transaction, upload);
    return {std::move(upload), false};
}

} // namespace

std::string newUploadId()
{
    return randomHex(16);
}

Async<StartedUpload> startUpload(Context& context, const store::User& user,
                                 const UploadRequest& wanted, const std::string& newId,
                                 store::EDurability durability)
{
    auto change = [&context, &user, &wanted, &newId](store::Transaction& transaction) {
        return start(context, transaction, user, wanted, newId);
    };
    co_return co_await context.database.write(store::Scope::farm(user.farmId()), change,
                                              durability);
}

Async<store::Upload> findUpload(Context& context, const store::User& user, const std::string& id)
{
    auto query = [&id](soci::session& sql) { return store::uploadById(sql, id); };
    const auto upload = co_await context.database.read(query);
    if (!upload || upload->user != user.id) {
        throw Problem(EProblem::NotFound, "This upload does not exist.");
    }
    if (!upload->finished && context.clock.expiryNow().hasReached(upload->expiresMs)) {
        throw Problem(EProblem::Gone, "The upload has expired.");
    }
    co_return *upload;
}

} // namespace kelvo::api
