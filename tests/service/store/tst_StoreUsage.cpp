// The counters of files and bytes equal the rows after each change of the rows.
#include "service/store/FarmRemoval.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/PersonTable.h"
#include "service/store/QuotaTable.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/StoredLists.h"

#include <soci/soci.h>

#include <random>

namespace kelvo::test {
namespace {

using soci::into;
using soci::use;
using store::Transaction;

using Counts = std::vector<std::array<long long, 3>>; // id, files, bytes

/** Two farms, their users and files, changed at random with a fixed seed. */
class StoreUsage : public StoreContract
{
protected:
    long long below(long long limit)
    {
        return static_cast<long long>(random_() % static_cast<std::uint64_t>(limit));
    }

    template <class T>
    const T* oneOf(const std::vector<T>& list)
    {
        return list.empty() ? nullptr : &list[static_cast<std::size_t>(below(std::ssize(list)))];
    }

    std::vector<store::Farm> farms()
    {
        return read([](soci::session& sql) { return store::allFarms(sql); });
    }

    std::vector<store::User> usersOf(const store::Farm& farm)
    {
        return read([&farm](soci::session& sql) { return usersIn(sql, {.farm = farm.id}); });
    }

    void upload(const store::Farm& farm)
    {
        const auto users = usersOf(farm);
        if (const store::User* user = oneOf(users)) {
            const store::Id project = 1 + below(7);
            const long long bytes = below(1000);
            write([&](Transaction& t) {
                const store::Id inbox = store::ensureInbox(t, *user, project, 1).inbox.id;
                store::addFile(t, farm.id, {0, inbox, "a", bytes, std::string(64, 'a'), 1});
            });
        }
    }

    void deleteAFile(const store::Farm& farm, long long nowMs)
    {
        const auto files = read([&farm](soci::session& sql) { return filesIn(sql, farm.id); });
        if (const store::File* file = oneOf(files)) {
            write([&](Transaction& t) { store::moveToBin(t, farm.id, file->id, "olga", nowMs); });
        }
    }

    void takeFromBin(const store::Farm& farm, bool isRestored)
    {
        const auto files = read([&farm](soci::session& sql) { return binIn(sql, farm.id); });
        if (const store::BinnedFile* file = oneOf(files)) {
            write([&](Transaction& t) {
                if (isRestored) {
                    store::restoreFromBin(t, farm.id, file->file.id);
                } else {
                    store::purgeFile(t, farm.id, file->file.id);
                }
            });
        }
    }

    /** Another user of the farm gets the files. */
    void deleteAUser(const store::Farm& farm)
    {
        const auto users = usersOf(farm);
        const store::User* user = oneOf(users);
        if (user == nullptr || users.size() < 2) {
            return;
        }
        const store::User& heir = user == &users[0] ? users[1] : users[0];
        write([&](Transaction& t) {
            for (const store::Inbox& inbox : store::inboxesOf(t.sql, *user)) {
                const auto to = store::ensureInbox(t, heir, inbox.project, 1);
                for (auto files = store::someFilesOf(t.sql, farm.id, inbox.id); !files.empty();
                     files = store::someFilesOf(t.sql, farm.id, inbox.id)) {
                    store::moveFiles(t, farm.id, files, to.inbox.id);
                }
            }
            store::removeInboxesOf(t, user->id);
            store::deleteUser(t, *user, 1);
        });
    }

    void change(long long nowMs)
    {
        for (const store::Id deleted : read(store::deletedFarms)) {
            write([deleted](Transaction& t) { store::removeSomeOf(t, deleted); });
        }
        const auto all = farms();
        const store::Farm farm = all.empty() ? addFarm(newName("farm")) : *oneOf(all);
        const long long choice = below(100);
        if (choice < 50) {
            upload(farm);
        } else if (choice < 70) {
            deleteAFile(farm, nowMs);
        } else if (choice < 80) {
            takeFromBin(farm, below(2) == 0);
        } else if (choice < 84) {
            write([nowMs](Transaction& t) { store::emptyBin(t, nowMs - 20); });
        } else if (choice < 86) {
            write([&](Transaction& t) { store::purgeBin(t, farm.id, nowMs + 1); });
        } else if (choice < 92) {
            addUser(farm, newName("user"));
        } else if (choice < 96) {
            deleteAUser(farm);
        } else if (choice < 98) {
            addFarm(newName("farm"));
        } else {
            write([&farm, nowMs](Transaction& t) { store::deleteFarm(t, farm.id, nowMs); });
        }
    }

    std::string newName(const std::string& kind) { return kind + std::to_string(++lastName_); }

    Counts rows(const std::string& query)
    {
        return read([&query](soci::session& sql) {
            std::array<long long, 3> row{};
            Counts counts;
            soci::statement statement =
                (sql.prepare << query, into(row[0]), into(row[1]), into(row[2]));
            statement.execute();
            while (statement.fetch()) {
                counts.push_back(row);
            }
            return counts;
        });
    }

private:
    std::mt19937 random_{20261122};
    int lastName_ = 0;
};

TEST_P(StoreUsage, CountersEqualTheRowsAfterRandomChanges)
{
    long long mostFiles = 0;
    for (int step = 0; step < 1000; ++step) {
        change(1000 + step);
        const Counts counted = rows("SELECT id, files, bytes FROM farms ORDER BY id");
        ASSERT_EQ(counted, rows("SELECT m.id, COUNT(f.id), COALESCE(SUM(f.size_bytes), 0)"
                                " FROM farms m LEFT JOIN files f ON f.farm_id = m.id"
                                " GROUP BY m.id ORDER BY m.id"))
            << "farms after step " << step;
        ASSERT_EQ(rows("SELECT id, files, bytes FROM users ORDER BY id"),
                  rows("SELECT u.id, COUNT(f.id), COALESCE(SUM(f.size_bytes), 0) FROM users u"
                       " LEFT JOIN inboxes i ON i.owner_id = u.id LEFT JOIN files f"
                       " ON f.farm_id = i.farm_id AND f.inbox_id = i.id"
                       " GROUP BY u.id ORDER BY u.id"))
            << "users after step " << step;
        for (const auto& farm : counted) {
            mostFiles = std::max(mostFiles, farm[1]);
        }
    }
    EXPECT_GT(mostFiles, 20); // the changes were not all refused
}

INSTANTIATE_TEST_SUITE_P(Databases, StoreUsage, testing::ValuesIn(databaseKinds()), nameOf);

} // namespace
} // namespace kelvo::test
