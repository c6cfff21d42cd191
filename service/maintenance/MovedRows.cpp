#include "service/maintenance/MovedRows.h"

#include "service/store/Bind.h"

#include <nlohmann/json.hpp>
#include <soci/soci.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelvo::maintenance {

namespace {

using nlohmann::json;
using Names = std::vector<std::string>;

/** The target has its own: the version of its schema, its bucket and the objects there. */
const std::set<std::string> placeTables{"schema_version", "contents_place", "received",
                                        "upload_chunks",  "contents",       "content_chunks",
                                        "doomed"};

constexpr std::size_t batchRows = 1000;
constexpr std::size_t batchBytes = 1UL << 20;

Names namesOf(soci::session& sql, const std::string& query)
{
    std::string name;
    Names names;
    soci::statement rows = (sql.prepare << query, soci::into(name));
    rows.execute();
    while (rows.fetch()) {
        names.push_back(name);
    }
    return names;
}

std::string quoted(const std::string& name)
{
    return '"' + name + '"';
}

std::string joined(const Names& columns)
{
    std::string text;
    for (const std::string& column : columns) {
        text += (text.empty() ? "" : ", ") + quoted(column);
    }
    return text;
}

Names sourceColumns(soci::session& source, const std::string& table)
{
    return namesOf(source, "SELECT name FROM pragma_table_info('" + table + "') ORDER BY name");
}

/** A table comes after the tables that it refers to. */
Names tablesInOrder(soci::session& source)
{
    Names left = namesOf(source, "SELECT name FROM sqlite_master WHERE type = 'table'"
                                 " AND name NOT LIKE 'sqlite!_%' ESCAPE '!' ORDER BY name");
    std::erase_if(left, [](const std::string& table) { return placeTables.contains(table); });
    Names ordered;
    while (!left.empty()) {
        const auto isReady = [&](const std::string& table) {
            const Names parents = namesOf(
                source, "SELECT DISTINCT \"table\" FROM pragma_foreign_key_list('" + table + "')");
            return std::all_of(parents.begin(), parents.end(), [&](const std::string& parent) {
                return std::find(ordered.begin(), ordered.end(), parent) != ordered.end();
            });
        };
        const auto ready = std::find_if(left.begin(), left.end(), isReady);
        if (ready == left.end()) {
            throw std::runtime_error("the tables of the schema refer to each other in a circle");
        }
        ordered.push_back(*ready);
        left.erase(ready);
    }
    return ordered;
}

json valueOf(const soci::row& row, std::size_t column)
{
    if (row.get_indicator(column) == soci::i_null) {
        return nullptr;
    }
    switch (row.get_properties(column).get_data_type()) {
    case soci::dt_string:
        return row.get<std::string>(column);
    case soci::dt_double:
        return row.get<double>(column);
    case soci::dt_integer:
        return row.get<int>(column);
    case soci::dt_long_long:
        return row.get<long long>(column);
    default:
        throw std::runtime_error("a column has a type that cannot be moved");
    }
}

/** Rows that are sent in one statement. */
class Batch
{
public:
    Batch(soci::session& sql, const std::string& table, const std::string& columns)
        : sql_(sql),
          // One parameter has all values; the server reads them with the types of the columns.
          statement_("WITH stored AS (INSERT INTO " + quoted(table) + " (" + columns + ") SELECT " +
                     columns + " FROM json_populate_recordset(CAST(NULL AS " + quoted(table) +
                     "), CAST(:rows AS json)) RETURNING *)"
                     " SELECT CAST(json_agg(row_to_json(stored)) AS TEXT) FROM stored")
    {}

    void add(json row)
    {
        bytes_ += row.dump().size();
        rows_.push_back(std::move(row));
        if (rows_.size() == batchRows || bytes_ >= batchBytes) {
            send();
        }
    }

    void send()
    {
        if (rows_.empty()) {
            return;
        }
        const std::string text = rows_.dump();
        std::string stored;
        sql_ << statement_, soci::into(stored), soci::use(text, "rows");
        if (json::parse(stored) != rows_) {
            throw std::runtime_error("the server has stored other values");
        }
        rows_.clear();
        bytes_ = 0;
    }

private:
    soci::session& sql_;
    std::string statement_;
    json rows_ = json::array();
    std::size_t bytes_ = 0;
};

void requireSameColumns(soci::session& target, const std::string& table, Names columns)
{
    Names found = namesOf(target, "SELECT CAST(column_name AS TEXT) FROM information_schema.columns"
                                  " WHERE table_schema = current_schema() AND table_name = '" +
                                      table + "'");
    std::sort(found.begin(), found.end());
    std::sort(columns.begin(), columns.end());
    if (found != columns) {
        throw std::runtime_error("it has other columns in the database on the server");
    }
}

long long countOf(soci::session& sql, const std::string& table)
{
    long long count = 0;
    sql << "SELECT COUNT(*) FROM " + quoted(table), soci::into(count);
    return count;
}

std::uint64_t moveTable(soci::session& source, soci::session& target, const std::string& table,
                        Progress& progress)
{
    const Names columns = sourceColumns(source, table);
    requireSameColumns(target, table, columns);
    progress.begin("rows of " + table + " moved",
                   static_cast<std::uint64_t>(countOf(source, table)));
    Batch batch(target, table, joined(columns));
    soci::row row;
    soci::statement rows =
        (source.prepare << "SELECT " + joined(columns) + " FROM " + quoted(table), soci::into(row));
    rows.execute();
    std::uint64_t count = 0;
    while (rows.fetch()) {
        json object;
        for (std::size_t column = 0; column < columns.size(); ++column) {
            object[columns[column]] = valueOf(row, column);
        }
        batch.add(std::move(object));
        progress.add(1);
        ++count;
    }
    batch.send();
    if (countOf(target, table) != static_cast<long long>(count)) {
        throw std::runtime_error("its number of rows differs");
    }
    return count;
}

} // namespace

MovedRows moveRows(soci::session& source, store::Transaction& target, Progress& progress)
{
    const Names tables = tablesInOrder(source);
    target.sql << "TRUNCATE " + joined(tables); // of an earlier attempt, or of the new schema
    MovedRows moved;
    for (const std::string& table : tables) {
        try {
            moved.rows += moveTable(source, target.sql, table, progress);
        } catch (const json::exception&) {
            throw std::runtime_error("the table " + table + " has a text that is not UTF-8");
        } catch (const soci::soci_error& error) { // its whole text has values
            throw std::runtime_error("the table " + table + ": " + error.get_error_message());
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("the table " + table + ": " + error.what());
        }
        ++moved.tables;
    }
    target.sql << "ANALYZE"; // so that the first instance has the plans of a full database
    return moved;
}

} // namespace kelvo::maintenance
