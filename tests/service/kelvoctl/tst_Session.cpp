// The stored session: readable by its owner only, complete, and used for its own server only.
#include "service/kelvoctl/Session.h"

#include "service/kelvoctl/CommandContext.h"
#include "service/kelvoctl/Failures.h"
#include "tests/support/FileDates.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

using namespace kelvoctl;
using std::filesystem::perms;

namespace {

class SessionFile : public testing::Test
{
protected:
    perms mode() const { return std::filesystem::status(file).permissions(); }

    kelvo::test::TempFolder folder;
    const std::filesystem::path file = folder.Path() / "new" / "folder" / "session.json";
    const Session session{"localhost:8443", "/ca.pem", "olga", "secret"};
};

} // namespace

TEST_F(SessionFile, LoadsTheSessionAsItWasSaved)
{
    session.save(file);
    const auto loaded = Session::load(file);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->server, session.server);
    EXPECT_EQ(loaded->ca, session.ca);
    EXPECT_EQ(loaded->user, session.user);
    EXPECT_EQ(loaded->token, session.token);
}

TEST_F(SessionFile, LoadsASessionWithADateAfter2038)
{
    session.save(file);
    ASSERT_TRUE(kelvo::test::SetFileDate(file, kelvo::test::farFutureS));
    EXPECT_TRUE(Session::load(file));
}

TEST_F(SessionFile, APrivateFileReplacesAReadableFile)
{
    session.save(file);
    std::filesystem::permissions(file, perms(0644));
    session.save(file);
    EXPECT_EQ(mode(), perms(0600));
    const auto folderMode = std::filesystem::status(file.parent_path()).permissions();
    EXPECT_EQ(folderMode, perms(0700));
}

TEST_F(SessionFile, LeavesNothingElseInTheFolder)
{
    session.save(file);
    session.save(file);
    const auto entries = std::filesystem::directory_iterator(file.parent_path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(SessionFile, RefusesAFileThatOthersCanRead)
{
    session.save(file);
    std::filesystem::permissions(file, perms(0640));
    EXPECT_THROW(Session::load(file), UsageError);
}

TEST_F(SessionFile, RefusesAFileWithoutASession)
{
    session.save(file);
    for (const char* content : {"", "{", "[]", "{\"server\":\"x\"}", "{\"server\":1}"}) {
        folder.Write("other", content);
        std::filesystem::permissions(folder.Path() / "other", perms(0600));
        EXPECT_THROW(Session::load(folder.Path() / "other"), UsageError) << content;
    }
}

TEST_F(SessionFile, GivesNoSessionIfItIsMissing)
{
    EXPECT_FALSE(Session::load(file));
    CommandContext context;
    context.sessionFile = file.string();
    EXPECT_THROW(context.session(), UsageError);
}

TEST_F(SessionFile, UsesTheSessionForNoOtherServer)
{
    session.save(file);
    CommandContext context;
    context.sessionFile = file.string();
    context.server = "localhost:9999";
    EXPECT_THROW(context.client(), UsageError);
    EXPECT_EQ(context.effectiveCa(), "");
    context.server = session.server;
    EXPECT_EQ(context.session().token, session.token);
    EXPECT_EQ(context.effectiveCa(), session.ca);
}
