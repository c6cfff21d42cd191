// Statements and their results on a connection of libpq.
#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

#include <postgresql/libpq-fe.h>

namespace kelvo::store {

/** Longer than the server's own limits: of a statement, and of the locks of a transaction. */
inline constexpr std::chrono::seconds answerLimit{35};

struct ClearResult
{
    void operator()(PGresult* result) const { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, ClearResult>;

/** No answer: whether the statements were executed is unknown. */
class ConnectionLost : public std::runtime_error
{
public:
    ConnectionLost() : std::runtime_error("the connection to the database server is lost") {}
};

/** The server has refused a statement. */
class StatementFailed : public std::runtime_error
{
public:
    StatementFailed(const std::string& what, std::string state)
        : std::runtime_error(what), state_(std::move(state))
    {}

    const std::string& state() const { return state_; } // SQLSTATE

private:
    std::string state_;
};

/**
 * Runs statements without parameters and returns the last result. Blocks, at most for `limit`.
 * Throws ConnectionLost, after which the connection is not usable, or StatementFailed.
 */
Result execute(PGconn& connection, const std::string& statements, std::chrono::seconds limit);

/**
 * As PQgetResult(). Blocks until `end`, then throws ConnectionLost, after which the connection is
 * not usable.
 */
Result nextResult(PGconn& connection, std::chrono::steady_clock::time_point end);

/** The first column of the first row; empty if there is none. */
std::string textOf(const Result& result);

bool isUsable(const PGconn& connection);

/** Throws the store's own error for a SQLSTATE. Returns if there is none. */
void throwFor(const std::string& state, const std::string& what);

} // namespace kelvo::store
