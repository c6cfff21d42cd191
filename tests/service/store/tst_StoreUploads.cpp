// Unfinished uploads, and the results of finished uploads.
#include "service/store/Errors.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/UploadTable.h"
#include "tests/service/store/StoreContract.h"

#include <gmock/gmock.h>

#include <array>

namespace kelvo::test {
namespace {

using store::Transaction;
using store::Upload;

Upload makeUpload(const store::User& user, const std::string& id, const std::string& key)
{
    Upload upload;
    upload.id = id;
    upload.farm = user.farmId();
    upload.user = user.id;
    upload.key = key;
    upload.name = "field.zip";
    upload.targets = {8, 9};
    upload.lengthBytes = 5000000000;
    upload.createdMs = 1;
    upload.expiresMs = 100;
    return upload;
}

void add(store::Database& database, const Upload& upload)
{
    database.writeNow([&upload](Transaction& t) { store::addUpload(t, upload); });
}

std::optional<Upload> find(store::Database& database, const std::string& id)
{
    return database.readNow([&id](soci::session& sql) { return store::uploadById(sql, id); });
}

std::optional<Upload> findByKey(store::Database& database, store::Id user, const std::string& key)
{
    return database.readNow([&](soci::session& sql) { return store::uploadByKey(sql, user, key); });
}

TEST_P(StoreContract, ReturnsUploadsAsTheyWereAdded)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    add(*database, makeUpload(user, "u1", "nonce"));
    const auto found = findByKey(*database, user.id, "nonce");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->id, "u1");
    EXPECT_EQ(found->name, "field.zip");
    EXPECT_THAT(found->targets, testing::ElementsAre(8, 9));
    EXPECT_EQ(found->lengthBytes, 5000000000);
    EXPECT_EQ(found->expiresMs, 100);
    EXPECT_FALSE(found->finished);
}

TEST_P(StoreContract, SeparatesTheKeysOfDifferentUsers)
{
    const store::Farm farm = addFarm("Hill Farm");
    const store::User olga = addUser(farm, "olga");
    const store::User oscar = addUser(farm, "oscar");
    add(*database, makeUpload(olga, "u1", "nonce"));
    EXPECT_FALSE(findByKey(*database, oscar.id, "nonce"));
    add(*database, makeUpload(oscar, "u2", "nonce"));
    EXPECT_THROW(add(*database, makeUpload(olga, "u3", "nonce")), store::NotUnique);
}

TEST_P(StoreContract, AcceptsManyUploadsWithoutAKey)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    add(*database, makeUpload(user, "u1", ""));
    add(*database, makeUpload(user, "u2", ""));
    EXPECT_TRUE(find(*database, "u1"));
    EXPECT_TRUE(find(*database, "u2"));
}

TEST_P(StoreContract, KeepsTheResultWhenTheKeyIsForgotten)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    Upload upload = makeUpload(user, "u1", "nonce");
    add(*database, upload);
    upload.sha256 = "aa";
    upload.files = {10, 11};
    upload.warnings = {"one warning", "another"};
    write([&upload](Transaction& t) { store::finishUpload(t, upload); });
    const auto found = find(*database, "u1");
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->finished);
    EXPECT_EQ(found->sha256, "aa");
    EXPECT_EQ(found->files, upload.files);
    EXPECT_EQ(found->warnings, upload.warnings);

    write([](Transaction& t) { store::forgetKey(t, "u1"); });
    EXPECT_FALSE(findByKey(*database, user.id, "nonce"));
    EXPECT_TRUE(find(*database, "u1"));
}

TEST_P(StoreContract, FindsExpiredUnfinishedUploads)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    Upload upload = makeUpload(user, "done", "");
    add(*database, upload);
    write([&upload](Transaction& t) { store::finishUpload(t, upload); });
    add(*database, makeUpload(user, "open", ""));
    const auto expired = [this](long long nowMs) {
        return read([nowMs](soci::session& sql) { return store::expiredUploads(sql, {nowMs}); });
    };
    EXPECT_THAT(expired(99), testing::IsEmpty());
    EXPECT_THAT(expired(100), testing::ElementsAre("open"));
}

TEST_P(StoreContract, RemovesOnlyExpiredUnfinishedUploads)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    Upload upload = makeUpload(user, "done", "nonce");
    add(*database, upload);
    add(*database, makeUpload(user, "open", ""));
    const auto removesExpired = [this](const char* id, long long nowMs) {
        return write([id, nowMs](Transaction& t) { return removeExpiredUpload(t, id, {nowMs}); });
    };
    const auto extends = [this](const char* id, long long expiresMs) {
        return write([=](Transaction& t) { return extendUpload(t, id, expiresMs); });
    };
    EXPECT_FALSE(removesExpired("open", 99));
    EXPECT_TRUE(extends("open", 200));
    EXPECT_FALSE(removesExpired("open", 150)) << "its expiry was extended";
    EXPECT_TRUE(removesExpired("open", 200));
    EXPECT_FALSE(removesExpired("open", 200)) << "it was removed before";
    EXPECT_FALSE(extends("open", 300)) << "it was removed";

    write([&upload](Transaction& t) { store::finishUpload(t, upload); });
    EXPECT_FALSE(extends("done", 300));
    EXPECT_FALSE(removesExpired("done", 1000));
    EXPECT_FALSE(write([](Transaction& t) { return removeUnfinishedUpload(t, "done"); }));
    EXPECT_TRUE(findByKey(*database, user.id, "nonce")) << "a repeated request gets this result";
}

TEST_P(StoreContract, KeepsTheResultsOfKeyedUploadsWhileTheirFilesExist)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    const store::Id farm = user.farmId();
    const store::Inbox inbox =
        write([&user](Transaction& t) { return store::ensureInbox(t, user, 1, now); }).inbox;
    const store::File file = write([&](Transaction& t) {
        return store::addFile(t, farm, {0, inbox.id, "a", 1, "aa", now});
    });
    Upload keyed = makeUpload(user, "keyed", "nonce");
    Upload keyless = makeUpload(user, "keyless", "");
    keyed.files = keyless.files = {file.id};
    write([&](Transaction& t) {
        for (const Upload& upload : {keyed, keyless}) {
            store::addUpload(t, upload);
            store::finishUpload(t, upload);
        }
        store::forgetOldResults(t, {1000});
    });
    EXPECT_TRUE(find(*database, "keyed"));
    EXPECT_FALSE(find(*database, "keyless"));
    write([&](Transaction& t) {
        store::moveToBin(t, farm, file.id, "olga", now);
        store::purgeFile(t, farm, file.id);
    });
    EXPECT_FALSE(find(*database, "keyed"));
}

TEST_P(StoreContract, RemovesTheResultsOfUploadsWithTheirFilesOnly)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    const store::Id farm = user.farmId();
    const store::Inbox inbox =
        write([&user](Transaction& t) { return store::ensureInbox(t, user, 1, now); }).inbox;
    std::vector<store::Id> files;
    write([&](Transaction& t) {
        for (const char* id : {"deleted", "kept", "purged", "open"}) {
            store::addUpload(t, makeUpload(user, id, id));
            files.push_back(store::addFile(t, farm, {0, inbox.id, id, 1, "aa", now}).id);
        }
        for (const int done : {0, 1, 2}) {
            Upload upload = makeUpload(user, std::array{"deleted", "kept", "purged"}.at(done), "");
            upload.files = {files.at(done), files.at(3)};
            store::finishUpload(t, upload);
        }
        store::moveToBin(t, farm, files[0], "olga", 1000);
        store::moveToBin(t, farm, files[2], "olga", 2000);
        store::purgeFile(t, farm, files[2]);
    });
    EXPECT_TRUE(find(*database, "deleted"));
    EXPECT_FALSE(find(*database, "purged"));
    write([](Transaction& t) { store::emptyBin(t, 1001); });
    EXPECT_FALSE(find(*database, "deleted"));
    EXPECT_TRUE(find(*database, "kept"));
    EXPECT_TRUE(find(*database, "open"));
}

TEST(IdLists, ReadsAListOnlyIfEveryItemIsAnId)
{
    EXPECT_EQ(store::splitIds("10, 11"), (std::vector<store::Id>{10, 11}));
    EXPECT_EQ(store::joinIds({10, 11}), "10,11");
    for (const char* wrong : {"", ",", "10,", "a", "0", "-1", "10;11", "99999999999"}) {
        EXPECT_EQ(store::splitIds(wrong), std::nullopt) << wrong;
    }
}

} // namespace
} // namespace kelvo::test
