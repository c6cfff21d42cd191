// POST /fetches: a console reports the files that it has fetched and unpacked.
#include "service/api/Access.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/EventWriting.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/store/ConsoleTable.h"
#include "service/store/FetchTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"

#include <algorithm>
#include <vector>

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

constexpr std::size_t mostEntries = 100;
constexpr std::size_t longestErrorCharacters = 255;
constexpr long long longestAgeS = 366LL * 24 * 3600;

/** One entry of a report. The console tells ages, because its clock may be wrong. */
struct Entry
{
    store::Id file = 0;
    long long ageS = 0;
    std::optional<long long> unpackedAgeS;
    std::string unpackError;
};

long long requireNumber(const nlohmann::json& entry, const char* member, long long least,
                        long long most)
{
    const auto found = entry.find(member);
    if (found == entry.end() || !found->is_number_integer()) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The member \"") + member + "\" must be an integer.");
    }
    const bool fits = !found->is_number_unsigned() ||
                      found->get<unsigned long long>() <= static_cast<unsigned long long>(most);
    if (!fits || found->get<long long>() < least || found->get<long long>() > most) {
        throw Problem(EProblem::Unprocessable,
                      std::string("The member \"") + member + "\" is out of range.");
    }
    return found->get<long long>();
}

Entry readEntry(const nlohmann::json& document)
{
    if (!document.is_object()) {
        throw Problem(EProblem::MalformedRequest, "Each fetch must be an object.");
    }
    Entry entry;
    entry.file = requireNumber(document, "file", 1, store::largestId);
    entry.ageS = requireNumber(document, "age_s", 0, longestAgeS);
    if (document.contains("unpacked_age_s")) {
        entry.unpackedAgeS = requireNumber(document, "unpacked_age_s", 0, entry.ageS);
    } else if (document.contains("unpack_error")) {
        entry.unpackError = requireString(document, "unpack_error");
        if (countCharacters(entry.unpackError) > longestErrorCharacters) {
            throw Problem(EProblem::Unprocessable,
                          "The member \"unpack_error\" has more than 255 characters.");
        }
    }
    return entry;
}

std::vector<Entry> readEntries(const nlohmann::json& body)
{
    const auto list = body.find("fetches");
    if (list == body.end() || !list->is_array()) {
        throw Problem(EProblem::MalformedRequest, "The member \"fetches\" must be an array.");
    }
    if (list->size() > mostEntries) {
        throw Problem(EProblem::Unprocessable, "A report has at most 100 fetches.");
    }
    std::vector<Entry> entries;
    std::transform(list->begin(), list->end(), std::back_inserter(entries), readEntry);
    return entries;
}

/** A file cannot be fetched before it is on the service. */
store::Fetch fetchOf(const Entry& entry, const store::File& file, long long nowMs)
{
    const auto timeOf = [&file, nowMs](long long ageS) {
        return std::max(file.createdMs, nowMs - ageS * 1000);
    };
    return {.file = file.id,
            .console = 0,
            .userId = 0,
            .userName = {},
            .fetchedMs = timeOf(entry.ageS),
            .unpackedMs = entry.unpackedAgeS ? timeOf(*entry.unpackedAgeS) : 0,
            .unpackError = entry.unpackError};
}

Async<Response> addFetches(Context& context, Request& request)
{
    co_await requireHalfOfReserve(context);
    const store::Session session = co_await requireOperator(context, request);
    const std::vector<Entry> entries = readEntries(co_await request.json());
    const store::User& user = session.user;
    const EventFrame frame{user.farmId(), context.clock.nowMs(), context.settings.eventsKept};
    auto change = [&](store::Transaction& transaction) {
        const store::Id console = store::bindConsole(transaction, session, {});
        for (const Entry& entry : entries) {
            const auto file = store::fileById(transaction.sql, frame.farm, entry.file);
            const auto inbox =
                file ? store::inboxById(transaction.sql, frame.farm, file->inbox) : std::nullopt;
            // A file that was deleted meanwhile must not hold up the others.
            if (!inbox || !mayUse(user, *inbox)) {
                continue;
            }
            store::Fetch fetch = fetchOf(entry, *file, frame.nowMs);
            fetch.console = console;
            fetch.userId = user.id;
            if (store::takeFetch(transaction, frame.farm, fetch)) {
                addFileFetched(transaction, frame, *inbox, *file);
            }
        }
    };
    co_await context.database.write(store::Scope::farm(frame.farm), change);
    co_return Response::noContent();
}

} // namespace

void addFetchRoutes(http::Router& router, Context& context)
{
    router.add("POST", "/fetches", [&context](Request& r) { return addFetches(context, r); });
}

} // namespace kelvo::api
