// The fetches of files by consoles.
#include "service/store/ConsoleTable.h"
#include "service/store/FarmRemoval.h"
#include "service/store/FetchTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/PersonTable.h"
#include "service/store/SessionTable.h"
#include "tests/service/store/StoreContract.h"

#include <gmock/gmock.h>

#include <soci/soci.h>

#include <map>

namespace kelvo::test {
namespace {

using store::Transaction;

class StoreFetches : public StoreContract
{
protected:
    StoreFetches()
    {
        user = addUser(addFarm("Hill Farm"), "olga");
        inbox = write([this](Transaction& t) { return store::ensureInbox(t, user, 1, now).inbox; });
        cab = addConsole("cab");
        workshop = addConsole("workshop");
    }

    store::Id addConsole(const std::string& address)
    {
        const store::Session session{"hash of " + address, user, now + 1000};
        return write([&](Transaction& t) {
            store::addSession(t, session.tokenHash, user.id, now, session.expiresMs);
            const store::Id console = store::bindConsole(t, session, address);
            store::removeSession(t, session.tokenHash);
            return console;
        });
    }

    store::Id addFile(const std::string& name)
    {
        return write([&](Transaction& t) {
            return store::addFile(t, user.farmId(), {0, inbox.id, name, 5, "aa", now}).id;
        });
    }

    bool take(store::Id file, store::Id console, long long fetchedMs, long long unpackedMs = 0,
              const std::string& error = {})
    {
        return write([&](Transaction& t) {
            return store::takeFetch(t, user.farmId(),
                                    {file, console, user.id, {}, fetchedMs, unpackedMs, error});
        });
    }

    std::optional<store::Fetch> last(store::Id file)
    {
        return read(
            [&](soci::session& sql) { return store::lastFetchOf(sql, user.farmId(), file); });
    }

    /** The names of the files in the user's fetches, with the consoles. */
    std::multimap<std::string, store::Id> fetchesOf(const store::User& who)
    {
        return read([&who](soci::session& sql) {
            std::multimap<std::string, store::Id> all;
            store::eachFetchOf(sql, who, [&](const store::Fetch& fetch, const std::string& name) {
                EXPECT_EQ(fetch.userName, who.name);
                all.emplace(name, fetch.console);
            });
            return all;
        });
    }

    /** The console of each file's fetch as the inbox lists it; 0: no fetch. */
    std::map<std::string, store::Id> listed()
    {
        return read([&](soci::session& sql) {
            std::map<std::string, store::Id> all;
            store::InboxFiles files(sql, user.farmId());
            store::eachFileWithFetch(sql, files, user.farmId(), inbox.id,
                                     [&all](const store::File& file, const store::Fetch* fetch) {
                                         all[file.name] = fetch ? fetch->console : 0;
                                     });
            return all;
        });
    }

    long long rows()
    {
        return read([](soci::session& sql) {
            long long count = 0;
            sql << "SELECT COUNT(*) FROM fetches", soci::into(count);
            return count;
        });
    }

    store::User user;
    store::Inbox inbox;
    store::Id cab = 0;
    store::Id workshop = 0;
};

TEST_P(StoreFetches, KeepsTheFirstFetchOfEachConsole)
{
    const store::Id file = addFile("a");
    EXPECT_FALSE(last(file));
    EXPECT_TRUE(take(file, cab, 50));
    EXPECT_FALSE(take(file, cab, 60));
    ASSERT_TRUE(last(file));
    EXPECT_EQ(last(file)->fetchedMs, 50);
    EXPECT_EQ(last(file)->userName, "olga");
    EXPECT_TRUE(take(file, workshop, 40));
    EXPECT_EQ(last(file)->console, cab) << "the newest fetch, not the newest report";
}

TEST_P(StoreFetches, KeepsTheErrorUntilTheFileIsUnpacked)
{
    const store::Id file = addFile("a");
    EXPECT_TRUE(take(file, cab, 50, 0, "no room"));
    EXPECT_FALSE(take(file, cab, 50, 0, "no room"));
    EXPECT_FALSE(take(file, cab, 50)) << "a report without a result takes nothing back";
    EXPECT_TRUE(take(file, cab, 50, 0, "damaged"));
    EXPECT_EQ(last(file)->unpackError, "damaged");
    EXPECT_TRUE(take(file, cab, 50, 70));
    EXPECT_FALSE(take(file, cab, 50, 80));
    EXPECT_FALSE(take(file, cab, 50, 0, "late"));
    EXPECT_EQ(last(file)->unpackedMs, 70);
    EXPECT_EQ(last(file)->unpackError, "");
}

TEST_P(StoreFetches, ListsTheFilesOfAnInboxWithTheirNewestFetch)
{
    const store::Id a = addFile("a");
    const store::Id b = addFile("b");
    const store::Id binned = addFile("binned");
    const store::Id d = addFile("d");
    addFile("e");
    for (const store::Id file : {d, binned, a}) {
        take(file, workshop, 60);
        take(file, cab, 50);
    }
    take(d, addConsole("third"), 70);
    write([&](Transaction& t) { store::moveToBin(t, user.farmId(), binned, "olga", now); });
    using testing::Pair;
    EXPECT_THAT(listed(), testing::ElementsAre(Pair("a", workshop), Pair("b", 0),
                                               Pair("d", last(d)->console), Pair("e", 0)));
    EXPECT_FALSE(last(b));
}

TEST_P(StoreFetches, ListsTheFetchesOfAUser)
{
    const store::Id a = addFile("a");
    const store::Id b = addFile("b");
    take(a, workshop, 50);
    take(a, cab, 60);
    const store::User owner = user;
    user = addUser(*owner.farm, "piet");
    take(a, addConsole("third"), 70);
    take(b, cab, 80);
    using testing::Pair;
    EXPECT_THAT(fetchesOf(owner),
                testing::UnorderedElementsAre(Pair("a", workshop), Pair("a", cab)));
    EXPECT_THAT(fetchesOf(user), testing::UnorderedElementsAre(Pair("a", cab + 2), Pair("b", cab)));
}

TEST_P(StoreFetches, ForgetsTheFetchesOfPurgedFilesAndDeletedConsoles)
{
    const store::Id a = addFile("a");
    const store::Id b = addFile("b");
    const store::Id own = addConsole(""); // identified by its user
    for (const store::Id file : {a, b}) {
        take(file, cab, 50);
        take(file, own, 60);
    }
    write([&](Transaction& t) {
        store::moveToBin(t, user.farmId(), a, "olga", now);
        store::purgeFile(t, user.farmId(), a);
    });
    EXPECT_EQ(rows(), 2);
    write([&](Transaction& t) { store::deleteUser(t, user, now); });
    EXPECT_EQ(rows(), 1);
    EXPECT_EQ(last(b)->console, cab);
    write([&](Transaction& t) { store::deleteFarm(t, user.farmId(), now); });
    while (write([&](Transaction& t) { return store::removeSomeOf(t, user.farmId()); })) {
    }
    EXPECT_EQ(rows(), 0);
}

INSTANTIATE_TEST_SUITE_P(Databases, StoreFetches, testing::ValuesIn(databaseKinds()), nameOf);

TEST_P(StoreFetches, KeepTheirConsole)
{
    const store::Id file = addFile("a.zip");
    take(file, cab, now + 10);
    write([](Transaction& t) { store::forgetConsoles(t, now + 10); });
    EXPECT_TRUE(last(file)) << "the fetch is not older";
    write([](Transaction& t) { store::forgetConsoles(t, now + 11); });
    EXPECT_FALSE(last(file));
}

} // namespace
} // namespace kelvo::test
