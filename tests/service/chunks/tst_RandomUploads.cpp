// Uploads with random parts, receivers, failures and clean-ups.
#include "service/base/Digest.h"
#include "service/objects/ObjectErrors.h"
#include "tests/service/chunks/ChunksFixture.h"

#include <algorithm>
#include <array>
#include <random>
#include <utility>

namespace kelvo::chunks {
namespace {

using content::Receiver;
using test::EFault;

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

} // namespace
} // namespace kelvo::chunks
