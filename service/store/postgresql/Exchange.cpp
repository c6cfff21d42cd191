#include "service/store/postgresql/Exchange.h"

#include "service/store/Errors.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <poll.h>
#include <sys/socket.h>

namespace kelvo::store {

namespace {

using Steady = std::chrono::steady_clock;

constexpr long long longestPollMs = 60'000;

[[noreturn]] void lose(PGconn& connection)
{
    ::shutdown(PQsocket(&connection), SHUT_RDWR);
    throw ConnectionLost();
}

/** Returns also without input, after a time. */
void awaitInput(PGconn& connection, Steady::time_point end)
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - Steady::now()).count();
    pollfd socket{PQsocket(&connection), POLLIN, 0};
    if (left <= 0 || socket.fd < 0) {
        lose(connection);
    }
    if (::poll(&socket, 1, static_cast<int>(std::min<long long>(left, longestPollMs))) == 0) {
        return;
    }
    if (PQconsumeInput(&connection) != 1) {
        lose(connection);
    }
}

std::string stateOf(const PGresult& result)
{
    const char* state = PQresultErrorField(&result, PG_DIAG_SQLSTATE);
    return state == nullptr ? "" : state;
}

enum class EMeaning { Busy, Full, NotUnique, Unstorable };

struct Row
{
    std::string_view state; // SQLSTATE, or its beginning
    EMeaning meaning;
};

constexpr std::array rows{
    Row{"08", EMeaning::Busy},          // no connection
    Row{"22001", EMeaning::Unstorable}, // too long for its column
    Row{"22021", EMeaning::Unstorable}, // not UTF-8
    Row{"23505", EMeaning::NotUnique},
    Row{"25006", EMeaning::Busy}, // the server has become a standby
    Row{"25P03", EMeaning::Busy}, // this instance was frozen in a transaction
    Row{"40", EMeaning::Busy},    // deadlock
    Row{"53100", EMeaning::Full},
    Row{"53", EMeaning::Busy},    // no memory, no free connection
    Row{"55P03", EMeaning::Busy}, // a lock was not free in time
    Row{"57", EMeaning::Busy},    // a statement took too long, or the server stops or starts
};

} // namespace

Result execute(PGconn& connection, const std::string& statements, std::chrono::seconds limit)
{
    const auto end = Steady::now() + limit;
    if (PQsendQuery(&connection, statements.c_str()) != 1) {
        lose(connection);
    }
    Result last;
    Result failed;
    for (;;) {
        Result next = nextResult(connection, end);
        if (!next) {
            break;
        }
        const bool isFailure = PQresultStatus(next.get()) == PGRES_FATAL_ERROR;
        (isFailure ? failed : last) = std::move(next);
    }
    if (failed && !stateOf(*failed).empty()) {
        throw StatementFailed(PQresultErrorMessage(failed.get()), stateOf(*failed));
    }
    if (failed || !last) {
        lose(connection);
    }
    return last;
}

Result nextResult(PGconn& connection, Steady::time_point end)
{
    while (PQisBusy(&connection) == 1) {
        awaitInput(connection, end);
    }
    return Result(PQgetResult(&connection));
}

std::string textOf(const Result& result)
{
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

bool isUsable(const PGconn& connection)
{
    const PGTransactionStatusType status = PQtransactionStatus(&connection);
    return PQstatus(&connection) == CONNECTION_OK && status != PQTRANS_ACTIVE &&
           status != PQTRANS_UNKNOWN;
}

void throwFor(const std::string& state, const std::string& what)
{
    for (const Row& row : rows) {
        if (!state.starts_with(row.state)) {
            continue;
        }
        switch (row.meaning) {
        case EMeaning::Busy:
            throw StoreBusy(what);
        case EMeaning::Full:
            throw StorageFull();
        case EMeaning::NotUnique:
            throwIfNotUnique(what);
            return;
        case EMeaning::Unstorable:
            throw UnstorableText();
        }
    }
}

} // namespace kelvo::store
