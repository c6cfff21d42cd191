// The module for PostgreSQL. Only a service with this database loads the module and libpq.
#include "service/store/Dialect.h"
#include "service/store/Errors.h"
#include "service/store/PostgresqlModule.h"
#include "service/store/postgresql/ConnectText.h"
#include "service/store/postgresql/Exchange.h"
#include "service/store/postgresql/PostgresqlNotices.h"
#include "service/store/postgresql/ScopeLocks.h"
#include "service/store/postgresql/Statements.h"
#include "service/store/postgresql/WriterTable.h"

#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>

#include <atomic>
#include <mutex>
#include <random>
#include <set>
#include <string_view>
#include <thread>

namespace kelvo::store {

namespace {

using namespace std::chrono_literals;

constexpr int oldestServer = 130000;

// Advisory locks beside the locks of scopes.
constexpr const char* formerSchemaLock = "118083355569922"; // of programs before schema 24
constexpr int schemaLocks = 118083357;                      // and the schema's number

constexpr unsigned mostWriters = 4;

constexpr auto settleLimit = 20s; // longer than the limit of an idle transaction
constexpr auto settleAnswer = 5s; // of one attempt
constexpr auto settlePause = 200ms;

// The last statement keeps a stronger setting, such as a standby that has to confirm each commit.
constexpr const char* settings =
    "SET client_encoding = 'UTF8'; SET client_min_messages = 'error';"
    " SET statement_timeout = '30s'; SET lock_timeout = '8s';"
    " SET idle_in_transaction_session_timeout = '15s';"
    " SELECT current_setting('server_encoding'), set_config('synchronous_commit',"
    " CASE current_setting('synchronous_commit') WHEN 'off' THEN 'on'"
    " ELSE current_setting('synchronous_commit') END, false)";

std::string randomName()
{
    std::random_device random;
    return std::to_string(random()) + std::to_string(random());
}

std::string schemaLock(const std::string& number)
{
    return std::to_string(schemaLocks) + ", " + number;
}

/** Waits 2 s for older programs: the server keeps a closed connection's locks for a moment. */
void lockOlderSchemas(PGconn& connection, int oldest)
{
    try {
        execute(connection,
                std::string("SET LOCAL lock_timeout = '2s'; SELECT pg_advisory_xact_lock(") +
                    formerSchemaLock + "); SELECT pg_advisory_xact_lock(" + schemaLock("n") +
                    ") FROM generate_series(0, " + std::to_string(oldest - 1) +
                    ") n; SET LOCAL lock_timeout = '8s'",
                answerLimit);
    } catch (const StatementFailed& failure) {
        if (failure.state() != "55P03") { // the lock is not available
            throw;
        }
        throw SchemaInUse();
    }
}

class Postgresql final : public Dialect
{
public:
    explicit Postgresql(const std::string& url) : connectText_(connectText(url)) {}

    std::unique_ptr<soci::session> connect() const override { return connect(answerLimit); }

    std::unique_ptr<soci::session> connect(std::chrono::seconds limit) const
    {
        auto session = std::make_unique<soci::session>(statementFactory(), connectText_);
        PGconn& connection = connectionOf(*session);
        PQsetErrorVerbosity(&connection, PQERRORS_TERSE); // the details have values
        PQsetNoticeProcessor(
            &connection, [](void*, const char*) {}, nullptr);
        if (PQserverVersion(&connection) < oldestServer) {
            throw std::runtime_error("the database server is older than PostgreSQL 13");
        }
        const std::string name = name_ + "-" + std::to_string(++connections_);
        if (textOf(execute(connection, nameWriter(name) + settings, limit)) != "UTF8") {
            throw std::runtime_error("the encoding of the database is not UTF8");
        }
        return session;
    }

    const char* beginRead() const override
    {
        return "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";
    }

    unsigned writers() const override { return mostWriters; }

    /**
     * Each statement sees what was committed before it, so after the locks the transaction sees all
     * earlier changes of its scopes.
     */
    WriteStart beginWrite(soci::session& sql, const Scopes& scopes) const override
    {
        PGconn& connection = connectionOf(sql);
        if (PQtransactionStatus(&connection) != PQTRANS_IDLE) {
            throw std::runtime_error("the connection has an unfinished transaction");
        }
        return beginWithLocks(connection, scopes);
    }

    void commit(soci::session& sql, const std::string& transaction,
                const std::string& notice) const override
    {
        std::string statements = "COMMIT";
        if (!notice.empty()) {
            statements = std::string("SELECT pg_notify('") + noticeChannel + "', '" +
                         writerOf(transaction) + " " + notice + "'); COMMIT";
        }
        try {
            const Result result = execute(connectionOf(sql), statements, answerLimit);
            if (std::string_view(PQcmdStatus(result.get())) != "COMMIT") {
                throw std::runtime_error("the server has rolled the transaction back");
            }
            return;
        } catch (const ConnectionLost&) {
        } catch (const StatementFailed& failure) {
            if (!failure.state().starts_with("57")) { // the server stops, or stops to wait
                translate(failure);
                throw;
            }
        }
        settle(transaction);
    }

    bool isUsable(soci::session& sql) const override
    {
        return store::isUsable(rawConnectionOf(sql));
    }

    /** An instance shares the lock with the number of its schema. */
    void relyOnSchema(soci::session& sql, int own, int oldest) const override
    {
        PGconn& connection = connectionOf(sql);
        if (oldest > 0) {
            lockOlderSchemas(connection, oldest);
        } else {
            execute(connection, prepareWriters(), answerLimit);
        }
        execute(connection,
                "SELECT pg_advisory_lock_shared(" + schemaLock(std::to_string(own)) + ")",
                answerLimit);
    }

    /** EDurability::Later would save little time: the commits of several writers share syncs. */
    const char* setDurability(EDurability) const override { return nullptr; }

    std::unique_ptr<NoticeSource> listen() const override
    {
        return std::make_unique<PostgresqlNotices>(
            connect(), [this](const std::string& sender) { return isOwn(sender); });
    }

    std::optional<long long> serverTimeMs(soci::session& sql) const override
    {
        long long timeMs = 0;
        sql << "SELECT CAST(EXTRACT(EPOCH FROM clock_timestamp()) * 1000 AS BIGINT)",
            soci::into(timeMs);
        return timeMs;
    }

    std::optional<long long> serverSizeBytes(soci::session& sql) const override
    {
        long long bytes = 0;
        sql << "SELECT pg_database_size(current_database())", soci::into(bytes);
        return bytes;
    }

    void translate(const std::exception& error) const override
    {
        if (dynamic_cast<const ConnectionLost*>(&error) != nullptr) {
            throw StoreBusy(error.what());
        }
        if (const auto* failure = dynamic_cast<const StatementFailed*>(&error)) {
            throwFor(failure->state(), failure->what());
        }
        const auto* failure = dynamic_cast<const soci::soci_error*>(&error);
        if (failure == nullptr) {
            return;
        }
        const std::string what = failure->get_error_message();
        if (const auto* statement = dynamic_cast<const soci::postgresql_soci_error*>(&error)) {
            throwFor(statement->sqlstate(), what);
            if (statement->sqlstate().find_first_not_of(' ') == std::string::npos) {
                throw StoreBusy(ConnectionLost().what());
            }
        } else if (what.starts_with("Cannot establish connection")) {
            throw StoreBusy(what);
        }
    }

private:
    /** The answer of the COMMIT is lost. */
    void settle(const std::string& transaction) const
    {
        {
            const std::lock_guard lock(mutex_);
            lost_.insert(writerOf(transaction));
        }
        const std::optional<bool> committed = outcomeOf(transaction);
        if (!committed) {
            throw CommitInDoubt("the database server does not tell whether it has committed");
        }
        if (!*committed) {
            throw StoreBusy(ConnectionLost().what());
        }
    }

    /** Blocks until a server knows whether it has committed, or the limit passes. */
    std::optional<bool> outcomeOf(const std::string& transaction) const
    {
        const auto end = std::chrono::steady_clock::now() + settleLimit;
        while (std::chrono::steady_clock::now() < end) {
            try {
                const auto session = connect(settleAnswer);
                return isCommitted(connectionOf(*session), transaction, settleAnswer);
            } catch (const std::exception&) {
                std::this_thread::sleep_for(settlePause);
            }
        }
        return std::nullopt;
    }

    /** The streams do not know yet what a lost connection has committed. */
    bool isOwn(const std::string& writer) const
    {
        const std::lock_guard lock(mutex_);
        return writer.starts_with(name_ + "-") && !lost_.contains(writer);
    }

    std::string connectText_;
    std::string name_ = randomName();               // of this instance, in its connections' names
    mutable std::atomic<unsigned> connections_ = 0; // made so far
    mutable std::mutex mutex_;                      // guards lost_
    mutable std::set<std::string> lost_;            // connections whose COMMIT had no answer
};

} // namespace

} // namespace kelvo::store

extern "C" __attribute__((visibility("default"))) const kelvo::store::PostgresqlModule*
kelvoDescribeModule()
{
    static constexpr kelvo::store::PostgresqlModule module{
        KELVO_SERVICE_VERSION, [](const std::string& url) -> kelvo::store::Dialect* {
            return new kelvo::store::Postgresql(url);
        }};
    return &module;
}
