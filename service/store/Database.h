// Transactions on the database: writers, readers, commits in groups.
#pragma once

#include "service/base/WorkPool.h"
#include "service/store/Bind.h"
#include "service/store/Change.h"
#include "service/store/Dialect.h"
#include "service/store/WriteQueue.h"
#include "service/store/Writer.h"

#include <soci/error.h>

#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace kelvo::store {

/**
 * Owns all database connections.
 *
 * Thread: read and write may be awaited on any I/O thread. Their functions run on the store's
 * threads. Writing functions with different scopes may run at the same time; a function without a
 * scope runs alone. The ...Now forms block the caller; they are for start-up, clean-up and tests.
 *
 * Errors: the functions' exceptions, the errors of Errors.h, and std::runtime_error for a failing
 * database, without statements and values in its text. If a function throws, its changes are rolled
 * back; after CommitInDoubt the changes may be committed or not. If another program locks the
 * database, or the connection is lost, a call waits some seconds and then throws StoreBusy. The
 * next call connects again. A returned `write` is durable unless it asks for EDurability::Later.
 * A function may run more than once; only its last run counts. After finish() has begun, a writing
 * call throws StoreClosed.
 * Retry: safe after each error but CommitInDoubt. After CommitInDoubt the change may be there: only
 * a change with a unique key may be repeated.
 */
class Database
{
public:
    /** Migrates the schema. Throws SchemaTooNew, SchemaInUse, StoreBusy. */
    explicit Database(std::unique_ptr<Dialect> dialect, unsigned readers = 2);
    ~Database(); // as finish()
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /**
     * Waits for the functions that run or are queued. Their callers' executors must still exist. No
     * read may start any more. Blocks as long as the disk.
     */
    void finish();

    /**
     * Called on a writer's thread after each commit with events. The events of one farm come in the
     * order of their ids. Set before the first write, as the other functions here.
     */
    void onCommit(std::function<void(const std::vector<Event>& events)> listener)
    {
        hooks_.onCommit = std::move(listener);
    }

    /**
     * Called on a writer's thread after a commit in doubt, with the farms whose logs may have new
     * events, and the sessions that may have ended.
     */
    void onDoubt(std::function<void(const Notice& notice)> listener)
    {
        hooks_.onDoubt = std::move(listener);
    }

    /**
     * Called on a writer's thread if the disk is full. If `makeRoom` returns true, the changes of
     * the commit run again.
     */
    void onFull(std::function<bool()> makeRoom) { hooks_.onFull = std::move(makeRoom); }

    /**
     * Called on a writer's thread after each change and before its commit. If `mayCommit` returns
     * false, the change is rolled back and fails with StorageFull.
     */
    void onChange(std::function<bool(const Transaction&)> mayCommit)
    {
        hooks_.onChange = std::move(mayCommit);
    }

    /**
     * The reads of different farms take turns. A read whose time does not grow with the farm needs
     * no farm.
     */
    template <class F>
    Async<std::invoke_result_t<F&, soci::session&>> read(F query, Id farm = 0)
    {
        std::function<std::invoke_result_t<F&, soci::session&>()> job = [this, &query] {
            return readNow(query);
        };
        co_return co_await readers_.run(std::move(job), static_cast<std::uint64_t>(farm));
    }

    /** `function` reads and writes the rows of its scope only. Other rows may change meanwhile. */
    template <class F>
    Async<std::invoke_result_t<F&, Transaction&>> write(Scope scope, F function,
                                                        EDurability durability = EDurability::Now)
    {
        using Result = std::invoke_result_t<F&, Transaction&>;
        Change change;
        change.scope = scope;
        change.durability = durability;
        if constexpr (std::is_void_v<Result>) {
            change.run = [&function](Transaction& transaction) { function(transaction); };
            co_await writeErased(change);
        } else {
            std::optional<Result> result;
            change.run = [&function, &result](Transaction& transaction) {
                result.emplace(function(transaction));
            };
            co_await writeErased(change);
            co_return std::move(*result);
        }
    }

    template <class F>
    Async<std::invoke_result_t<F&, Transaction&>> write(F function)
    {
        return write(Scope::all(), std::move(function));
    }

    template <class F>
    std::invoke_result_t<F&, soci::session&> readNow(F&& query)
    {
        for (int attempt = 1;; ++attempt) {
            try {
                const Reader reader(*this);
                try {
                    return checked(query, reader.sql());
                } catch (const soci::soci_error&) {
                    if (attempt == readAttempts || dialect_->isUsable(reader.sql())) {
                        throw;
                    }
                }
            } catch (const std::exception& error) {
                dialect_->rethrow(error);
            }
        }
    }

    template <class F>
    std::invoke_result_t<F&, Transaction&> writeNow(Scope scope, F function)
    {
        using Result = std::invoke_result_t<F&, Transaction&>;
        if constexpr (std::is_void_v<Result>) {
            runNow(scope, [&function](Transaction& transaction) { function(transaction); });
        } else {
            std::optional<Result> result;
            runNow(scope, [&function, &result](Transaction& transaction) {
                result.emplace(function(transaction));
            });
            return std::move(*result);
        }
    }

    template <class F>
    std::invoke_result_t<F&, Transaction&> writeNow(F function)
    {
        return writeNow(Scope::all(), std::move(function));
    }

    /** As the functions of Dialect. Blocks. */
    std::unique_ptr<NoticeSource> listen() const { return dialect_->listen(); }
    std::optional<long long> serverTimeMs();
    std::optional<long long> serverSizeBytes();

private:
    static constexpr int readAttempts = 2; // if the connection is lost meanwhile

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
        bool takeIdle();

        Database& database_;
        std::unique_ptr<soci::session> session_;
    };

    /** Throws UnstorableText if the query has bound such a text. */
    template <class F>
    static std::invoke_result_t<F&, soci::session&> checked(F& query, soci::session& sql)
    {
        takeNotedText();
        if constexpr (std::is_void_v<std::invoke_result_t<F&, soci::session&>>) {
            query(sql);
            requireStorableTexts();
        } else {
            auto result = query(sql);
            requireStorableTexts();
            return result;
        }
    }

    Async<void> writeErased(Change& change);
    void runNow(Scope scope, std::function<void(Transaction&)> function);
    void enqueue(Change& change);
    void writeLoop(Writer& writer);

    std::unique_ptr<Dialect> dialect_;
    WriteHooks hooks_;
    std::mutex sessionsMutex_; // guards idleSessions_
    std::vector<std::unique_ptr<soci::session>> idleSessions_;
    WorkPool readers_;
    WriteQueue queue_;
    std::deque<Writer> writers_;
    std::vector<std::thread> writerThreads_;
};

} // namespace kelvo::store
