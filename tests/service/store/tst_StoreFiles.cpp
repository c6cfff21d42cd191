// Inboxes, files and the bin.
#include "service/store/Errors.h"
#include "service/store/FileTable.h"
#include "service/store/InboxFiles.h"
#include "service/store/InboxTable.h"
#include "service/store/PersonTable.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/StoredLists.h"

#include <gmock/gmock.h>

#include <soci/soci.h>

#include <regex>

namespace kelvo::test {
namespace {

using store::Transaction;

/** A farm with an operator's inbox. */
struct Place
{
    store::User user;
    store::Inbox inbox;
};

Place makePlace(store::Database& database, const store::User& user)
{
    return {user, database
                      .writeNow([&user](Transaction& t) {
                          return store::ensureInbox(t, user, 1, 1700000000000);
                      })
                      .inbox};
}

store::File addTo(store::Database& database, const Place& place, const std::string& name,
                  const std::string& sha256)
{
    return database.writeNow([&](Transaction& t) {
        return store::addFile(t, place.user.farmId(),
                              {0, place.inbox.id, name, 5, sha256, 1700000000000});
    });
}

std::vector<std::string> names(const std::vector<store::File>& files)
{
    std::vector<std::string> all;
    for (const store::File& file : files) {
        all.push_back(file.name);
    }
    return all;
}

std::vector<store::BinnedFile> inBin(store::Database& database, store::Id farm,
                                     const store::BinPart& part)
{
    return database.readNow([&](soci::session& sql) { return binIn(sql, farm, part); });
}

TEST_P(StoreContract, MakesAnInboxOnce)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    const auto ensure = [&user](Transaction& t) { return store::ensureInbox(t, user, 2, now); };
    const store::AddedInbox first = write(ensure);
    const store::AddedInbox second = write(ensure);
    EXPECT_TRUE(first.isNew);
    EXPECT_FALSE(second.isNew);
    EXPECT_EQ(first.inbox.id, second.inbox.id);
    EXPECT_EQ(first.inbox.id, 8); // after the seven projects, whose ids come from the same counter
    EXPECT_EQ(first.inbox.ownerName, "olga");
    EXPECT_EQ(first.inbox.project, 2);
}

TEST_P(StoreContract, KeepsFarmsApart)
{
    const Place here = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    const Place there = makePlace(*database, addUser(addFarm("Dale Farm"), "oscar"));
    ASSERT_EQ(here.inbox.id, there.inbox.id);
    addTo(*database, here, "here.zip", "aa");
    const store::Id only = addTo(*database, here, "more.zip", "cc").id;
    addTo(*database, there, "there.zip", "bb");
    EXPECT_FALSE(read([&there, only](soci::session& sql) {
        return store::fileById(sql, there.user.farmId(), only).has_value();
    }));
    const auto files =
        read([&here](soci::session& sql) { return filesIn(sql, here.user.farmId()); });
    EXPECT_THAT(names(files), testing::ElementsAre("here.zip", "more.zip"));
}

TEST_P(StoreContract, ListsFilesOfAnInboxAndOfAnOwner)
{
    const store::Farm farm = addFarm("Hill Farm");
    const Place olga = makePlace(*database, addUser(farm, "olga"));
    const Place oscar = makePlace(*database, addUser(farm, "oscar"));
    addTo(*database, olga, "a", "aa");
    addTo(*database, oscar, "b", "bb");
    addTo(*database, olga, "a", "cc"); // a file with the same name is another file
    EXPECT_THAT(
        names(read([&](soci::session& sql) { return filesIn(sql, farm.id, olga.inbox.id); })),
        testing::ElementsAre("a", "a"));
    EXPECT_THAT(names(read([&](soci::session& sql) { return filesIn(sql, farm.id); })),
                testing::ElementsAre("a", "b", "a"));
}

TEST_P(StoreContract, ListsTheFilesOfOneInboxAfterAnother)
{
    const store::Farm farm = addFarm("Hill Farm");
    const Place olga = makePlace(*database, addUser(farm, "olga"));
    const Place oscar = makePlace(*database, addUser(farm, "oscar"));
    addTo(*database, olga, "a", "aa");
    addTo(*database, oscar, "b", "bb");
    const store::File binned = addTo(*database, olga, "c", "cc");
    write([&](Transaction& t) {
        store::moveToBin(t, farm.id, binned.id, "olga", now);
        store::addFile(t, farm.id,
                       {0, olga.inbox.id, "d", 1, "dd", now, oscar.user.id, "", "second pass"});
    });
    EXPECT_THAT(read([&](soci::session& sql) {
                    std::vector<std::string> visited;
                    store::InboxFiles files(sql, farm.id);
                    for (const Place& place : {olga, oscar}) {
                        files.each(place.inbox.id, [&visited](const store::File& file) {
                            visited.push_back(file.name + " " + file.sha256 + " " +
                                              file.senderName + " " + file.note);
                        });
                    }
                    return visited;
                }),
                testing::ElementsAre("a aa  ", "d dd oscar second pass", "b bb  "));
}

/** The rows of an inbox lie far apart in the table: each would cost the read of a page. */
TEST(FileLists, AreReadFromOneIndexAlone)
{
    const TempFolder folder;
    store::Database database(store::makeSqlite(folder.Path("kelvo.sqlite")));
    std::string plan;
    database.readNow([&plan](soci::session& sql) {
        std::string query;
        sql.set_query_transformation([&query](const std::string& text) { return query = text; });
        const store::InboxFiles files(sql, 1);
        sql.set_query_transformation([](const std::string& text) { return text; });
        for (const soci::row& row : soci::rowset<soci::row>(
                 sql.prepare << "EXPLAIN QUERY PLAN "
                             << std::regex_replace(query, std::regex(":[a-z]+"), "1"))) {
            plan += row.get<std::string>(3) + ";";
        }
        return 0;
    });
    EXPECT_EQ(plan, "SEARCH files USING COVERING INDEX files_by_inbox (farm_id=? AND"
                    " inbox_id=?);");
}

TEST_P(StoreContract, KeepsTheSenderUnderTheSendersPresentName)
{
    const Place place = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    const store::Id farm = place.user.farmId();
    const store::User anna = addUser(place.user.farm, "anna", store::ERole::Office);
    const store::File sent = write([&](Transaction& t) {
        return store::addFile(
            t, farm, {0, place.inbox.id, "a", 1, "aa", now, anna.id, anna.name, "second pass"});
    });
    write([&](Transaction& t) { store::deleteUser(t, anna, now); });
    const auto found =
        read([&](soci::session& sql) { return store::fileById(sql, farm, sent.id).value(); });
    EXPECT_EQ(found.senderId, anna.id);
    EXPECT_NE(found.senderName, "anna");
    EXPECT_EQ(found.note, "second pass");
    write([&](Transaction& t) { store::moveToBin(t, farm, sent.id, "olga", now); });
    EXPECT_EQ(inBin(*database, farm, {}).front().file.note, "second pass");
}

TEST_P(StoreContract, RestoresAFileFromTheBinWithItsId)
{
    const Place place = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    const store::Id farm = place.user.farmId();
    const store::File file = addTo(*database, place, "a", "aa");
    write([&](Transaction& t) { store::moveToBin(t, farm, file.id, "oscar", now); });
    EXPECT_FALSE(read([&](soci::session& sql) { return store::fileById(sql, farm, file.id); }));
    const auto bin = inBin(*database, farm, {});
    ASSERT_EQ(bin.size(), 1U);
    EXPECT_EQ(bin.front().file.id, file.id);
    EXPECT_EQ(bin.front().deletedBy, "oscar");
    EXPECT_EQ(bin.front().deletedMs, now);

    const auto restore = [&](Transaction& t) { return store::restoreFromBin(t, farm, file.id); };
    const auto restored = write(restore);
    ASSERT_TRUE(restored);
    EXPECT_EQ(restored->id, file.id);
    EXPECT_FALSE(write(restore)) << "the file is no longer in the bin";
    EXPECT_TRUE(read([&](soci::session& sql) { return store::fileById(sql, farm, file.id); }));
}

TEST_P(StoreContract, ListsTheFilesOfTheBinInPages)
{
    const Place olga = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    const store::Id farm = olga.user.farmId();
    for (const long long deletedMs : {now + 1, now, now, now + 2}) { // the middle two at one time
        const store::File file = addTo(*database, olga, "a", "aa");
        write([&](Transaction& t) { store::moveToBin(t, farm, file.id, "olga", deletedMs); });
    }
    const store::Id first = olga.inbox.id + 1;
    const auto idsAfter = [&](std::optional<store::BinPlace> place) {
        std::vector<store::Id> ids;
        for (const store::BinnedFile& file : inBin(*database, farm, {.after = place, .most = 2})) {
            ids.push_back(file.file.id);
        }
        return ids;
    };
    EXPECT_THAT(idsAfter(std::nullopt), testing::ElementsAre(first + 3, first));
    EXPECT_THAT(idsAfter(store::BinPlace{now + 1, first}),
                testing::ElementsAre(first + 1, first + 2));
    EXPECT_THAT(idsAfter(store::BinPlace{now, first + 1}), testing::ElementsAre(first + 2));
    EXPECT_THAT(inBin(*database, farm, {.name = "b"}), testing::IsEmpty());
    EXPECT_THAT(inBin(*database, farm, {.inbox = olga.inbox.id}), testing::SizeIs(4));
}

TEST_P(StoreContract, NeverUsesAnIdTwice)
{
    const Place place = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    const store::Id farm = place.user.farmId();
    const store::File file = addTo(*database, place, "a", "aa");
    write([&](Transaction& t) {
        store::moveToBin(t, farm, file.id, "olga", now);
        store::emptyBin(t, now + 1);
    });
    reopen();
    EXPECT_EQ(addTo(*database, place, "b", "bb").id, file.id + 1);
}

TEST_P(StoreContract, RefusesIdsAbove31Bits)
{
    const Place place = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    const store::Id largest = store::largestId - 1;
    write([&largest](Transaction& t) {
        t.sql << "UPDATE farms SET last_resource = :largest", soci::use(largest);
    });
    EXPECT_EQ(addTo(*database, place, "last", "aa").id, store::largestId);
    EXPECT_THROW(addTo(*database, place, "too many", "aa"), store::OutOfIds);
}

TEST_P(StoreContract, KnowsIfAContentIsUsed)
{
    const Place place = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    const store::Id farm = place.user.farmId();
    const auto isUsed = [this](const std::string& sha256) {
        return read([&sha256](soci::session& sql) { return store::contentIsUsed(sql, sha256); });
    };
    const store::File file = addTo(*database, place, "a", "aa");
    EXPECT_TRUE(isUsed("aa"));
    EXPECT_FALSE(isUsed("bb"));
    write([&](Transaction& t) { store::moveToBin(t, farm, file.id, "olga", now); });
    EXPECT_TRUE(isUsed("aa")) << "the bin refers to the content";
    const auto emptyBin = [this](long long before) {
        return write([before](Transaction& t) { return store::emptyBin(t, before); });
    };
    EXPECT_THAT(emptyBin(now), testing::IsEmpty());
    EXPECT_TRUE(isUsed("aa")) << "the bin was emptied too early";
    EXPECT_THAT(emptyBin(now + 1), testing::ElementsAre("aa"));
    EXPECT_FALSE(isUsed("aa"));
}

TEST_P(StoreContract, StoresAnyNameUnchanged)
{
    const std::string name = "o'Hara \"x\"; DROP TABLE files; -- \xC3\xA9 :colon ?";
    const Place place = makePlace(*database, addUser(addFarm("Hill Farm"), "olga"));
    addTo(*database, place, name, "aa");
    const store::Id farm = place.user.farmId();
    EXPECT_TRUE(read(
        [&](soci::session& sql) { return store::nameIsInInbox(sql, farm, place.inbox.id, name); }));
    EXPECT_THAT(names(read([&](soci::session& sql) { return filesIn(sql, farm); })),
                testing::ElementsAre(name));
}

} // namespace
} // namespace kelvo::test
