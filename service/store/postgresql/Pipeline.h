// Statements on a connection of libpq, sent together.
#pragma once

#include "service/store/postgresql/Exchange.h"

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace kelvo::store {

/** A statement with the parameters $1, $2 and so on; null: SQL's NULL. */
struct Statement
{
    const std::string& text;
    std::vector<const char*> parameters;
};

/**
 * Errors: soci::postgresql_soci_error, also if the server does not answer a statement within
 * answerLimit. There is no limit while the connection's application_name is unlimitedWork.
 * Thread: one at a time.
 */
class Pipeline
{
public:
    explicit Pipeline(PGconn& connection) : connection_(connection) {}

    PGconn& connection() const { return connection_; }

    /** Sends the statement with the next statement that is run. */
    void defer(const Statement& statement);

    /** Throws the error of a deferred statement; then `statement` is not executed. */
    Result run(const Statement& statement);

    /** Waits for the deferred statements. Returns the last result, null: there were none. */
    Result flush();

    /** As flush(), without errors. */
    void discard() noexcept;

    /** Whether a statement can be deferred now. */
    bool isInTransaction() const;

private:
    static constexpr std::size_t mostDeferred = 64;  // bounds the memory for their results
    static constexpr std::size_t mostPrepared = 400; // bounds the server's memory

    /** Sent and not answered. */
    struct Sent
    {
        std::string prepared; // the text, if the statement is only prepared
    };

    void send(const Statement& statement);
    void prepare(const std::string& text);
    void require(int isSent) const;
    Result next();
    Result receive(const Sent& sent);
    [[noreturn]] void lose() const;

    PGconn& connection_;
    std::vector<Sent> sent_;
    std::chrono::steady_clock::time_point end_;          // of the wait for the present answer
    std::unordered_map<std::string, std::string> names_; // by text; empty: run once before
    std::size_t prepared_ = 0;
};

} // namespace kelvo::store
