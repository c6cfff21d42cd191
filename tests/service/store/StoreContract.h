// The behaviour that every database of the store must have, tested on each kind of databaseKinds().
#pragma once

#include "service/store/Database.h"
#include "service/store/FarmTable.h"
#include "service/store/UserTable.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kelvo::test {

/** A kind of database. `connect` may be called again on the same folder to reopen the same data. */
struct DatabaseKind
{
    const char* name;
    std::function<std::unique_ptr<store::Dialect>(const std::filesystem::path& folder)> connect;
};

/** Makes test listings print the database's name instead of its bytes. */
inline void PrintTo(const DatabaseKind& kind, std::ostream* out)
{
    *out << kind.name;
}

std::vector<DatabaseKind> databaseKinds();
std::string nameOf(const testing::TestParamInfo<DatabaseKind>& kind);

class StoreContract : public testing::TestWithParam<DatabaseKind>
{
protected:
    StoreContract() { reopen(); }

    void reopen()
    {
        database.reset();
        database = std::make_unique<store::Database>(GetParam().connect(folder.Path()));
    }

    store::Farm addFarm(const std::string& name)
    {
        return database->writeNow(
            [&name](store::Transaction& t) { return store::addFarm(t, name); });
    }

    store::User addUser(const std::optional<store::Farm>& farm, const std::string& name,
                        store::ERole role = store::ERole::Operator)
    {
        const store::NewUser user{farm, name, role, "hash of " + name, 1000};
        return database->writeNow(
            [&user](store::Transaction& t) { return store::addUser(t, user); });
    }

    template <class F>
    auto read(F query)
    {
        return database->readNow(query);
    }
    template <class F>
    auto write(F change)
    {
        return database->writeNow(change);
    }

    static constexpr long long now = 1700000000000;

    TempFolder folder;
    std::unique_ptr<store::Database> database;
};

} // namespace kelvo::test
