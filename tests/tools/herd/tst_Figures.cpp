#include "tools/herd/Figures.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

using namespace herd;
using namespace std::chrono_literals;

TEST(Histogram, GivesPercentilesWithinAThirtySecondPart)
{
    Histogram histogram;
    for (int us = 1; us <= 100'000; ++us) {
        histogram.add(std::chrono::microseconds(us));
    }
    for (const double share : {0.001, 0.5, 0.95, 0.99}) {
        const double exact = share * 100'000;
        const auto given = static_cast<double>(histogram.percentile(share).count());
        EXPECT_GE(given, exact) << share;
        EXPECT_LE(given, exact * (1 + 1.0 / 32) + 1) << share;
    }
    EXPECT_EQ(histogram.most(), 100'000us);
    EXPECT_EQ(histogram.percentile(1), 100'000us);
    EXPECT_EQ(histogram.count(), 100'000U);
}

TEST(Histogram, IsExactBelow64Microseconds)
{
    Histogram histogram;
    for (int us = 0; us < 64; ++us) {
        histogram.add(std::chrono::microseconds(us));
    }
    EXPECT_EQ(histogram.percentile(0.5), 31us);
    EXPECT_EQ(histogram.percentile(1.0 / 64), 0us);
}

TEST(Histogram, TakesTheShortestAndTheLongestDurations)
{
    Histogram histogram;
    histogram.add(-5us);
    EXPECT_EQ(histogram.percentile(1), 0us);
    histogram.add(std::chrono::hours(24 * 365));
    EXPECT_EQ(histogram.percentile(1), std::chrono::hours(24 * 365));
    EXPECT_EQ(Histogram().percentile(0.5), 0us);
}

TEST(Figures, CountsFailuresByKindAndReason)
{
    Figures figures;
    figures.succeed(EKind::Upload, 5ms);
    figures.fail(EKind::Upload, "HTTP 503");
    figures.fail(EKind::Upload, "HTTP 503");
    figures.fail(EKind::Login, "Connection refused");
    const auto json = figures.toJson();
    EXPECT_EQ(json["upload"]["count"], 1);
    EXPECT_EQ(json["upload"]["max_ms"], 5.0);
    EXPECT_EQ(json["upload"]["failures"], (nlohmann::json{{"HTTP 503", 2}}));
    EXPECT_EQ(json["login"]["count"], 0);
    EXPECT_EQ(figures.failures(), 3U);
    EXPECT_EQ(figures.failuresOf(EKind::Upload), 2U);
}

TEST(Figures, PrintsOnlyWhatHappened)
{
    Figures figures;
    figures.succeed(EKind::Position, 1500us);
    figures.fail(EKind::Position, "HTTP 429");
    std::ostringstream out;
    figures.print(out);
    EXPECT_NE(out.str().find("position"), std::string::npos);
    EXPECT_NE(out.str().find("1.5"), std::string::npos);
    EXPECT_NE(out.str().find("failed: position: HTTP 429: 1"), std::string::npos);
    EXPECT_EQ(out.str().find("upload"), std::string::npos);
}
