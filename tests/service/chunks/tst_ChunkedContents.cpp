// Chunks in an object store that fails on request.
#include "service/base/Digest.h"
#include "service/chunks/ChunkedContents.h"
#include "service/chunks/DigestState.h"
#include "service/objects/ObjectErrors.h"
#include "service/store/ChunkTable.h"
#include "service/store/FarmTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/UserTable.h"
#include "tests/service/support/ManualClock.h"
#include "tests/service/support/ObjectGateway.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <random>
#include <utility>

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

constexpr std::size_t chunkBytes = 4;
constexpr std::chrono::hours day{24};

class Chunks : public testing::Test
{
protected:
    static objects::RetryPolicy twoAttempts()
    {
        objects::RetryPolicy result;
        result.attempts = 2;
        result.sleep = [](std::chrono::milliseconds) {};
        return result;
    }

    std::unique_ptr<Receiver> receive(const std::string& text)
    {
        auto receiver = contents.receive("u1");
        receiver->append(text.data(), text.size());
        return receiver;
    }

    void commit(Receiver& receiver)
    {
        const auto adoption = receiver.adopt();
        database.writeNow([&adoption](store::Transaction& t) { adoption->join(t); });
        adoption->committed();
    }

    std::string store(const std::string& text)
    {
        const auto receiver = receive(text);
        std::string sha256 = receiver->finish();
        commit(*receiver);
        return sha256;
    }

    void addFile(const std::string& sha256)
    {
        database.writeNow([&sha256](store::Transaction& t) {
            const store::Farm farm = store::addFarm(t, "Hill Farm");
            const auto user = store::addUser(t, {farm, "olga", store::ERole::Operator, "hash", 0});
            const auto inbox = store::ensureInbox(t, user, 1, 0).inbox;
            store::addFile(t, farm.id, {0, inbox.id, "field.zip", 8, sha256, 0});
        });
    }

    std::string readAll(const std::string& sha256)
    {
        const auto reader = contents.open(sha256);
        std::string all(static_cast<std::size_t>(reader->sizeBytes()), ' ');
        for (std::size_t at = 0; at < all.size();) {
            at += reader->read(at, all.data() + at, all.size() - at);
        }
        return all;
    }

    std::size_t removeAfter(std::chrono::milliseconds time)
    {
        clock.Advance(time);
        return contents.removeDoomedObjects();
    }

    test::TempFolder folder;
    test::ManualClock clock;
    store::Database database{store::makeSqlite(folder.Path("kelvo.sqlite"))};
    test::ObjectGateway gateway;
    objects::Bucket bucket{gateway.address(), test::ObjectGateway::credentials(), clock,
                           twoAttempts()};
    ChunkedContents contents{database, bucket, clock, chunkBytes};
};

TEST_F(Chunks, AreWholeExceptTheLast)
{
    store("0123456789");
    std::multiset<std::string> bytes;
    for (const auto& [key, object] : gateway.objects()) {
        bytes.insert(object);
        EXPECT_THAT(key, testing::MatchesRegex("chunks/[0-9a-f]+"));
    }
    EXPECT_THAT(bytes, testing::ElementsAre("0123", "4567", "89"));
}

TEST_F(Chunks, AreFetchedOnlyWhereTheyAreRead)
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

TEST_F(Chunks, AreNotReadIfTheyAreDamagedOrMissing)
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

TEST_F(Chunks, StayInMemoryWhileTheObjectStoreFails)
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

TEST_F(Chunks, OfAReplacedReceiverAreNotKept)
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

TEST_F(Chunks, OfAReplacedReceiverDoNotBecomeAContent)
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

TEST_F(Chunks, OfARemovedUploadCannotBeContinued)
{
    const auto receiver = receive("01");
    receiver->flush();
    contents.removeUpload("u1");
    receiver->append("23", 2);
    EXPECT_THROW(receiver->flush(), Superseded);
}

TEST_F(Chunks, ThatNothingUsesAreRemovedAfterADay)
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

TEST_F(Chunks, OfAnEqualContentAreRemoved)
{
    const std::string sha256 = store("0123");
    EXPECT_EQ(store("0123"), sha256);
    EXPECT_EQ(removeAfter(2 * day), 1U);
    char byte = 0;
    EXPECT_EQ(contents.open(sha256)->read(0, &byte, 1), 1U);
}

TEST_F(Chunks, WithoutACommitAreRemoved)
{
    const auto receiver = receive("0123");
    gateway.failNext({EFault::DoneButCut, EFault::DoneButCut});
    EXPECT_THROW(receiver->flush(), objects::StoreUnavailable);
    EXPECT_THAT(gateway.objects(), SizeIs(1)) << "the object store has it";
    EXPECT_EQ(removeAfter(2 * day), 1U);
    EXPECT_THAT(gateway.objects(), IsEmpty());
}

TEST_F(Chunks, ThatAreCondemnedAreNotAddedAnyMore)
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

TEST_F(Chunks, AreRemovedLaterIfTheObjectStoreFails)
{
    contents.remove(store("01234567"));
    gateway.failNext({EFault::None, EFault::Busy, EFault::Busy});
    EXPECT_THROW(removeAfter(2 * day), objects::StoreUnavailable);
    EXPECT_THAT(gateway.objects(), SizeIs(1));
    EXPECT_EQ(contents.removeDoomedObjects(), 2U);
    EXPECT_THAT(gateway.objects(), IsEmpty());
    EXPECT_EQ(contents.removeDoomedObjects(), 0U);
}

TEST_F(Chunks, OfAContentWithAFileAreKept)
{
    const std::string sha256 = store("01234567");
    addFile(sha256);
    contents.remove(sha256);
    EXPECT_EQ(removeAfter(2 * day), 0U);
    EXPECT_TRUE(contents.open(sha256));
}

TEST_F(Chunks, ThatAreShortAreJoined)
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

TEST_F(Chunks, ThatWereJoinedAreContinued)
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

TEST_F(Chunks, AreNotJoinedToMoreThanAChunk)
{
    receive("012")->flush();
    receive("345")->flush();
    EXPECT_THAT(gateway.objects(), SizeIs(2));
    EXPECT_EQ(contents.keptBytes("u1"), 6U);
}

TEST_F(Chunks, ThatAreDamagedAreNotJoined)
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

/** One upload with random parts, receivers, failures and clean-ups. */
class RandomUpload
{
public:
    RandomUpload(ChunkedContents& contents, test::ObjectGateway& gateway, test::ManualClock& clock,
                 unsigned seed)
        : contents_(contents),
          gateway_(gateway),
          clock_(clock),
          random_(seed),
          id_("random-" + std::to_string(seed)),
          text_(pick(300), ' ')
    {
        std::generate(text_.begin(), text_.end(), [this] { return static_cast<char>(pick(256)); });
        receiver_ = contents_.receive(id_);
    }

    const std::string& text() const { return text_; }

    void step()
    {
        try {
            act(pick(10));
        } catch (const objects::StoreUnavailable&) {
            // The next steps go on with what was kept.
        }
    }

    /** Sends the rest. */
    std::unique_ptr<Receiver> finish()
    {
        gateway_.failNext({});
        append(text_.size());
        return std::move(receiver_);
    }

private:
    std::size_t pick(std::size_t end) { return random_() % end; }

    void append(std::size_t most)
    {
        const auto at = static_cast<std::size_t>(receiver_->offset());
        receiver_->append(text_.data() + at, std::min(most, text_.size() - at));
    }

    void act(std::size_t choice)
    {
        if (choice < 4) {
            append(pick(6));
        } else if (choice < 6) {
            receiver_->flush();
            acknowledged_ = receiver_->offset();
        } else if (choice < 7) {
            replaced_ = std::exchange(receiver_, contents_.receive(id_));
            EXPECT_GE(receiver_->offset(), acknowledged_);
        } else if (choice < 8 && replaced_) {
            const auto write = [this] {
                replaced_->append("wrong", 1);
                replaced_->flush();
            };
            EXPECT_THROW(write(), std::runtime_error);
        } else if (choice < 9) {
            constexpr std::array faults{EFault::None, EFault::Busy, EFault::DoneButBusy,
                                        EFault::DoneButCut, EFault::OtherBytes};
            std::vector<EFault> next(pick(5));
            std::generate(next.begin(), next.end(), [&] { return faults.at(pick(5)); });
            gateway_.failNext(next);
        } else {
            clock_.Advance(day);
            contents_.removeDoomedObjects();
        }
    }

    ChunkedContents& contents_;
    test::ObjectGateway& gateway_;
    test::ManualClock& clock_;
    std::mt19937 random_;
    std::string id_;
    std::string text_;
    std::unique_ptr<Receiver> receiver_;
    std::unique_ptr<Receiver> replaced_;
    std::uint64_t acknowledged_ = 0;
};

TEST_F(Chunks, KeepAcknowledgedBytesInRandomUploads)
{
    ChunkedContents larger(database, bucket, clock, 16);
    std::size_t storedBytes = 0;
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        RandomUpload upload(larger, gateway, clock, seed);
        for (int step = 0; step < 80; ++step) {
            upload.step();
        }
        const auto receiver = upload.finish();
        const std::string sha256 = receiver->finish();
        ASSERT_EQ(sha256, sha256Hex(upload.text()));
        commit(*receiver);
        EXPECT_EQ(readAll(sha256), upload.text());
        storedBytes += upload.text().size();
    }
    removeAfter(2 * day);
    std::size_t objectBytes = 0;
    for (const auto& [key, bytes] : gateway.objects()) {
        objectBytes += bytes.size();
    }
    EXPECT_EQ(objectBytes, storedBytes) << "objects are left or missing";
}

TEST(ASavedDigest, GoesOnAtEveryByte)
{
    const std::string text(130, 'x'); // more than two blocks
    for (std::size_t at = 0; at <= text.size(); ++at) {
        DigestState first;
        first.add(text.data(), at);
        DigestState second(first.save());
        second.add(text.data() + at, text.size() - at);
        EXPECT_EQ(second.sha256(), sha256Hex(text)) << at;
        EXPECT_EQ(first.sha256(), sha256Hex(text.substr(0, at))) << "save() changed the digest";
    }
    EXPECT_EQ(DigestState("").sha256(), sha256Hex(""));
    EXPECT_THROW(DigestState("00"), std::invalid_argument);
    EXPECT_THROW(DigestState(std::string(208, 'z')), std::invalid_argument);
}

} // namespace
} // namespace kelvo::chunks
