#include "service/store/postgresql/WriterTable.h"

namespace kelvo::store {

namespace {

constexpr const char* prepareLock = "118083355569923"; // an advisory lock

} // namespace

std::string nameWriter(const std::string& name)
{
    return " SET kelvo.writer = '" + name + "';";
}

std::string prepareWriters()
{
    return std::string("SELECT pg_advisory_xact_lock(") + prepareLock +
           "); CREATE TABLE IF NOT EXISTS writers (name TEXT PRIMARY KEY, number BIGINT NOT NULL,"
           " used TIMESTAMPTZ NOT NULL DEFAULT now());"
           " DELETE FROM writers WHERE name IN (SELECT name FROM writers"
           " WHERE used < now() - INTERVAL '7 days' FOR UPDATE SKIP LOCKED);";
}

std::string numberTransaction()
{
    return "INSERT INTO writers (name, number) VALUES (current_setting('kelvo.writer'), 1)"
           " ON CONFLICT (name) DO UPDATE SET number = writers.number + 1, used = now()"
           " RETURNING name || ':' || number";
}

std::string writerOf(const std::string& transaction)
{
    return transaction.substr(0, transaction.find(':'));
}

bool isCommitted(PGconn& connection, const std::string& transaction, std::chrono::seconds limit)
{
    const std::string writer = writerOf(transaction);
    const std::string lockLimit = std::to_string(limit.count() - 1);
    // The insertion also waits for the first transaction of a connection. Its row is not visible
    // yet.
    const Result number =
        execute(connection,
                "SET LOCAL lock_timeout = '" + lockLimit +
                    "s'; INSERT INTO writers (name, number) VALUES ('" + writer +
                    "', 0) ON CONFLICT (name) DO UPDATE SET number = writers.number"
                    " RETURNING number",
                limit);
    return writer + ":" + textOf(number) == transaction;
}

} // namespace kelvo::store
