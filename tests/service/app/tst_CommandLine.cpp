// The command line.
#include "service/CommandLine.h"

#include <gtest/gtest.h>

namespace kelvo {
namespace {

CommandLine parse(std::vector<std::string> words)
{
    words.insert(words.begin(), "kelvo-service");
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    return parseCommandLine(static_cast<int>(pointers.size()), pointers.data());
}

TEST(ServeCommand, HasItsDefaults)
{
    const auto options = parse({"serve", "--data", "d", "--listen", "localhost:0"}).serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->dataFolder, "d");
    EXPECT_EQ(options->listen, "localhost:0");
    EXPECT_EQ(options->metricsListen, "127.0.0.1:0");
    EXPECT_EQ(options->passwordCost, accounts::EPasswordCost::Interactive);
    EXPECT_EQ(options->loginAttempts, 5);
    EXPECT_EQ(options->connections, 2000U);
    EXPECT_EQ(options->headSeconds, 15);
    EXPECT_EQ(options->idleSeconds, 75);
    EXPECT_EQ(options->stallSeconds, 60);
}

TEST(ServeCommand, TakesTheLimitsOfSlowPeers)
{
    const auto options =
        parse({"serve", "--data", "d", "--listen", "h:1", "--max-connections", "7",
               "--head-timeout", "1", "--idle-timeout", "2", "--stall-timeout", "3"})
            .serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->connections, 7U);
    EXPECT_EQ(options->headSeconds, 1);
    EXPECT_EQ(options->idleSeconds, 2);
    EXPECT_EQ(options->stallSeconds, 3);
    EXPECT_EQ(parse({"serve", "--data", "d", "--listen", "h:1", "--stall-timeout", "0"}).exitCode,
              2);
}

TEST(ServeCommand, TakesItsOptions)
{
    const auto options =
        parse({"serve", "--data", "d", "--listen", "h:1", "--name", "a", "--name", "b",
               "--password-cost", "min", "--event-retention", "72h", "--max-upload", "10"})
            .serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->names, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(options->passwordCost, accounts::EPasswordCost::Minimal);
    EXPECT_EQ(options->eventHours, 72);
    EXPECT_EQ(options->eventsKept, 0);
    EXPECT_EQ(options->maxUploadBytes, 10);
    EXPECT_EQ(parse({"serve", "--data", "d", "--listen", "h:1", "--event-retention", "7"})
                  .serve->eventsKept,
              7);
}

TEST(ServeCommand, RefusesWhatMakesNoSense)
{
    const std::vector<std::vector<std::string>> wrongs{
        {},
        {"serve"},
        {"serve", "--data", "d"},
        {"serve", "--data", "d", "--listen", "h:1", "--password-cost", "cheap"},
        {"serve", "--data", "d", "--listen", "h:1", "--event-retention", "soon"},
        {"serve", "--data", "d", "--listen", "h:1", "--cert", "c"},
        {"serve", "--data", "d", "--listen", "h:1", "--max-upload", "0"},
    };
    for (const auto& words : wrongs) {
        const CommandLine result = parse(words);
        EXPECT_FALSE(result.serve);
        EXPECT_EQ(result.exitCode, 2);
    }
}

TEST(ServeCommand, HelpIsNoFailure)
{
    EXPECT_EQ(parse({"--help"}).exitCode, 0);
    EXPECT_EQ(parse({"serve", "--help"}).exitCode, 0);
}

} // namespace
} // namespace kelvo
