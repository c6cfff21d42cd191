// The audit trail, and the deletion of persons and farms.
#include "service/store/AuditTable.h"
#include "service/store/PersonTable.h"
#include "tests/service/store/StoreContract.h"

#include <gmock/gmock.h>

namespace kelvo::test {
namespace {

using store::AuditEntry;
using store::AuditPart;
using store::Transaction;
using testing::ElementsAre;

constexpr store::AuditLimits twoOfEach{2, 2, 2};

AuditEntry failedLogin(const std::string& action, store::Id actor, store::Id farm)
{
    AuditEntry entry;
    entry.action = action;
    entry.outcome = "failed";
    entry.actor = actor;
    entry.farm = farm;
    return entry;
}

AuditEntry entryOf(const std::string& action, store::Id actor, store::Id farm, long long atMs)
{
    AuditEntry entry;
    entry.action = action;
    entry.outcome = "done";
    entry.address = "10.0.0.1";
    entry.actor = actor;
    entry.actorName = "name of " + std::to_string(actor);
    entry.farm = farm;
    entry.atMs = atMs;
    return entry;
}

class StoreAudit : public StoreContract
{
protected:
    void add(const std::vector<AuditEntry>& entries, const store::AuditLimits& limits = {})
    {
        write([&](Transaction& t) {
            for (const AuditEntry& entry : entries) {
                store::addAudit(t, entry, limits);
            }
        });
    }

    std::vector<AuditEntry> entriesOf(const AuditPart& part)
    {
        return read([&part](soci::session& sql) {
            std::vector<AuditEntry> entries;
            store::auditOf(sql, part, [&entries](const AuditEntry& entry) {
                entries.push_back(entry);
                return true;
            });
            return entries;
        });
    }

    std::vector<std::string> actions(AuditPart part)
    {
        part.most = part.most == 0 ? 100 : part.most;
        std::vector<std::string> found;
        for (const AuditEntry& entry : entriesOf(part)) {
            found.push_back(entry.action);
        }
        return found;
    }
};

TEST_P(StoreAudit, ReturnsTheNewestEntriesOfAPart)
{
    add({entryOf("a", 1, 1, 100), entryOf("b", 2, 1, 200), entryOf("c", 1, 2, 300)});
    EXPECT_THAT(actions({}), ElementsAre("c", "b", "a"));
    EXPECT_THAT(actions({.farm = 1}), ElementsAre("b", "a"));
    EXPECT_THAT(actions({.actor = 1}), ElementsAre("c", "a"));
    EXPECT_THAT(actions({.action = "b"}), ElementsAre("b"));
    EXPECT_THAT(actions({.fromMs = 200, .beforeMs = 300}), ElementsAre("b"));
    EXPECT_THAT(actions({.belowId = 3, .most = 1}), ElementsAre("b"));
    EXPECT_THAT(actions({.farm = 1, .actor = 1, .belowId = 2}), ElementsAre("a"));
}

TEST_P(StoreAudit, OfAPersonHasWhatThePersonDidAndWhatOthersDidToThePerson)
{
    const auto about = [](const std::string& action, const std::string& kind, store::Id farm) {
        AuditEntry entry = entryOf(action, 2, farm, 100);
        entry.objectKind = kind;
        entry.object = 7;
        return entry;
    };
    add({entryOf("own", 7, 1, 100), entryOf("other", 2, 1, 100), about("password-set", "user", 1),
         about("file-delete", "file", 1), about("of another farm", "user", 3)});
    EXPECT_THAT(actions({.person = 7}), ElementsAre("of another farm", "password-set", "own"));
    EXPECT_THAT(actions({.farm = 1, .person = 7, .belowId = 3}), ElementsAre("own"));
    EXPECT_THAT(actions({.actor = 2, .person = 7}), ElementsAre("of another farm", "password-set"));
}

TEST_P(StoreAudit, RemovesOldEntries)
{
    add({entryOf("a", 1, 1, 100), entryOf("b", 2, 1, 200)});
    write([](Transaction& t) { store::pruneAudit(t, 200); });
    EXPECT_THAT(actions({}), ElementsAre("b"));
}

TEST_P(StoreAudit, ANoisyFarmRemovesItsOwnEntriesOnly)
{
    add({entryOf("quiet", 1, 1, 100), entryOf("of an administrator", 9, 0, 100)}, twoOfEach);
    for (const char* action : {"a", "b", "c", "d"}) {
        add({entryOf(action, 2, 2, 100)}, twoOfEach);
    }
    EXPECT_THAT(actions({}), ElementsAre("d", "c", "of an administrator", "quiet"));
}

TEST_P(StoreAudit, FailedLoginsRemoveNoChanges)
{
    add({entryOf("change", 1, 1, 100), entryOf("of an administrator", 9, 0, 100)}, twoOfEach);
    for (const char* action : {"a", "b", "c"}) {
        add({failedLogin(action, 1, 1), failedLogin(action, 9, 0), failedLogin("unknown", 0, 0)},
            twoOfEach);
    }
    EXPECT_THAT(actions({.farm = 1}), ElementsAre("c", "b", "change"));
    EXPECT_THAT(actions({.farm = 0}),
                ElementsAre("unknown", "c", "unknown", "b", "of an administrator"));
}

TEST_P(StoreAudit, CountsAShareOnAfterOldEntriesWereRemoved)
{
    add({entryOf("a", 1, 1, 100), entryOf("b", 1, 1, 200)}, twoOfEach);
    write([](Transaction& t) { store::pruneAudit(t, 200); });
    add({entryOf("c", 1, 1, 300)}, twoOfEach);
    EXPECT_THAT(actions({}), ElementsAre("c", "b"));
}

TEST_P(StoreAudit, ShrinksALargeShareByAHundredForEachEntry)
{
    add(std::vector<AuditEntry>(250, entryOf("old", 1, 1, 100)));
    add({entryOf("new", 1, 1, 200)}, twoOfEach);
    EXPECT_EQ(actions({.most = 1000}).size(), 151U);
    add({entryOf("new", 1, 1, 200), entryOf("newest", 1, 1, 200)}, twoOfEach);
    EXPECT_THAT(actions({.most = 1000}), ElementsAre("newest", "new"));
}

TEST_P(StoreAudit, ForgetsAPersonAndKeepsTheId)
{
    AuditEntry about = entryOf("user-rename", 2, 1, 100);
    about.objectKind = "user";
    about.object = 7;
    about.objectName = "olga";
    add({about, entryOf("login", 7, 1, 200)});
    write([](Transaction& t) { store::forgetInAudit(t, 7); });
    AuditPart part;
    part.most = 10;
    const auto entries = entriesOf(part);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].actor, 7);
    EXPECT_EQ(entries[0].actorName + entries[0].address + entries[1].objectName, "");
    EXPECT_EQ(entries[1].actorName + entries[1].address, "name of 210.0.0.1");
}

TEST_P(StoreAudit, KeepsNoEntryOfAFailedChange)
{
    const auto fail = [](Transaction& t) {
        store::addAudit(t, entryOf("a", 1, 1, 100));
        throw std::runtime_error("the change failed");
    };
    EXPECT_THROW(write(fail), std::runtime_error);
    EXPECT_THAT(actions({}), ElementsAre());
}

INSTANTIATE_TEST_SUITE_P(Databases, StoreAudit, testing::ValuesIn(databaseKinds()), nameOf);

} // namespace
} // namespace kelvo::test
