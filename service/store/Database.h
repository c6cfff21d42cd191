// Transactions on the database: one writer, several readers, commits in groups.
#pragma once

#include "service/base/WorkPool.h"
#include "service/store/Dialect.h"
#include "service/store/Records.h"

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <type_traits>
#include <vector>

namespace kelvo::store {

/** The objects of a writing transaction. */
struct Transaction
{
    soci::session& sql;
    std::vector<Event> events;     // appended by addEvent(), published after the commit
    std::vector<AuditEntry> audit; // appended by addAudit(), logged after the commit
};

/**
 * Owns all database connections.
 *
 * Thread: read and write may be awaited on any I/O thread. Their functions run on the store's
 * threads, all writing functions on one thread. The ...Now forms block the caller; they are for
 * start-up, clean-up and tests.
 *
 * Errors: the functions' exceptions, the errors of Errors.h, and std::runtime_error for a failing
 * database, without statements and values in its text. If a function throws, its changes are rolled
 * back; after CommitInDoubt the changes may be committed or not. If another program locks the
 * database, a call waits some seconds and then throws StoreBusy. A returned `write` is durable
 * unless it asks for EDurability::Later.
 * A function may run more than once; only its last run counts.
 * Retry: safe after each error but CommitInDoubt. After CommitInDoubt the change may be there: only
 * a change with a unique key may be repeated.
 */
class Database
{
public:
    using CommitListener = std::function<void(const std::vector<Event>& events)>;
    using DoubtListener = std::function<void(const std::set<Id>& farms)>;

    /** Migrates the schema. Throws SchemaTooNew, StoreBusy. */
    explicit Database(std::unique_ptr<Dialect> dialect, unsigned readers = 2);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /** Called on the writer's thread after each commit with events. Set before the first write. */
    void onCommit(CommitListener listener) { commitListener_ = std::move(listener); }

    /**
     * Called on the writer's thread after a commit in doubt, with the farms whose logs may have new
     * events. Set before the first write.
     */
    void onDoubt(DoubtListener listener) { doubtListener_ = std::move(listener); }

    /**
     * Called on the writer's thread if the disk is full. If `makeRoom` returns true, the changes of
     * the commit run again. Set before the first write.
     */
    void onFull(std::function<bool()> makeRoom) { makeRoom_ = std::move(makeRoom); }

    /**
     * Called on the writer's thread after each change and before its commit. If `mayCommit` returns
     * false, the change is rolled back and fails with StorageFull. Set before the first write.
     */
    void onChange(std::function<bool(const Transaction&)> mayCommit)
    {
        mayCommit_ = std::move(mayCommit);
    }

    template <class F>
    Async<std::invoke_result_t<F&, soci::session&>> read(F query)
    {
        std::function<std::invoke_result_t<F&, soci::session&>()> job = [this, &query] {
            return readNow(query);
        };
        co_return co_await readers_.run(std::move(job));
    }

    template <class F>
    Async<std::invoke_result_t<F&, Transaction&>> write(F change,
                                                        EDurability durability = EDurability::Now)
    {
        using Result = std::invoke_result_t<F&, Transaction&>;
        Job job;
        job.durability = durability;
        if constexpr (std::is_void_v<Result>) {
            job.run = [&change](Transaction& transaction) { change(transaction); };
            co_await writeErased(job);
        } else {
            std::optional<Result> result;
            job.run = [&change, &result](Transaction& transaction) {
                result.emplace(change(transaction));
            };
            co_await writeErased(job);
            co_return std::move(*result);
        }
    }

    template <class F>
    std::invoke_result_t<F&, soci::session&> readNow(F&& query)
    {
        try {
            const Reader reader(*this);
            return query(reader.sql());
        } catch (const std::exception& error) {
            rethrow(error);
        }
    }

    template <class F>
    std::invoke_result_t<F&, Transaction&> writeNow(F change)
    {
        using Result = std::invoke_result_t<F&, Transaction&>;
        if constexpr (std::is_void_v<Result>) {
            runNow([&change](Transaction& transaction) { change(transaction); });
        } else {
            std::optional<Result> result;
            runNow([&change, &result](Transaction& transaction) {
                result.emplace(change(transaction));
            });
            return std::move(*result);
        }
    }

private:
    struct Job
    {
        std::function<void(Transaction&)> run;
        std::function<void()> done;
        EDurability durability = EDurability::Now;
        std::exception_ptr error;
        std::vector<Event> events;
        std::vector<AuditEntry> audit;
    };

    /** A read transaction on its own connection. */
    class Reader
    {
    public:
        explicit Reader(Database& database);
        ~Reader();
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        soci::session& sql() const { return *session_; }

    private:
        Database& database_;
        std::unique_ptr<soci::session> session_;
    };

    [[noreturn]] void rethrow(const std::exception& error) const;
    Async<void> writeErased(Job& job);
    void runNow(std::function<void(Transaction&)> change);
    void enqueue(Job& job);
    void writeLoop();
    void runBatch(const std::vector<Job*>& batch);
    void commitBatch(const std::vector<Job*>& batch);
    void rollBack();
    void failBatch(const std::vector<Job*>& batch);
    void notify(const std::vector<Job*>& batch, bool inDoubt);
    void runJob(Job& job);
    void runChange(Job& job);
    void begin(const std::vector<Job*>& batch);
    void commit();

    std::unique_ptr<Dialect> dialect_;
    CommitListener commitListener_;
    DoubtListener doubtListener_;
    std::function<bool()> makeRoom_;
    std::function<bool(const Transaction&)> mayCommit_;
    std::mutex sessionsMutex_; // guards idleSessions_
    std::vector<std::unique_ptr<soci::session>> idleSessions_;
    std::mutex queueMutex_; // guards queue_ and stopping_
    std::condition_variable queueChanged_;
    std::vector<Job*> queue_;
    bool stopping_ = false;
    std::unique_ptr<soci::session> writer_;     // used by the writer thread
    EDurability durability_ = EDurability::Now; // of writer_; used by the writer thread
    WorkPool readers_;
    std::thread writerThread_;
};

} // namespace kelvo::store
