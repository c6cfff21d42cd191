// The common part of all databases, and the defaults of databases with one instance.
#include "service/store/Dialect.h"

#include "service/store/Errors.h"

#include <soci/soci.h>

#include <array>

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

void throwIfNotUnique(std::string_view message)
{
    struct Row
    {
        std::string_view constraint; // PostgreSQL's name
        std::string_view column;     // as SQLite writes it
        const char* text;
    };
    constexpr std::array rows{
        Row{"farms_name_key", "farms.name", "Another farm has this name."},
        Row{"users_name_key", "users.name", "Another user has this name."},
        Row{"uploads_user_id_idempotency_key_key", "uploads.idempotency_key",
            "Another upload has this key."},
    };
    for (const Row& row : rows) {
        if (message.find(row.constraint) != message.npos ||
            message.find(row.column) != message.npos) {
            throw NotUnique(row.text);
        }
    }
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
