#include "service/CommandLine.h"
#include "tests/support/TempFolder.h"
#include "tests/support/Variable.h"

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

TEST(ServeCommand, HasDefaults)
{
    const auto options = parse({"serve", "--data", "d", "--listen", "localhost:0"}).serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->dataFolder, "d");
    EXPECT_EQ(options->listen, "localhost:0");
    EXPECT_EQ(options->metricsListen, "127.0.0.1:9443");
    EXPECT_EQ(options->passwordCost, accounts::EPasswordCost::Interactive);
    EXPECT_EQ(options->loginAttempts, 5);
    EXPECT_EQ(options->connections, 2000U);
    EXPECT_EQ(options->connectionsPerAddress, 1000U);
    EXPECT_FALSE(options->proxyProtocol);
    EXPECT_EQ(options->headSeconds, 60);
    EXPECT_EQ(options->idleSeconds, 75);
    EXPECT_EQ(options->stallSeconds, 60);
    EXPECT_EQ(options->unknownDays, 7);
}

TEST(ServeCommand, ReadsThePlaceOfTheContents)
{
    const auto contentsOf = [](const std::string& text) {
        return parse({"serve", "--data", "d", "--listen", "h:1", "--contents", text});
    };
    const auto bucket = contentsOf("s3://farm?endpoint=https://objects.example").serve;
    ASSERT_TRUE(bucket);
    EXPECT_EQ(bucket->contents.bucket->bucket, "farm");
    EXPECT_EQ(contentsOf("file:/srv").serve->contents.folder, "/srv");
    EXPECT_EQ(contentsOf("s3://farm?endpoint=http://objects.example").exitCode, 2);
    EXPECT_EQ(contentsOf("/srv").exitCode, 2);
    EXPECT_EQ(parse({"verify", "--data", "d", "--contents", "x"}).exitCode, 2);
}

TEST(ServeCommand, ReadsTheTimeoutsOfSlowPeers)
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

TEST(ServeCommand, ReadsItsOptions)
{
    const auto options = parse({"serve",  "--data",          "d",       "--listen",
                                "h:1",    "--name",          "a",       "--name",
                                "b",      "--password-cost", "min",     "--event-retention",
                                "72h",    "--max-upload",    "10",      "--keep-unknown-days",
                                "0",      "--answer-bytes",  "2000000", "--transfer-bytes",
                                "3000000"})
                             .serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->answerBytes, 2000000U);
    EXPECT_EQ(options->transferBytes, 3000000U);
    EXPECT_EQ(options->unknownDays, 0);
    EXPECT_EQ(options->names, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(options->passwordCost, accounts::EPasswordCost::Minimal);
    EXPECT_EQ(options->eventHours, 72);
    EXPECT_EQ(options->eventsKept, 1000000);
    EXPECT_EQ(options->maxUploadBytes, 10);
    EXPECT_EQ(parse({"serve", "--data", "d", "--listen", "h:1", "--event-retention", "7"})
                  .serve->eventsKept,
              7);
}

TEST(ServeCommand, ReadsTheProxiesAndTheLimitOfAnAddress)
{
    const auto options =
        parse({"serve", "--data", "d", "--listen", "h:1", "--trusted-proxy", "10.0.0.0/8",
               "--trusted-proxy", "::1", "--proxy-protocol", "--max-connections-per-address", "9"})
            .serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->trustedProxies, (std::vector<std::string>{"10.0.0.0/8", "::1"}));
    EXPECT_TRUE(options->proxyProtocol);
    EXPECT_EQ(options->connectionsPerAddress, 9U);
    EXPECT_EQ(parse({"serve", "--data", "d", "--listen", "h:1", "--proxy-protocol"}).exitCode, 2);
    EXPECT_EQ(parse({"serve", "--data", "d", "--listen", "h:1", "--trusted-proxy", "a.b"}).exitCode,
              2);
}

TEST(ServeCommand, RefusesWrongOptions)
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

/** A file of options, which is removed with this object. */
class ConfigFile
{
public:
    explicit ConfigFile(const std::string& text) : path_(folder_.Write("config.toml", text)) {}

    const std::string& path() const { return path_; }

private:
    test::TempFolder folder_;
    std::string path_;
};

TEST(ServeCommand, ReadsItsOptionsFromAFile)
{
    const ConfigFile file("# the farm's\n[serve]\ndata = \"/d\"\nlisten = \"h:1\"\n"
                          "name = [\"a\", \"b\"]\nevent-retention = \"72h\"\nmax-upload = 10\n");
    const auto options = parse({"--config", file.path(), "serve"}).serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->dataFolder, "/d");
    EXPECT_EQ(options->listen, "h:1");
    EXPECT_EQ(options->names, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(options->eventHours, 72);
    EXPECT_EQ(options->maxUploadBytes, 10);
}

TEST(ServeCommand, ReadsItsOptionsFromTheEnvironment)
{
    const test::Variable data("KELVO_SERVICE_DATA", "/d");
    const test::Variable listen("KELVO_SERVICE_LISTEN", "h:1");
    const test::Variable upload("KELVO_SERVICE_MAX_UPLOAD", "10");
    const auto options = parse({"serve"}).serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->dataFolder, "/d");
    EXPECT_EQ(options->listen, "h:1");
    EXPECT_EQ(options->maxUploadBytes, 10);
}

TEST(ServeCommand, PrefersTheCommandLineThenTheFileThenTheEnvironment)
{
    const ConfigFile file("[serve]\ndata = \"file\"\nlisten = \"file:1\"\n");
    const test::Variable data("KELVO_SERVICE_DATA", "environment");
    const test::Variable listen("KELVO_SERVICE_LISTEN", "environment:1");
    const test::Variable upload("KELVO_SERVICE_MAX_UPLOAD", "10");
    const auto options = parse({"--config", file.path(), "serve", "--data", "line"}).serve;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->dataFolder, "line");
    EXPECT_EQ(options->listen, "file:1");
    EXPECT_EQ(options->maxUploadBytes, 10);
}

TEST(ServeCommand, RefusesAFileWithWrongOptions)
{
    for (const char* line : {"lissten = \"h:2\"", "max-upload = 0", "max-upload = \"much\"",
                             "cert = \"c\"", "event-retention = \"soon\""}) {
        const ConfigFile file(std::string("[serve]\ndata = \"d\"\nlisten = \"h:1\"\n") + line);
        const CommandLine result = parse({"--config", file.path(), "serve"});
        EXPECT_FALSE(result.serve) << line;
        EXPECT_EQ(result.exitCode, 2) << line;
    }
    EXPECT_EQ(
        parse({"--config", "/nowhere/at/all", "serve", "--data", "d", "--listen", "h:1"}).exitCode,
        2);
}

TEST(ServeCommand, HelpReturnsExitCode0)
{
    EXPECT_EQ(parse({"--help"}).exitCode, 0);
    EXPECT_EQ(parse({"serve", "--help"}).exitCode, 0);
}

constexpr const char* serverUrl = "postgresql://kelvo@db/kelvo";
constexpr const char* bucketUrl = "s3://farm?endpoint=https://objects.example";

TEST(VerifyCommand, NeedsAFolderOrADatabaseOnAServer)
{
    EXPECT_EQ(parse({"verify", "--data", "d"}).verify->dataFolder, "d");
    EXPECT_EQ(
        parse({"verify", "--database", serverUrl, "--contents", bucketUrl}).verify->database.url,
        serverUrl);
    EXPECT_EQ(parse({"verify"}).exitCode, 2);
    EXPECT_EQ(parse({"verify", "--database", "sqlite:file"}).exitCode, 2);
}

TEST(MigrateCommand, NeedsAFolderADatabaseOnAServerAndABucket)
{
    const auto options =
        parse({"migrate", "--from", "d", "--database", serverUrl, "--contents", bucketUrl}).migrate;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->from, "d");
    EXPECT_EQ(options->database.url, serverUrl);
    EXPECT_EQ(options->contents.bucket->bucket, "farm");
    EXPECT_EQ(parse({"migrate", "--from", "d", "--database", serverUrl}).exitCode, 2);
    EXPECT_EQ(parse({"migrate", "--from", "d", "--contents", bucketUrl}).exitCode, 2);
    EXPECT_EQ(parse({"migrate", "--database", serverUrl, "--contents", bucketUrl}).exitCode, 2);
    EXPECT_EQ(
        parse({"migrate", "--from", "d", "--database", serverUrl, "--contents", "file:e"}).exitCode,
        2);
}

TEST(RestoreCommand, NeedsTwoFoldersOrADatabaseOnAServer)
{
    EXPECT_EQ(parse({"restore", "--from", "b", "--data", "d"}).restore->from, "b");
    EXPECT_EQ(parse({"restore", "--database", serverUrl}).restore->database.url, serverUrl);
    EXPECT_EQ(parse({"restore", "--from", "b"}).exitCode, 2);
    EXPECT_EQ(parse({"restore", "--data", "d"}).exitCode, 2);
    EXPECT_EQ(parse({"restore"}).exitCode, 2);
    EXPECT_EQ(parse({"restore", "--from", "b", "--data", "d", "--database", serverUrl}).exitCode,
              2);
}

TEST(ClockConfirmCommand, NeedsADataFolder)
{
    const auto command = parse({"clock", "confirm", "--data", "d"});
    ASSERT_TRUE(command.confirmClock);
    EXPECT_EQ(command.confirmClock->dataFolder, "d");
    EXPECT_EQ(parse({"clock", "confirm"}).exitCode, 2);
    EXPECT_EQ(parse({"clock"}).exitCode, 2);
}

TEST(TlsCommand, ShowsOrRenews)
{
    const auto status = parse({"tls", "status", "--data", "d", "--cert", "c"}).tls;
    ASSERT_TRUE(status);
    EXPECT_EQ(status->dataFolder, "d");
    EXPECT_EQ(status->certificate, "c");
    EXPECT_FALSE(status->renews);
    EXPECT_TRUE(parse({"tls", "renew", "--data", "d", "--authority"}).tls->renewsAuthority);
    const auto renew = parse({"tls", "renew", "--data", "d"}).tls;
    ASSERT_TRUE(renew);
    EXPECT_TRUE(renew->renews);
    EXPECT_EQ(parse({"tls"}).exitCode, 2);
}

} // namespace
} // namespace kelvo
