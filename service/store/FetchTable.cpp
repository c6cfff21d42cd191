#include "service/store/FetchTable.h"

#include "service/store/Bind.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

namespace {

constexpr const char* selectFetches =
    "SELECT t.file_id, t.console_id, t.user_id, u.name, t.fetched_ms, t.unpacked_ms,"
    " t.unpack_error FROM fetches t JOIN users u ON u.id = t.user_id";

auto intoFetch(soci::details::prepare_temp_type query, Fetch& row)
{
    return query, into(row.file), into(row.console), into(row.userId), into(row.userName),
           into(row.fetchedMs), into(row.unpackedMs), into(row.unpackError);
}

std::optional<Fetch> fetchBy(soci::session& sql, Id farm, Id file, Id console)
{
    Fetch row;
    soci::statement query =
        (intoFetch(sql.prepare << selectFetches
                               << " WHERE t.farm_id = :farm AND t.file_id = :file"
                                  " AND t.console_id = :console",
                   row),
         use(farm), use(file), use(console));
    return query.execute(true) ? std::optional(row) : std::nullopt;
}

bool addFetch(Transaction& transaction, Id farm, const Fetch& fetch)
{
    int known = 0;
    transaction.sql << "SELECT COUNT(*) FROM fetches WHERE farm_id = :farm AND file_id = :file",
        into(known), use(farm), use(fetch.file);
    if (known >= mostConsolesOfAFile) {
        return false;
    }
    transaction.sql << "INSERT INTO fetches (farm_id, file_id, console_id, user_id, fetched_ms,"
                       " unpacked_ms, unpack_error) VALUES (:farm, :file, :console, :user,"
                       " :fetched, :unpacked, :error)",
        use(farm), use(fetch.file), use(fetch.console), use(fetch.userId), use(fetch.fetchedMs),
        use(fetch.unpackedMs), use(fetch.unpackError);
    return true;
}

} // namespace

bool takeFetch(Transaction& transaction, Id farm, const Fetch& fetch)
{
    const auto known = fetchBy(transaction.sql, farm, fetch.file, fetch.console);
    if (!known) {
        return addFetch(transaction, farm, fetch);
    }
    const bool saysMore = fetch.unpackedMs > 0 ||
                          (!fetch.unpackError.empty() && fetch.unpackError != known->unpackError);
    if (known->unpackedMs > 0 || !saysMore) {
        return false;
    }
    transaction.sql << "UPDATE fetches SET unpacked_ms = :unpacked, unpack_error = :error"
                       " WHERE farm_id = :farm AND file_id = :file AND console_id = :console",
        use(fetch.unpackedMs), use(fetch.unpackError), use(farm), use(fetch.file),
        use(fetch.console);
    return true;
}

std::optional<Fetch> lastFetchOf(soci::session& sql, Id farm, Id file)
{
    Fetch row;
    soci::statement query =
        (intoFetch(sql.prepare << selectFetches
                               << " WHERE t.farm_id = :farm AND t.file_id = :file"
                                  " ORDER BY t.fetched_ms DESC, t.console_id DESC LIMIT 1",
                   row),
         use(farm), use(file));
    return query.execute(true) ? std::optional(row) : std::nullopt;
}

void eachFetchOf(soci::session& sql, const User& user,
                 const std::function<void(const Fetch&, const std::string& fileName)>& visit)
{
    Fetch row;
    row.userId = user.id;
    row.userName = user.name;
    std::string fileName;
    const Id farm = user.farmId();
    soci::statement query =
        (sql.prepare << "SELECT t.file_id, t.console_id, t.fetched_ms, t.unpacked_ms,"
                        " t.unpack_error, f.name FROM fetches t"
                        " JOIN files f ON f.farm_id = t.farm_id AND f.id = t.file_id"
                        " WHERE t.farm_id = :farm AND t.user_id = :user"
                        " ORDER BY t.file_id, t.console_id",
         into(row.file), into(row.console), into(row.fetchedMs), into(row.unpackedMs),
         into(row.unpackError), into(fileName), use(farm), use(user.id));
    query.execute();
    while (query.fetch()) {
        visit(row, fileName);
    }
}

void eachFileWithFetch(soci::session& sql, InboxFiles& files, Id farm, Id inbox,
                       const std::function<void(const File&, const Fetch*)>& visit)
{
    Fetch row;
    soci::statement query =
        (intoFetch(sql.prepare << selectFetches
                               << " JOIN files f ON f.farm_id = t.farm_id AND f.id = t.file_id"
                                  " WHERE f.farm_id = :farm AND f.inbox_id = :inbox"
                                  " AND f.deleted_ms IS NULL ORDER BY f.id, t.console_id",
                   row),
         use(farm), use(inbox));
    query.execute();
    bool hasRow = query.fetch();
    files.each(inbox, [&](const File& file) {
        std::optional<Fetch> newest;
        for (; hasRow && row.file == file.id; hasRow = query.fetch()) {
            if (!newest || row.fetchedMs >= newest->fetchedMs) {
                newest = row;
            }
        }
        visit(file, newest ? &*newest : nullptr);
    });
}

} // namespace kelvo::store
