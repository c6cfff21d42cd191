// Chunks in an object store that fails on request.
#include "service/base/Digest.h"
#include "service/objects/ObjectErrors.h"
#include "service/store/ChunkTable.h"
#include "tests/service/chunks/ChunksFixture.h"

#include <gmock/gmock.h>

namespace kelvo::chunks {
namespace {

using content::DamagedContent;
using content::Receiver;
using content::Superseded;
using test::EFault;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

TEST_F(Chunks, WritesWholeChunksExceptTheLast)
{
    store("0123456789");
    std::multiset<std::string> bytes;
    for (const auto& [key, object] : gateway.objects()) {
        bytes.insert(object);
        EXPECT_THAT(key, testing::MatchesRegex("chunks/[0-9a-f]+"));
    }
    EXPECT_THAT(bytes, testing::ElementsAre("0123", "4567", "89"));
}

TEST_F(Chunks, FetchesOnlyTheChunksThatAreRead)
{
    const std::string sha256 = store("0123456789");
    const std::size_t before = gateway.requests().size();
    const auto reader = contents.open(sha256);
    char byte = 0;
    reader->read(5, &byte, 1);
    reader->read(6, &byte, 1);
    EXPECT_EQ(byte, '6');
    EXPECT_EQ(gateway.requests().size() - before, 1U);
}

TEST_F(Chunks, RefusesDamagedAndMissingChunks)
{
    const std::string sha256 = store("0123");
    const auto [key, bytes] = *gateway.objects().begin();
    char byte = 0;
    gateway.replace(key, "012x");
    EXPECT_THROW(contents.open(sha256)->read(0, &byte, 1), DamagedContent);
    bucket.remove(key);
    EXPECT_THROW(contents.open(sha256)->read(0, &byte, 1), DamagedContent);
    gateway.replace(key, bytes);
    EXPECT_EQ(contents.open(sha256)->read(0, &byte, 1), 1U);
}

TEST_F(Chunks, KeepsChunksInMemoryWhileTheObjectStoreFails)
{
    const auto receiver = receive("012");
    gateway.failNext({EFault::Busy, EFault::Busy});
    EXPECT_THROW(receiver->flush(), objects::StoreUnavailable);
    EXPECT_EQ(contents.keptBytes("u1"), 0U);
    EXPECT_EQ(receiver->offset(), 3U);
    receiver->flush();
    EXPECT_EQ(contents.keptBytes("u1"), 3U);
    EXPECT_EQ(receiver->finish(), sha256Hex("012"));
}

TEST_F(Chunks, AReplacedReceiverKeepsNoChunks)
{
    const auto first = receive("01");
    first->flush();
    first->append("xx", 2);
    const auto second = contents.receive("u1");
    EXPECT_EQ(second->offset(), 2U);
    EXPECT_THROW(first->flush(), Superseded);
    second->append("23", 2);
    EXPECT_EQ(second->finish(), sha256Hex("0123"));
    EXPECT_EQ(contents.keptBytes("u1"), 4U);
}

TEST_F(Chunks, AReplacedReceiverMakesNoContent)
{
    const auto first = receive("01");
    first->finish();
    const auto second = contents.receive("u1");
    EXPECT_THROW(commit(*first), Superseded);
    EXPECT_FALSE(contents.open(sha256Hex("01")));
    EXPECT_EQ(second->finish(), sha256Hex("01"));
    commit(*second);
    EXPECT_TRUE(contents.open(sha256Hex("01")));
    EXPECT_THROW(commit(*second), Superseded) << "the upload is finished once";
}

TEST_F(Chunks, ARemovedUploadCannotBeContinued)
{
    const auto receiver = receive("01");
    receiver->flush();
    contents.removeUpload("u1");
    receiver->append("23", 2);
    EXPECT_THROW(receiver->flush(), Superseded);
}

TEST_F(Chunks, RemovesUnusedChunksAfterADay)
{
    receive("0123")->flush();
    contents.removeUpload("u1");
    contents.remove(store("4567"));
    const std::string kept = store("89ab");
    EXPECT_EQ(removeAfter(day), 0U);
    EXPECT_THAT(gateway.objects(), SizeIs(3));
    EXPECT_EQ(removeAfter(std::chrono::milliseconds(1)), 2U);
    EXPECT_THAT(gateway.objects(), SizeIs(1));
    char byte = 0;
    EXPECT_EQ(contents.open(kept)->read(0, &byte, 1), 1U);
}

TEST_F(Chunks, ReplacesTheChunksOfAnEqualContent)
{
    const std::string sha256 = store("0123456");
    gateway.replace(gateway.objects().begin()->first, "damaged");
    EXPECT_EQ(store("0123456"), sha256);
    EXPECT_EQ(readAll(sha256), "0123456");
    EXPECT_EQ(removeAfter(2 * day), 2U);
    EXPECT_EQ(readAll(sha256), "0123456");
}

TEST_F(Chunks, RemovesChunksWithoutACommit)
{
    const auto receiver = receive("0123");
    gateway.failNext({EFault::DoneButCut, EFault::DoneButCut});
    EXPECT_THROW(receiver->flush(), objects::StoreUnavailable);
    EXPECT_THAT(gateway.objects(), SizeIs(1)) << "the object store has it";
    EXPECT_EQ(removeAfter(2 * day), 1U);
    EXPECT_THAT(gateway.objects(), IsEmpty());
}

TEST_F(Chunks, AddsNoCondemnedChunks)
{
    const store::Chunk late{"chunks/late", 0, 4, sha256Hex("0123")};
    const bool added = database.writeNow([&late](store::Transaction& t) {
        const store::Received received = store::takeOver(t, "u1");
        store::announceObject(t, late.key, 0);
        store::condemnObjects(t, 1, 10);
        return store::addChunk(t, "u1", received, late, "", 0);
    });
    EXPECT_FALSE(added);
    EXPECT_EQ(contents.keptBytes("u1"), 0U);
}

TEST_F(Chunks, RemovesTheOtherChunksIfAChunkCannotBeRemoved)
{
    contents.remove(store("0123456789"));
    gateway.failNext({EFault::None, EFault::Busy, EFault::Busy});
    EXPECT_EQ(removeAfter(2 * day), 2U);
    EXPECT_THAT(gateway.objects(), SizeIs(1));
    EXPECT_EQ(contents.failedRemovals(), 1U);
    EXPECT_EQ(removeAfter(day), 0U) << "it is tried again after a day";
    EXPECT_EQ(removeAfter(std::chrono::milliseconds(1)), 1U);
    EXPECT_THAT(gateway.objects(), IsEmpty());
}

TEST_F(Chunks, RemovesChunksLaterIfTheObjectStoreIsDown)
{
    contents.remove(store("0123456789abcdefghij")); // five chunks, two attempts for each
    gateway.failNext({EFault::None, EFault::Busy, EFault::Busy, EFault::Busy, EFault::Busy,
                      EFault::Busy, EFault::Busy});
    EXPECT_THROW(removeAfter(2 * day), objects::StoreUnavailable);
    EXPECT_THAT(gateway.objects(), SizeIs(4));
    EXPECT_EQ(contents.removeDoomedObjects(), 1U) << "it was not tried";
    EXPECT_EQ(removeAfter(2 * day), 3U);
    EXPECT_THAT(gateway.objects(), IsEmpty());
}

TEST_F(Chunks, RemovesAChunkAfterTheNextStartIfTheStopInterruptsTheRemoval)
{
    contents.remove(store("01234567"));
    bucket.limitAttempts(1);
    gateway.failNext({EFault::None, EFault::Busy});
    EXPECT_THROW(removeAfter(2 * day), objects::StoreUnavailable);
    EXPECT_EQ(contents.failedRemovals(), 0U);
    EXPECT_THAT(gateway.objects(), SizeIs(1));
    bucket.limitAttempts(2);
    EXPECT_EQ(contents.removeDoomedObjects(), 1U);
    EXPECT_THAT(gateway.objects(), IsEmpty());
}

TEST_F(Chunks, KeepsTheChunksOfAContentWithAFile)
{
    const std::string sha256 = store("01234567");
    addFile(sha256);
    contents.remove(sha256);
    EXPECT_EQ(removeAfter(2 * day), 0U);
    EXPECT_TRUE(contents.open(sha256));
}

TEST_F(Chunks, JoinsShortChunks)
{
    ChunkedContents large(database, bucket, clock, 64);
    const std::string text = "0123456789abcdefghijklmnopqrstuv"; // 32 bytes
    for (const char& each : text) {
        const auto receiver = large.receive("u1");
        receiver->append(&each, 1);
        receiver->flush();
    }
    const auto receiver = large.receive("u1");
    const std::string sha256 = receiver->finish();
    EXPECT_EQ(sha256, sha256Hex(text));
    commit(*receiver);
    removeAfter(2 * day);
    EXPECT_THAT(gateway.objects(), ElementsAre(Pair(testing::_, text)));
    EXPECT_EQ(readAll(sha256), text);
}

TEST_F(Chunks, AnUploadContinuesAfterJoinedChunks)
{
    const auto receiver = receive("0");
    receiver->flush();
    receiver->append("1", 1);
    receiver->flush();
    EXPECT_EQ(receiver->offset(), 2U);
    receiver->append("2", 1);
    receiver->flush();
    EXPECT_EQ(contents.keptBytes("u1"), 3U);
    const std::string sha256 = receiver->finish();
    commit(*receiver);
    EXPECT_EQ(readAll(sha256), "012");
}

TEST_F(Chunks, JoinsChunksToAtMostTheSizeOfAChunk)
{
    receive("012")->flush();
    receive("345")->flush();
    EXPECT_THAT(gateway.objects(), SizeIs(2));
    EXPECT_EQ(contents.keptBytes("u1"), 6U);
}

TEST_F(Chunks, DoesNotJoinDamagedChunks)
{
    receive("0")->flush();
    gateway.replace(gateway.objects().begin()->first, "x");
    receive("1")->flush();
    const auto receiver = contents.receive("u1");
    const std::string sha256 = receiver->finish();
    EXPECT_EQ(sha256, sha256Hex("01"));
    commit(*receiver);
    EXPECT_THROW(readAll(sha256), DamagedContent);
}

} // namespace
} // namespace kelvo::chunks
