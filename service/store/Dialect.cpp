// The common part of all databases, and the defaults of databases with one instance.
#include "service/store/Dialect.h"

#include "service/store/Errors.h"

#include <soci/soci.h>

namespace kelvo::store {

void Dialect::commit(soci::session& sql, const std::string&, const std::string&) const
{
    try {
        sql << "COMMIT";
    } catch (const std::exception& error) {
        translate(error);
        throw CommitInDoubt(error.what());
    }
}

bool Dialect::isUsable(soci::session&) const
{
    return true;
}

void Dialect::relyOnSchema(soci::session&, int, int) const {}

std::optional<long long> Dialect::serverTimeMs(soci::session&) const
{
    return std::nullopt;
}

std::optional<long long> Dialect::serverSizeBytes(soci::session&) const
{
    return std::nullopt;
}

void Dialect::rethrow(const std::exception& error) const
{
    translate(error);
    if (const auto* failure = dynamic_cast<const soci::soci_error*>(&error)) {
        throw std::runtime_error(failure->get_error_message());
    }
    throw;
}

} // namespace kelvo::store
