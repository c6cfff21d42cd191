#include "tools/herd/Schedule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace herd;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds hour{3'600'000};

std::vector<PlannedAction> actionsOf(Schedule schedule)
{
    std::vector<PlannedAction> all;
    while (const auto action = schedule.next()) {
        all.push_back(*action);
    }
    return all;
}

std::vector<PlannedAction> anHour(std::uint64_t seed, std::uint32_t console, const Rates& rates)
{
    return actionsOf(Schedule(seed, console, rates, milliseconds(0), hour));
}

std::vector<PlannedAction> only(EAction action, const std::vector<PlannedAction>& all)
{
    std::vector<PlannedAction> some;
    std::copy_if(all.begin(), all.end(), std::back_inserter(some),
                 [action](const PlannedAction& planned) { return planned.action == action; });
    return some;
}

} // namespace

TEST(Schedule, IsTheSameForTheSameSeed)
{
    EXPECT_EQ(anHour(7, 3, defaultRates()), anHour(7, 3, defaultRates()));
    EXPECT_FALSE(anHour(7, 3, defaultRates()).empty());
}

TEST(Schedule, DiffersForAnotherSeedOrConsole)
{
    EXPECT_NE(anHour(7, 3, defaultRates()), anHour(8, 3, defaultRates()));
    EXPECT_NE(anHour(7, 3, defaultRates()), anHour(7, 4, defaultRates()));
}

TEST(Schedule, ComesInTheOrderOfTimeAndEndsInTime)
{
    const milliseconds begin{1000};
    const auto all = actionsOf(Schedule(1, 1, defaultRates(), begin, hour));
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(),
                               [](const auto& a, const auto& b) { return a.at < b.at; }));
    EXPECT_GE(all.front().at, begin);
    EXPECT_LT(all.back().at, hour);
}

TEST(Schedule, SendsAPositionEachMinute)
{
    const auto positions = only(EAction::Position, anHour(1, 1, defaultRates()));
    ASSERT_EQ(positions.size(), 60U);
    for (std::size_t i = 1; i < positions.size(); ++i) {
        EXPECT_NEAR(static_cast<double>((positions[i].at - positions[i - 1].at).count()), 60'000,
                    1);
    }
}

TEST(Schedule, KeepsTheTimesOfAKindWhenTheRateOfAnotherKindChanges)
{
    Rates more = defaultRates();
    more[static_cast<std::size_t>(EAction::Download)] = 1000;
    EXPECT_EQ(only(EAction::Upload, anHour(1, 1, defaultRates())),
              only(EAction::Upload, anHour(1, 1, more)));
}

TEST(Schedule, HasTheRateOnAverage)
{
    std::size_t uploads = 0;
    for (std::uint32_t console = 0; console < 1000; ++console) {
        uploads += only(EAction::Upload, anHour(1, console, defaultRates())).size();
    }
    EXPECT_NEAR(static_cast<double>(uploads), 6000, 400); // five times the standard deviation
}

TEST(Schedule, LeavesOutKindsWithoutARate)
{
    EXPECT_TRUE(anHour(1, 1, Rates{}).empty());
}

TEST(Schedule, GivesEachRoleItsActions)
{
    const auto office = anHour(1, 1, ratesOf(ERole::Office, defaultRates(), false));
    EXPECT_EQ(only(EAction::Send, office), office);
    const Rates operators = ratesOf(ERole::Operator, defaultRates(), false);
    EXPECT_TRUE(only(EAction::Send, anHour(1, 1, operators)).empty());
    EXPECT_TRUE(only(EAction::LoseLink, anHour(1, 1, operators)).empty());
}
