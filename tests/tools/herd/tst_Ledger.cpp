#include "tools/herd/Ledger.h"

#include <gtest/gtest.h>

using namespace herd;
using namespace std::chrono_literals;

namespace {

class LedgerTest : public testing::Test
{
protected:
    static Sha256::Digest digestOf(std::string_view text)
    {
        Sha256 hash;
        hash.update(text);
        return hash.finish();
    }

    void acknowledge(std::int32_t id, std::string_view content)
    {
        ledger.acknowledge({id, 10, digestOf(content)}, acknowledged);
    }

    static ListedFile listed(std::int32_t id, const std::string& name, std::string_view content)
    {
        return {id, 10, name, toHex(digestOf(content))};
    }

    const Clock::time_point acknowledged{1h};
    Figures figures;
    Invariants invariants;
    Ledger ledger{figures, invariants};
};

} // namespace

TEST_F(LedgerTest, HoldsIfEachFileIsListedWithItsDigest)
{
    acknowledge(1, "a");
    acknowledge(2, "b");
    ledger.check({listed(1, "run-1", "a"), listed(2, "run-2", "b"), listed(3, "other", "c")},
                 "run-");
    EXPECT_EQ(invariants.broken(), 0U);
}

TEST_F(LedgerTest, FindsALostFile)
{
    acknowledge(1, "a");
    ledger.check({listed(2, "run-2", "a")}, "run-");
    EXPECT_EQ(invariants.brokenOf(EInvariant::Stored), 1U);
}

TEST_F(LedgerTest, FindsAnotherDigest)
{
    acknowledge(1, "a");
    ledger.check({listed(1, "run-1", "b")}, "run-");
    EXPECT_EQ(invariants.brokenOf(EInvariant::Stored), 1U);
}

TEST_F(LedgerTest, FindsAFileInAnotherInbox)
{
    acknowledge(1, "a");
    ListedFile file = listed(1, "run-1", "a");
    file.inbox = 11;
    ledger.check({file}, "run-");
    EXPECT_EQ(invariants.brokenOf(EInvariant::Stored), 1U);
}

TEST_F(LedgerTest, FindsADoubledUploadThatWasNotAcknowledged)
{
    ledger.check({listed(1, "run-1", "a"), listed(2, "run-1", "a")}, "run-");
    EXPECT_EQ(invariants.brokenOf(EInvariant::StoredOnce), 1U);
}

TEST_F(LedgerTest, AllowsTheSameNameInSeveralInboxesAndInFilesOfOthers)
{
    ListedFile second = listed(2, "run-1", "a");
    second.inbox = 11;
    ledger.check({listed(1, "run-1", "a"), second, listed(3, "x", "a"), listed(4, "x", "a")},
                 "run-");
    EXPECT_EQ(invariants.broken(), 0U);
}

TEST_F(LedgerTest, MeasuresFromTheAnswerToTheEvent)
{
    acknowledge(1, "a");
    ledger.see(1, acknowledged - 1s, acknowledged + 20ms);
    ledger.see(1, acknowledged - 1s, acknowledged + 30ms);
    EXPECT_EQ(figures.of(EKind::Event).count(), 2U);
    EXPECT_EQ(figures.of(EKind::Event).most(), 30ms);
}

TEST_F(LedgerTest, CountsAnEventBeforeTheAnswerAsNoTime)
{
    ledger.see(1, acknowledged - 1s, acknowledged - 5ms);
    EXPECT_EQ(figures.of(EKind::Event).count(), 0U);
    acknowledge(1, "a");
    EXPECT_EQ(figures.of(EKind::Event).count(), 1U);
    EXPECT_EQ(figures.of(EKind::Event).most(), 0ms);
}

TEST_F(LedgerTest, KeepsEventsApartThatWaitedForAStream)
{
    acknowledge(1, "a");
    ledger.see(1, acknowledged + 5s, acknowledged + 6s);
    EXPECT_EQ(figures.of(EKind::Event).count(), 0U);
    EXPECT_EQ(figures.of(EKind::ResumedEvent).most(), 6s);
}
