#include "service/store/Schema.h"

#include "service/store/Dialect.h"
#include "service/store/Errors.h"

#include <soci/soci.h>

#include <algorithm>

namespace kelvo::store {

namespace {

int readVersion(soci::session& sql)
{
    sql << "CREATE TABLE IF NOT EXISTS schema_version (version INTEGER NOT NULL)";
    int version = 0;
    sql << "SELECT version FROM schema_version", soci::into(version);
    if (!sql.got_data()) {
        version = 0;
        sql << "INSERT INTO schema_version (version) VALUES (0)";
    }
    return version;
}

/** The version of the oldest program that can use the schema of all steps. */
int oldestProgram(std::span<const SchemaStep> steps)
{
    int version = 0;
    int oldest = 0;
    for (const SchemaStep& step : steps) {
        ++version;
        oldest = std::max(oldest, step.oldest.value_or(version));
    }
    return oldest;
}

/** Whether a program with the schema `own` can use the newer schema `found`. */
bool isAllowed(soci::session& sql, int found, int own)
{
    int oldest = found;
    if (found >= firstWithOldest) {
        sql << "SELECT oldest FROM schema_version", soci::into(oldest);
    }
    return oldest <= own;
}

/** Waits for no transaction: connections of an instance come and go while others write. */
bool isUsable(soci::session& sql, int own)
{
    try {
        int found = 0;
        sql << "SELECT version FROM schema_version", soci::into(found);
        return found == own || (found > own && isAllowed(sql, found, own));
    } catch (const soci::soci_error&) {
        return false; // the database is new, or locked
    }
}

void apply(soci::session& sql, std::span<const SchemaStep> steps, int found)
{
    for (const SchemaStep& step : steps.subspan(static_cast<std::size_t>(found))) {
        for (const char* statement : step.statements) {
            sql << statement;
        }
    }
    const int version = static_cast<int>(steps.size());
    const int oldest = oldestProgram(steps);
    sql << "UPDATE schema_version SET version = :v", soci::use(version);
    if (version >= firstWithOldest) {
        sql << "UPDATE schema_version SET oldest = :o", soci::use(oldest);
    }
}

} // namespace

void migrate(soci::session& sql, const Dialect& dialect, std::span<const SchemaStep> steps)
{
    const int own = static_cast<int>(steps.size());
    dialect.relyOnSchema(sql, own, 0);
    if (isUsable(sql, own)) {
        return;
    }
    const WriteStart start = dialect.beginWrite(sql, {Scope::all()});
    try {
        const int found = readVersion(sql);
        if (found > own && !isAllowed(sql, found, own)) {
            throw SchemaTooNew();
        }
        if (found >= own) {
            sql << "ROLLBACK"; // another instance has migrated meanwhile
            return;
        }
        dialect.relyOnSchema(sql, own, oldestProgram(steps));
        apply(sql, steps, found);
        dialect.commit(sql, start.transaction, {});
    } catch (...) {
        try {
            sql << "ROLLBACK";
        } catch (const std::exception&) {
            // The connection is lost; the first failure says more.
        }
        throw;
    }
}

void migrate(soci::session& sql, const Dialect& dialect, int version)
{
    migrate(sql, dialect, schemaSteps().first(static_cast<std::size_t>(version)));
}

} // namespace kelvo::store
