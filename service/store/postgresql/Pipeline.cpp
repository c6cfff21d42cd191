#include "service/store/postgresql/Pipeline.h"

#include "service/store/Dialect.h"

#include <soci/postgresql/soci-postgresql.h>

#include <string_view>
#include <utility>

namespace kelvo::store {

namespace {

using Steady = std::chrono::steady_clock;

constexpr const char* noState = "     "; // the connection is lost

[[noreturn]] void throwError(const PGresult& result)
{
    const char* state = PQresultErrorField(&result, PG_DIAG_SQLSTATE);
    throw soci::postgresql_soci_error(PQresultErrorMessage(&result),
                                      state == nullptr ? noState : state);
}

bool isFailure(const Result& result)
{
    const ExecStatusType status = PQresultStatus(result.get());
    return status == PGRES_FATAL_ERROR || status == PGRES_BAD_RESPONSE;
}

} // namespace

void Pipeline::lose() const
{
    throw soci::postgresql_soci_error(PQerrorMessage(&connection_), noState);
}

void Pipeline::require(int isSent) const
{
    if (isSent != 1) {
        lose();
    }
}

bool Pipeline::isInTransaction() const
{
    return !sent_.empty() || PQtransactionStatus(&connection_) == PQTRANS_INTRANS;
}

void Pipeline::prepare(const std::string& text)
{
    std::string& name = names_[text];
    name = "s" + std::to_string(++prepared_);
    require(PQsendPrepare(&connection_, name.c_str(), text.c_str(), 0, nullptr));
    sent_.push_back({text});
}

void Pipeline::send(const Statement& statement)
{
    require(PQenterPipelineMode(&connection_));
    const auto count = static_cast<int>(statement.parameters.size());
    const char* const* values = statement.parameters.data();
    const auto known = names_.find(statement.text);
    if (known == names_.end()) {
        if (names_.size() < mostPrepared) {
            names_.emplace(statement.text, "");
        }
        require(PQsendQueryParams(&connection_, statement.text.c_str(), count, nullptr, values,
                                  nullptr, nullptr, 0));
    } else {
        if (known->second.empty()) {
            prepare(statement.text);
        }
        require(PQsendQueryPrepared(&connection_, names_[statement.text].c_str(), count, values,
                                    nullptr, nullptr, 0));
    }
    sent_.push_back({});
}

void Pipeline::defer(const Statement& statement)
{
    if (sent_.size() >= mostDeferred) {
        flush();
    }
    send(statement);
}

Result Pipeline::run(const Statement& statement)
{
    send(statement);
    return flush();
}

Result Pipeline::next()
{
    try {
        return nextResult(connection_, end_);
    } catch (const ConnectionLost& error) {
        throw soci::postgresql_soci_error(error.what(), noState);
    }
}

/** The result of one statement. */
Result Pipeline::receive(const Sent& sent)
{
    const char* name = PQparameterStatus(&connection_, "application_name");
    const bool isUnlimited = name != nullptr && std::string_view(name) == unlimitedWork;
    end_ = isUnlimited ? Steady::time_point::max() : Steady::now() + answerLimit;
    Result result = next();
    if (!result) {
        lose();
    }
    while (PQstatus(&connection_) == CONNECTION_OK && next()) {
    }
    if (!sent.prepared.empty() && PQresultStatus(result.get()) != PGRES_COMMAND_OK) {
        names_.erase(sent.prepared);
    }
    return result;
}

Result Pipeline::flush()
{
    if (sent_.empty()) {
        return {};
    }
    const std::vector<Sent> all = std::exchange(sent_, {});
    require(PQpipelineSync(&connection_));
    Result outcome; // the first failure, or the last result
    for (const Sent& sent : all) {
        Result result = receive(sent);
        if (!outcome || !isFailure(outcome)) {
            outcome = std::move(result);
        }
    }
    const Result end = next(); // of the synchronisation
    require(PQexitPipelineMode(&connection_));
    if (isFailure(outcome)) {
        throwError(*outcome);
    }
    return outcome;
}

void Pipeline::discard() noexcept
{
    try {
        flush();
    } catch (const std::exception&) {
        // The caller rolls back.
    }
}

} // namespace kelvo::store
