// Several instances on one database: changes at once.
#include "service/store/AuditTable.h"
#include "service/store/ChunkTable.h"
#include "service/store/EventTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UploadTable.h"
#include "tests/service/store/InstancesFixture.h"
#include "tests/service/support/DialectAround.h"
#include "tests/service/support/StoredLists.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <set>
#include <string>
#include <vector>

namespace kelvo::test {
namespace {

struct ScopePair
{
    const char* what;
    Scope first;
    Scope second;
    bool isInTurn;
};

TEST_P(Instances, ChangeDifferentFarmsSideBySideAndOneFarmInTurn)
{
    const store::Id hill = addFarm("Hill Farm").id;
    const store::Id dale = addFarm("Dale Farm").id;
    const ScopePair pairs[] = {
        {"one farm", Scope::farm(hill), Scope::farm(hill), true},
        {"two farms", Scope::farm(hill), Scope::farm(dale), false},
        {"the other way round", Scope::farm(dale), Scope::farm(hill), false},
        {"a farm beside all rows", Scope::all(), Scope::farm(hill), true},
        {"all rows beside a farm", Scope::farm(hill), Scope::all(), true},
        {"administrators beside a farm", Scope::farm(0), Scope::farm(hill), false},
        {"one upload", Scope::upload("a"), Scope::upload("a"), true},
        {"two uploads", Scope::upload("a"), Scope::upload("b"), false},
        {"all rows beside an upload", Scope::upload("a"), Scope::all(), true},
    };
    for (const ScopePair& pair : pairs) {
        atOnce<std::optional<bool>>(
            pair.first,
            [](Transaction&, const auto& pause) {
                pause();
                return true;
            },
            pair.second, [](Transaction&, const auto&) { return true; });
        EXPECT_EQ(secondWaited, pair.isInTurn) << pair.what;
    }
}

/** Waits a moment for a lock. */
class ShortWaits final : public DialectAround
{
public:
    using DialectAround::DialectAround;

    std::unique_ptr<soci::session> connect() const override
    {
        auto session = connectInner();
        *session << "SET lock_timeout = '1ms'";
        return session;
    }
};

TEST_P(Instances, CommitTheOtherFarmsOfABatchIfOneFarmIsLocked)
{
    const store::Id hill = addFarm("Hill Farm").id;
    const store::Id dale = addFarm("Dale Farm").id;
    const ShortWaits dialect(GetParam().connect(folder.Path()));
    const store::WriteHooks hooks;
    store::Writer writer(dialect, hooks);
    const auto runs = [&](Scope locked) {
        std::vector<std::string> outcomes;
        std::vector<store::Change> changes(3);
        const Scope scopes[] = {Scope::farm(hill), Scope::farm(dale), Scope::upload("a")};
        for (std::size_t i = 0; i < changes.size(); ++i) {
            changes[i].scope = scopes[i];
            changes[i].run = [](Transaction& t) { t.sql << "UPDATE farms SET name = name"; };
        }
        other->writeNow(locked, [&](Transaction&) {
            writer.run({&changes[0], &changes[1], &changes[2]});
        });
        for (const store::Change& change : changes) {
            outcomes.push_back(change.error ? "fails" : "is committed");
        }
        return outcomes;
    };
    EXPECT_THAT(runs(Scope::farm(hill)),
                testing::ElementsAre("fails", "is committed", "is committed"));
    EXPECT_THAT(runs(Scope::upload("a")),
                testing::ElementsAre("is committed", "is committed", "fails"));
    EXPECT_THAT(runs(Scope::upload("b")), testing::Each("is committed"));
    EXPECT_THAT(runs(Scope::all()), testing::Each("fails"));
}

TEST_P(Instances, GiveAStatementMoreTimeThanTheLocks)
{
    std::string limit;
    database->writeNow(Scope::farm(1), [&limit](Transaction& t) {
        t.sql << "SELECT current_setting('statement_timeout')", soci::into(limit);
    });
    EXPECT_EQ(limit, "30s");
}

TEST_P(Instances, MakeTheEventsOfAFarmReadableInTheOrderOfTheirIds)
{
    const store::Id farm = addFarm("Hill Farm").id;
    const auto newest = [this, farm] {
        return watcher->readNow(
            [farm](soci::session& sql) { return store::eventBounds(sql, farm).newest; });
    };
    const auto add = [farm](Transaction& t) {
        store::addEvent(t, {farm, 0, "thing", 0, "{}", "", now});
        return t.events.back().id;
    };
    store::Id beforeTheCommit = -1;
    const auto [first, second] = atOnce<std::optional<store::Id>>(
        Scope::farm(farm),
        [&](Transaction& t, const auto& pause) {
            const store::Id id = add(t);
            pause();
            beforeTheCommit = newest();
            return id;
        },
        Scope::farm(farm), [&](Transaction& t, const auto&) { return add(t); });
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
    EXPECT_EQ(beforeTheCommit, 0) << "the second event before the first";
    EXPECT_EQ(newest(), 2);
}

TEST_P(Instances, GiveTheEntriesOfTwoFarmsDifferentIds)
{
    const store::Id hill = addFarm("Hill Farm").id;
    const store::Id dale = addFarm("Dale Farm").id;
    const auto change = [](store::Id farm) {
        return [farm](Transaction& t, const auto& pause) {
            store::AuditEntry entry;
            entry.outcome = "done";
            entry.farm = farm;
            store::addAudit(t, entry);
            pause();
            return true;
        };
    };
    atOnce<std::optional<bool>>(Scope::farm(hill), change(hill), Scope::farm(dale), change(dale));
    EXPECT_FALSE(secondWaited) << "the counter of the trail is locked at the end only";
    std::set<store::Id> ids;
    read([&ids](soci::session& sql) {
        store::auditOf(sql, {}, [&ids](const store::AuditEntry& entry) {
            return ids.insert(entry.id).second;
        });
        return 0;
    });
    EXPECT_THAT(ids, testing::ElementsAre(1, 2));
}

TEST_P(Instances, KeepOneContentOfTwoFarmsThatReceiveItAtOnce)
{
    write(store::makeChunkTables);
    const auto adopt = [](const std::string& upload) {
        return [upload](Transaction& t, const auto& pause) {
            const store::Received before = store::takeOver(t, upload);
            const store::Chunk chunk{"key of " + upload, 0, 5, "sha of the chunk"};
            store::announceObject(t, chunk.key, now);
            store::addChunk(t, upload, before, chunk, "state", now);
            const store::Received received = *store::receivedPart(t.sql, upload);
            const bool isDone = store::adoptChunks(t, upload, received, "sha", now);
            const bool isThere = store::contentSize(t.sql, "sha").has_value();
            pause();
            return isDone && isThere;
        };
    };
    const store::Id hill = addFarm("Hill Farm").id;
    const store::Id dale = addFarm("Dale Farm").id;
    for (const char* round : {"1", "2"}) { // the content is new, then it exists
        const auto [first, second] =
            atOnce<std::optional<bool>>(Scope::farm(hill), adopt(std::string("hill") + round),
                                        Scope::farm(dale), adopt(std::string("dale") + round));
        EXPECT_EQ(first, true);
        EXPECT_EQ(second, true);
        EXPECT_TRUE(secondWaited) << "for the row of the content";
        EXPECT_EQ(read([](soci::session& sql) { return store::chunkAt(sql, "sha", 0)->key; }),
                  std::string("key of dale") + round);
    }
    EXPECT_EQ(read(store::storedChunks).bytes, 5);
    EXPECT_EQ(read(store::storedChunks).doomedObjects, 3);
}

TEST_P(Instances, DoNotDisableTwoAdministratorsByEachOther)
{
    const store::User ada = addUser({}, "ada", store::ERole::Admin);
    const store::User bert = addUser({}, "bert", store::ERole::Admin);
    const auto disable = [](store::Id user) {
        return [user](Transaction& t, const auto& pause) {
            const bool mayDisable = store::countEnabledAdmins(t.sql) > 1;
            pause();
            if (mayDisable) {
                store::setDisabled(t, user, true);
            }
            return mayDisable;
        };
    };
    const auto [first, second] =
        atOnce<std::optional<bool>>(Scope::all(), disable(ada.id), Scope::all(), disable(bert.id));
    EXPECT_EQ(first, true);
    EXPECT_EQ(second, false);
    EXPECT_EQ(read(store::countEnabledAdmins), 1);
}

TEST_P(Instances, KeepNoSessionOfAReplacedPassword)
{
    const store::User user = addFarmWithUser();
    const auto logIn = [&user](Transaction& t, const auto& pause) {
        const bool isRight = store::credentialsOf(t.sql, user.name)->passwordHash == "hash of olga";
        pause();
        if (isRight) {
            store::addSession(t, "token", user.id, now, now + 1000);
        }
        return isRight;
    };
    const auto replace = [&user](Transaction& t, const auto&) {
        store::setPassword(t, user.id, "new hash");
        store::removeSessionsOf(t, user.id);
        return true;
    };
    atOnce<std::optional<bool>>(Scope::farm(user.farmId()), logIn, Scope::all(), replace);
    EXPECT_EQ(
        store::countExpiredSessions(*GetParam().connect(folder.Path())->connect(), {now + 1000}),
        0);
}

TEST_P(Instances, FinishAnUploadOnce)
{
    const store::User user = addFarmWithUser();
    const store::Inbox inbox =
        write([&user](Transaction& t) { return store::ensureInbox(t, user, 1, now).inbox; });
    store::Upload upload;
    upload.id = "upload";
    upload.farm = user.farmId();
    upload.user = user.id;
    upload.name = "a.zip";
    write([&upload](Transaction& t) { store::addUpload(t, upload); });
    atOnce(Scope::farm(user.farmId()), [&](Transaction& t, const auto& pause) {
        store::Upload stored = *store::uploadById(t.sql, upload.id);
        pause();
        if (!stored.finished) {
            stored.files = {
                store::addFile(t, user.farmId(), {0, inbox.id, "a.zip", 1, "sha", now}).id};
            store::finishUpload(t, stored);
        }
        return 0;
    });
    EXPECT_EQ(read([&user](soci::session& sql) { return filesIn(sql, user.farmId()).size(); }), 1U);
}

TEST_P(Instances, RestoreAFileFromTheBinOnce)
{
    const store::User user = addFarmWithUser();
    const store::File file = write([&user](Transaction& t) {
        const store::Id inbox = store::ensureInbox(t, user, 1, now).inbox.id;
        const store::File added =
            store::addFile(t, user.farmId(), {0, inbox, "a.zip", 1, "sha", now});
        store::moveToBin(t, user.farmId(), added.id, "olga", now);
        return added;
    });
    const Scope scope = Scope::farm(user.farmId());
    const auto [first, second] = atOnce(scope, [&](Transaction& t, const auto& pause) {
        const auto restored = store::restoreFromBin(t, user.farmId(), file.id);
        pause();
        return restored.has_value();
    });
    EXPECT_EQ(first, true);
    EXPECT_EQ(second, false);
}

TEST_P(Instances, FindTheInboxThatTheOtherMakes)
{
    const store::User user = addFarmWithUser();
    const Scope scope = Scope::farm(user.farmId());
    const auto [first, second] = atOnce(scope, [&user](Transaction& t, const auto& pause) {
        const store::AddedInbox added = store::ensureInbox(t, user, 1, now);
        pause();
        return added.inbox.id;
    });
    ASSERT_TRUE(second);
    EXPECT_EQ(first, second);
}

TEST_P(Instances, FindTheUploadWithTheSameKey)
{
    const store::User user = addFarmWithUser();
    const auto start = [&user](const std::string& id) {
        return [&user, id](Transaction& t, const auto& pause) {
            const auto known = store::uploadByKey(t.sql, user.id, "key");
            pause();
            if (known) {
                return known->id;
            }
            store::Upload upload;
            upload.id = id;
            upload.farm = user.farmId();
            upload.user = user.id;
            upload.key = "key";
            store::addUpload(t, upload);
            return id;
        };
    };
    const auto [first, second] = atOnce<std::optional<std::string>>(
        Scope::farm(user.farmId()), start("first"), Scope::farm(user.farmId()), start("second"));
    EXPECT_EQ(first, "first");
    EXPECT_EQ(second, "first");
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Instances);
INSTANTIATE_TEST_SUITE_P(Databases, Instances, testing::ValuesIn(serverKinds()), nameOf);

} // namespace
} // namespace kelvo::test
