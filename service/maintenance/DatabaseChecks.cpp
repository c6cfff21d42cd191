#include "service/maintenance/DatabaseChecks.h"

#include "service/store/Dialect.h"

#include <soci/soci.h>

#include <string>

namespace kelvo::maintenance {

namespace {

struct Rule
{
    const char* wrong; // the text of a finding
    const char* query; // selects a text for each row that breaks the rule
};

// Foreign keys guard the references between rows; they are checked separately. Each query runs on
// every database.
constexpr Rule rules[] = {
    {"its counter of ids is behind",
     "SELECT 'farm ' || f.id FROM farms f JOIN (SELECT farm_id, id FROM projects"
     " UNION ALL SELECT farm_id, id FROM inboxes UNION ALL SELECT farm_id, id FROM files) AS used"
     " ON used.farm_id = f.id GROUP BY f.id HAVING f.last_resource < MAX(used.id)"},
    {"an id that is used more than once",
     "SELECT 'id ' || id || ' of farm ' || farm_id FROM (SELECT farm_id, id FROM projects"
     " UNION ALL SELECT farm_id, id FROM inboxes UNION ALL SELECT farm_id, id FROM files)"
     " AS used GROUP BY farm_id, id HAVING COUNT(*) > 1"},
    {"does not have its seven projects",
     "SELECT 'farm ' || f.id FROM farms f"
     " WHERE (SELECT COUNT(*) FROM projects WHERE farm_id = f.id) <> 7"},
    {"its counter of events is behind",
     "SELECT 'farm ' || f.id FROM farms f WHERE f.last_event <"
     " (SELECT COALESCE(MAX(id), 0) FROM events WHERE farm_id = f.id)"},
    {"its number of kept events is wrong",
     "SELECT 'farm ' || f.id FROM farms f WHERE f.kept_events <>"
     " (SELECT COUNT(*) FROM events WHERE farm_id = f.id)"},
    {"has events that were pruned", "SELECT 'farm ' || f.id FROM farms f WHERE f.pruned_event >="
                                    " (SELECT MIN(id) FROM events WHERE farm_id = f.id)"},
    {"the counter is behind",
     "SELECT name FROM counters c WHERE"
     " (c.name = 'farms' AND c.value < (SELECT MAX(id) FROM farms))"
     " OR (c.name = 'users' AND c.value < (SELECT MAX(id) FROM users))"
     " OR (c.name = 'consoles' AND c.value < (SELECT MAX(id) FROM consoles))"},
    {"a role without the farm it needs, or with a farm it cannot have",
     "SELECT 'user ' || id FROM users WHERE (role = 'admin') <> (farm_id IS NULL)"},
    {"belongs to a user of another farm",
     "SELECT 'inbox ' || i.id || ' of farm ' || i.farm_id FROM inboxes i"
     " JOIN users u ON u.id = i.owner_id WHERE u.farm_id IS NULL OR u.farm_id <> i.farm_id"},
    {"belongs to a user of another farm",
     "SELECT 'upload ' || p.id FROM uploads p JOIN users u ON u.id = p.user_id"
     " WHERE u.farm_id IS NULL OR u.farm_id <> p.farm_id"},
    {"its digest or its size is not valid",
     "SELECT 'file ' || id || ' of farm ' || farm_id FROM files WHERE LENGTH(sha256) <> 64"
     " OR LTRIM(sha256, '0123456789abcdef') <> '' OR size_bytes < 0"},
    {"files of one content have different sizes",
     "SELECT 'content ' || sha256 FROM files GROUP BY sha256"
     " HAVING MIN(size_bytes) <> MAX(size_bytes)"},
    {"is finished without a digest, or unfinished with a digest",
     "SELECT 'upload ' || id FROM uploads WHERE (finished = 1) <> (LENGTH(sha256) = 64)"},
    {"a file made by it has another content",
     // The ids of an upload's files follow each other; so the index finds the files.
     "SELECT 'upload ' || p.id FROM uploads p JOIN files f ON f.farm_id = p.farm_id"
     " AND f.id >= p.first_file AND f.id < p.first_file + LENGTH(p.files)"
     " AND ',' || p.files || ',' LIKE '%,' || f.id || ',%'"
     " WHERE p.finished = 1 AND (f.sha256 <> p.sha256 OR f.size_bytes <> p.length_bytes)"},
    {"its counters of files and bytes are wrong",
     "SELECT 'farm ' || m.id FROM farms m LEFT JOIN files f ON f.farm_id = m.id GROUP BY m.id"
     " HAVING m.files <> COUNT(f.id) OR m.bytes <> COALESCE(SUM(f.size_bytes), 0)"},
    {"the counters of the user's files and bytes are wrong",
     "SELECT 'user ' || u.id FROM users u LEFT JOIN inboxes i ON i.owner_id = u.id"
     " LEFT JOIN files f ON f.farm_id = i.farm_id AND f.inbox_id = i.id GROUP BY u.id"
     " HAVING u.files <> COUNT(f.id) OR u.bytes <> COALESCE(SUM(f.size_bytes), 0)"},
    {"its counter of positions is behind",
     "SELECT 'console ' || c.id FROM consoles c WHERE c.last_number <"
     " (SELECT COALESCE(MAX(number), 0) FROM track WHERE console_id = c.id)"},
};

template <class Use>
void forEachText(soci::session& sql, const char* query, Use use)
{
    std::string text;
    soci::statement statement = (sql.prepare << query, soci::into(text));
    statement.execute();
    while (statement.fetch()) {
        use(text);
    }
}

} // namespace

std::vector<std::string> checkRows(soci::session& sql)
{
    std::vector<std::string> wrong;
    for (const Rule& rule : rules) {
        forEachText(sql, rule.query,
                    [&](const auto& text) { wrong.push_back(text + ": " + rule.wrong); });
    }
    return wrong;
}

void allowLongStatements(soci::session& sql)
{
    sql << "SET LOCAL statement_timeout = 0";
    sql << "SET LOCAL idle_in_transaction_session_timeout = 0";
    sql << std::string("SET LOCAL application_name = '") + store::unlimitedWork + "'";
}

std::vector<std::string> checkDatabase(soci::session& sql)
{
    std::vector<std::string> wrong;
    forEachText(sql, "SELECT integrity_check FROM pragma_integrity_check", [&](const auto& text) {
        if (text != "ok") {
            wrong.push_back("database: " + text);
        }
    });
    if (!wrong.empty()) {
        return wrong; // a damaged database makes the rules below meaningless
    }
    forEachText(sql,
                "SELECT \"table\" || ' names a row of ' || \"parent\" || ' that does not exist'"
                " FROM pragma_foreign_key_check",
                [&](const auto& text) { wrong.push_back("database: " + text); });
    for (std::string& text : checkRows(sql)) {
        wrong.push_back(std::move(text));
    }
    return wrong;
}

} // namespace kelvo::maintenance
