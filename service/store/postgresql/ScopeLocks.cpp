#include "service/store/postgresql/ScopeLocks.h"

#include "service/store/postgresql/WriterTable.h"

namespace kelvo::store {

namespace {

// Advisory locks. The key of the lock of all rows: the bytes of "kelvo" and a number. The other
// locks have keys of two numbers: one of these, then the scope's.
constexpr const char* writeLock = "118083355569921";
constexpr int farmLocks = 118083355;
constexpr int uploadLocks = 118083356;

constexpr const char* begin = "BEGIN ISOLATION LEVEL READ COMMITTED READ WRITE;";

// A statement that takes many locks may wait for each of them.
constexpr const char* limitLocks = " SET LOCAL statement_timeout = '8s';";
constexpr const char* limitStatements = " SET LOCAL statement_timeout = '30s'; ";

std::string keyOf(const Scope& scope)
{
    const int kind = scope.kind == Scope::EKind::Farm ? farmLocks : uploadLocks;
    return std::to_string(kind) + ", " + std::to_string(scope.number);
}

std::string lockStatements(const Scopes& scopes)
{
    if (scopes.contains(Scope::all())) {
        return std::string(" SELECT pg_advisory_xact_lock(") + writeLock + ");";
    }
    std::string keys;
    for (const Scope& scope : scopes) {
        keys += (keys.empty() ? "(" : ", (") + keyOf(scope) + ")";
    }
    return std::string(" SELECT pg_advisory_xact_lock_shared(") + writeLock +
           "); SELECT pg_advisory_xact_lock(kind, number) FROM (VALUES " + keys +
           ") AS keys (kind, number);";
}

bool isTrue(PGconn& connection, const std::string& condition)
{
    return textOf(execute(connection, "SELECT " + condition, answerLimit)) == "t";
}

/** Takes the locks that are free now. */
Scopes lockFree(PGconn& connection, const Scopes& scopes)
{
    Scopes locked;
    if (isTrue(connection, std::string("pg_try_advisory_xact_lock_shared(") + writeLock + ")")) {
        for (const Scope& scope : scopes) {
            if (isTrue(connection, "pg_try_advisory_xact_lock(" + keyOf(scope) + ")")) {
                locked.insert(scope);
            }
        }
    }
    return locked;
}

/** The server has given up the wait for a lock. */
bool isLocked(const StatementFailed& failure)
{
    return failure.state() == "55P03" || failure.state() == "57014";
}

} // namespace

WriteStart beginWithLocks(PGconn& connection, const Scopes& scopes)
{
    try {
        return {textOf(execute(connection,
                               begin + (limitLocks + lockStatements(scopes)) + limitStatements +
                                   numberTransaction(),
                               answerLimit)),
                scopes};
    } catch (const StatementFailed& failure) {
        if (scopes.size() == 1 || !isLocked(failure)) {
            throw;
        }
        execute(connection, std::string("ROLLBACK; ") + begin, answerLimit);
        Scopes locked = lockFree(connection, scopes);
        if (locked.empty()) {
            throw;
        }
        return {textOf(execute(connection, numberTransaction(), answerLimit)), std::move(locked)};
    }
}

} // namespace kelvo::store
