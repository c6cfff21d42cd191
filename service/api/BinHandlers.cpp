// The farm's bin: the files deleted in the last 30 days, and their restoration.
#include "service/api/Access.h"
#include "service/api/Audit.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/api/Paging.h"
#include "service/api/UnusedContents.h"
#include "service/base/Encoding.h"
#include "service/base/Log.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"

#include <algorithm>
#include <limits>

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

/** The bin that a request names, and who asks. */
struct BinAccess
{
    store::User user;
    store::Id farm = 0;
};

/** The farm of the office, or the farm that an administrator names in the query. */
Async<BinAccess> accessBin(Context& context, Request& request)
{
    const store::Session session = co_await context.accounts.authenticate(request);
    const auto farm = queryNumber(request, "farm", store::largestId);
    if (session.user.role == store::ERole::Admin && farm) {
        co_return BinAccess{session.user, *farm};
    }
    const store::User user = co_await requireOffice(context, request);
    co_return BinAccess{user, user.farmId()};
}

constexpr std::uint64_t largestTime = std::numeric_limits<long long>::max();

std::string placeText(const store::BinnedFile& file)
{
    return std::to_string(file.deletedMs) + "-" + std::to_string(file.file.id);
}

/** The parameter `after`: a text of placeText(). */
std::optional<store::BinPlace> readPlace(const Request& request)
{
    const auto text = request.queryValue("after");
    if (!text) {
        return std::nullopt;
    }
    const std::size_t dash = std::min(text->find('-'), text->size());
    const auto deletedMs = parseNumber(std::string_view(*text).substr(0, dash));
    const auto file = parseNumber(std::string_view(*text).substr(std::min(dash + 1, text->size())));
    if (!deletedMs || !file || *deletedMs > largestTime || *file > store::largestId) {
        throw Problem(EProblem::MalformedRequest, "\"after\" must be from the link of a page.");
    }
    return store::BinPlace{static_cast<long long>(*deletedMs), static_cast<store::Id>(*file)};
}

Async<Response> getBin(Context& context, Request& request)
{
    const BinAccess access = co_await accessBin(context, request);
    const int limit = readLimit(request);
    const store::BinPart part{.inbox = queryNumber(request, "inbox", store::largestId),
                              .name = request.queryValue("name"),
                              .after = readPlace(request),
                              .most = limit + 1}; // one more shows whether there is a next page
    auto query = [&](soci::session& sql) {
        PageAnswer answer(context, access.user.farmId(), limit, "files");
        store::binOf(sql, access.farm, part, [&answer](const store::BinnedFile& file) {
            return answer.add(placeText(file), toJson(file));
        });
        return answer.toResponse(request);
    };
    co_return co_await context.database.read(query, access.user.farmId());
}

Async<Response> restore(Context& context, Request& request)
{
    const store::User user = co_await requireOffice(context, request);
    const store::Id id = request.id();
    auto change = [&](store::Transaction& transaction) {
        const auto file = store::restoreFromBin(transaction, user.farmId(), id);
        const auto inbox =
            file ? store::inboxById(transaction.sql, user.farmId(), file->inbox) : std::nullopt;
        if (!inbox) {
            throw Problem(EProblem::NotFound, "The bin has no file with this id.");
        }
        addFileAdded(transaction,
                     {user.farmId(), context.clock.nowMs(), context.settings.eventsKept}, *inbox,
                     *file);
        audit(transaction, context, request, user, {"file-restore", "file", id});
        return Response::json(toJson(*file)).with("ETag", etagOf(*file));
    };
    co_return co_await context.database.write(store::Scope::farm(user.farmId()), change);
}

/** A content that cannot be removed is left to the janitor. */
Async<void> removeContents(Context& context, const std::vector<std::string>& digests)
{
    auto remove = [&context, &digests] {
        try {
            removeUnusedContents(context.database, context.contents, context.digestLocks, digests);
        } catch (const std::exception& error) {
            logWarning("content-not-removed", error.what());
        }
    };
    co_await context.contentPool.run(remove);
}

Async<Response> purgeFile(Context& context, Request& request)
{
    const BinAccess access = co_await accessBin(context, request);
    const store::Id file = request.id();
    auto change = [&](store::Transaction& transaction) {
        std::vector<std::string> digests = store::purgeFile(transaction, access.farm, file);
        if (digests.empty()) {
            throw Problem(EProblem::NotFound, "The bin has no file with this id.");
        }
        addBinChanged(transaction,
                      {access.farm, context.clock.nowMs(), context.settings.eventsKept});
        audit(transaction, context, request, access.user,
              {"file-purge", "file", file, {}, access.farm});
        return digests;
    };
    const std::vector<std::string> digests =
        co_await context.database.write(store::Scope::farm(access.farm), change);
    co_await removeContents(context, digests);
    co_return Response::noContent();
}

/** The time after the newest deletion: a file that comes into the bin later stays there. */
long long endOfBin(soci::session& sql, store::Id farm)
{
    long long endMs = 0;
    store::binOf(sql, farm, {.most = 1}, [&endMs](const store::BinnedFile& newest) {
        endMs = newest.deletedMs + 1;
        return false;
    });
    return endMs;
}

Async<Response> purgeBin(Context& context, Request& request)
{
    const BinAccess access = co_await accessBin(context, request);
    auto begin = [&](store::Transaction& transaction) {
        audit(transaction, context, request, access.user,
              {"bin-purge", "farm", access.farm, {}, access.farm});
        return endOfBin(transaction.sql, access.farm);
    };
    const long long endMs = co_await context.database.write(store::Scope::farm(access.farm), begin);
    auto change = [&context, &access, endMs](store::Transaction& transaction) {
        addBinChanged(transaction,
                      {access.farm, context.clock.nowMs(), context.settings.eventsKept});
        return store::purgeBin(transaction, access.farm, endMs);
    };
    std::vector<std::string> digests;
    do {
        digests = co_await context.database.write(store::Scope::farm(access.farm), change);
        co_await removeContents(context, digests);
    } while (!digests.empty());
    co_return Response::noContent();
}

} // namespace

void addBinRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/bin", [&context](Request& r) { return getBin(context, r); });
    router.add("DELETE", "/bin", [&context](Request& r) { return purgeBin(context, r); });
    router.add("DELETE", "/bin/{id}", [&context](Request& r) { return purgeFile(context, r); });
    router.add("POST", "/bin/{id}/restore", [&context](Request& r) { return restore(context, r); });
}

} // namespace kelvo::api
