// Quotas, and the storage that farms and users use.
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/QuotaTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UploadTable.h"
#include "tests/service/store/StoreContract.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

namespace kelvo::test {
namespace {

using store::Transaction;
using store::Usage;
using testing::ElementsAre;

class StoreQuotas : public StoreContract
{
protected:
    StoreQuotas()
    {
        farm = addFarm("Hill Farm");
        olga = addUser(farm, "olga");
        piet = addUser(farm, "piet");
        write([this](Transaction& t) {
            inboxOfOlga = store::ensureInbox(t, olga, 1, now).inbox.id;
            inboxOfPiet = store::ensureInbox(t, piet, 1, now).inbox.id;
        });
    }

    store::File addFile(store::Id inbox, long long bytes)
    {
        return write([this, inbox, bytes](Transaction& t) {
            return store::addFile(t, farm.id, {0, inbox, "a", bytes, std::string(64, 'a'), now});
        });
    }

    void bin(const store::File& file, long long atMs)
    {
        write([this, &file, atMs](Transaction& t) {
            store::moveToBin(t, farm.id, file.id, "olga", atMs);
        });
    }

    Usage ofFarm()
    {
        return read([this](soci::session& sql) { return store::usageOfFarm(sql, farm.id); });
    }

    Usage of(const store::User& user)
    {
        return read([this, &user](soci::session& sql) {
            return store::usageOfUser(sql, farm.id, user.id);
        });
    }

    store::Farm farm;
    store::User olga;
    store::User piet;
    store::Id inboxOfOlga = 0;
    store::Id inboxOfPiet = 0;
};

TEST_P(StoreQuotas, CountsFilesForTheFarmAndTheOwnerUntilTheyLeaveTheBin)
{
    const store::File file = addFile(inboxOfOlga, 100);
    addFile(inboxOfOlga, 10);
    const store::File other = addFile(inboxOfPiet, 1);
    bin(file, now);
    EXPECT_EQ(ofFarm().bytes, 111);
    EXPECT_EQ(ofFarm().files, 3);
    EXPECT_EQ(ofFarm().binBytes, 100);
    EXPECT_EQ(of(olga).bytes, 110);
    EXPECT_EQ(of(olga).binFiles, 1);
    EXPECT_EQ(of(piet).files, 1);
    bin(other, now + 1000);
    write([](Transaction& t) { store::emptyBin(t, now + 1); });
    EXPECT_EQ(ofFarm().bytes, 11);
    EXPECT_EQ(of(olga).files, 1);
    EXPECT_EQ(of(piet).files, 1);
}

TEST_P(StoreQuotas, PurgesOneFileOrTheWholeBinOfAFarm)
{
    const store::File first = addFile(inboxOfOlga, 100);
    const store::File second = addFile(inboxOfOlga, 10);
    const store::File kept = addFile(inboxOfOlga, 1);
    const auto purgeFirst = [&] {
        return write([&](Transaction& t) { return store::purgeFile(t, farm.id, first.id); });
    };
    const auto purgeBin = [this](long long before) {
        return write([&](Transaction& t) { return store::purgeBin(t, farm.id, before); });
    };
    EXPECT_TRUE(purgeFirst().empty());
    bin(first, now);
    bin(second, now);
    EXPECT_THAT(purgeFirst(), ElementsAre(std::string(64, 'a')));
    EXPECT_EQ(of(olga).bytes, 11);
    EXPECT_TRUE(purgeBin(now).empty()) << "a file that came into the bin later";
    EXPECT_THAT(purgeBin(now + 1), ElementsAre(std::string(64, 'a')));
    EXPECT_EQ(ofFarm().files, 1);
    EXPECT_TRUE(
        read([this, &kept](soci::session& sql) { return store::fileById(sql, farm.id, kept.id); }));
}

TEST_P(StoreQuotas, CountsAnUploadInProgressOnceForEachTarget)
{
    store::Upload upload;
    upload.id = "u";
    upload.farm = farm.id;
    upload.user = olga.id;
    upload.name = "a";
    upload.targets = {inboxOfOlga, inboxOfPiet};
    upload.lengthBytes = 50;
    write([&upload](Transaction& t) { store::addUpload(t, upload); });
    EXPECT_EQ(ofFarm().uploads, 1);
    EXPECT_EQ(ofFarm().uploadFiles, 2);
    EXPECT_EQ(of(olga).uploadBytes, 100);
    EXPECT_EQ(of(piet).uploads, 0);
    read([](soci::session& sql) {
        const store::Limits limits{.bytes = 111, .files = 100};
        store::eachLargestFarm(sql, limits, 1, [](const store::FarmUsage& usage) {
            EXPECT_EQ(usage.bytes, 100);
            EXPECT_EQ(usage.files, 2);
        });
        EXPECT_EQ(store::countNearlyFull(sql, limits), 1);
        return 0;
    });
    write([&upload](Transaction& t) { store::finishUpload(t, upload); });
    EXPECT_EQ(ofFarm().uploads, 0);
}

TEST_P(StoreQuotas, TakesTheDefaultForALimitThatIsNotSet)
{
    const auto quotas = [this] {
        return read([this](soci::session& sql) {
            return store::quotasOf(sql, farm.id, store::defaultQuotas);
        });
    };
    const auto set = [this](std::optional<long long> value) {
        write([this, value](Transaction& t) {
            store::setQuota(t, farm.id, store::EQuotaScope::User, "bytes", value);
        });
    };
    set(1);
    set(2);
    EXPECT_EQ(quotas().user.bytes, 2);
    EXPECT_EQ(quotas().farm.bytes, store::defaultQuotas.farm.bytes);
    set({});
    EXPECT_EQ(quotas().user.bytes, store::defaultQuotas.user.bytes);
}

TEST_P(StoreQuotas, EndsTheOldestSessionsOfAUser)
{
    write([this](Transaction& t) {
        for (int i = 1; i <= 3; ++i) {
            store::addSession(t, "olga" + std::to_string(i), olga.id, now + i, now + 1000);
        }
        store::addSession(t, "piet", piet.id, now, now + 1000);
    });
    const auto ended =
        write([this](Transaction& t) { return store::endOldestSessions(t, olga.id, 1); });
    EXPECT_THAT(ended, testing::UnorderedElementsAre("olga1", "olga2"));
    EXPECT_EQ(of(olga).sessions, 1);
    EXPECT_EQ(ofFarm().sessions, 2);
}

INSTANTIATE_TEST_SUITE_P(Databases, StoreQuotas, testing::ValuesIn(databaseKinds()), nameOf);

} // namespace
} // namespace kelvo::test
