// The status of the link that a connection publishes.
#include "support/ConnectionFixture.h"

namespace kesdk::test {

namespace {

using kesdkimpl::EDirection;
using kesdkimpl::EPhase;
using kesdkimpl::EProblem;
using kesdkimpl::ESession;
using kesdkimpl::LinkStatus;

class LinkStatusTest : public ConnectionFixture
{
protected:
    // Keeps the status that a console reads while each request with this line begins.
    void LookAt(const std::string& line)
    {
        service.onRequest = [this, line](const std::string& sent) {
            if (sent.rfind(line, 0) == 0)
                seen.push_back(board->Read());
        };
    }

    std::vector<LinkStatus> seen;
};

} // namespace

TEST_F(LinkStatusTest, FollowsTheSession)
{
    EXPECT_EQ(board->Read().session, ESession::eLoggedOut);
    LookAt("POST /v1/sessions");
    LogIn();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].session, ESession::eConnecting);
    EXPECT_EQ(board->Read().session, ESession::eLoggedIn);
    EXPECT_TRUE(board->Read().lastContact);
    service.EndSessions("revoked");
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_EQ(board->Read().session, ESession::eSessionEnded);
    LogIn();
    EXPECT_TRUE(connection->Logout());
    EXPECT_EQ(board->Read().session, ESession::eLoggedOut);
    EXPECT_TRUE(connection->Login(L"olga", L"wrong", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_EQ(board->Read().session, ESession::eLoginFailed);
    EXPECT_EQ(board->Read().problem, EProblem::eNone) << "the service has answered";
}

TEST_F(LinkStatusTest, TellsWhenTheListsWereKnownLast)
{
    LetSleepsBlock();
    LogIn();
    EXPECT_TRUE(board->Read().listsCurrentAt);
    time->Advance(std::chrono::minutes(1));
    const std::int64_t file = service.AddFile(inbox, "a.zip", "x");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    const impl::Clock::Time known = time->Now();
    EXPECT_EQ(board->Read().listsCurrentAt->steady, known);
    service.SetOnline(false);
    ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
    time->Advance(std::chrono::minutes(1));
    service.FailNext(Drop("GET /v1/events"));
    service.SetOnline(true);
    EXPECT_TRUE(connection->SendEnvironment({}));
    EXPECT_EQ(board->Read().lastContact->steady, time->Now());
    EXPECT_EQ(board->Read().listsCurrentAt->steady, known)
        << "an answer tells nothing about the lists";
}

TEST_F(LinkStatusTest, ShowsOfflineAtOnceWhenTheStreamBreaksAndOnlineWithTheFirstAnswer)
{
    LetSleepsBlock();
    LogIn();
    service.SetOnline(false);
    ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
    EXPECT_NE(board->Read().problem, EProblem::eNone);
    EXPECT_EQ(board->Read().session, ESession::eLoggedIn);
    service.SetOnline(true);
    EXPECT_TRUE(connection->Delete(service.AddFileSilently(inbox, "a.zip", "x")));
    EXPECT_EQ(board->Read().problem, EProblem::eNone);
}

TEST_F(LinkStatusTest, TellsTheTimeOfTheLastFailedLogin)
{
    service.SetOnline(false);
    for (const std::size_t states : {2u, 4u}) {
        time->Advance(std::chrono::minutes(15));
        const auto beginS =
            std::chrono::duration_cast<std::chrono::seconds>(time->TimeOfDay()).count();
        EXPECT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(states));
        const LinkStatus status = board->Read();
        EXPECT_EQ(status.session, ESession::eLoginFailed);
        EXPECT_EQ(status.problem, EProblem::eNoAnswer);
        ASSERT_TRUE(status.offlineSince);
        EXPECT_GE(status.offlineSince->wallS, beginS);
    }
}

TEST_F(LinkStatusTest, ShowsNoProblemWhenTheServiceEndsTheStreamInOrder)
{
    LetSleepsBlock();
    LogIn();
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
    EXPECT_EQ(board->Read().problem, EProblem::eNone);
    EXPECT_FALSE(board->Read().offlineSince);
}

TEST_F(LinkStatusTest, ShowsAProblemWhileTheServiceRefusesToOpenTheStream)
{
    LogIn();
    LookAt("GET /v1/events");
    service.FailNext(Answer("GET /v1/events", Problem(500, "internal")));
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForStates(4)); // connecting and logged in, twice
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].problem, EProblem::eNone) << "the stream ended in order";
    EXPECT_EQ(seen[1].problem, EProblem::eNoAnswer) << "the service refused to open it";
    const std::int64_t file = service.AddFile(inbox, "a.zip", "x");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    EXPECT_EQ(board->Read().problem, EProblem::eNone);
}

TEST_F(LinkStatusTest, ShowsOnlineWithTheFirstBytesOfAnAnswer)
{
    LogIn();
    service.FailNext(Drop("GET /v1/resources"));
    const std::int64_t file = service.AddFileSilently(inbox, "a.zip", std::string(1000, 'x'));
    LookAt("GET /v1/resources");
    EXPECT_TRUE(connection->Download(file, folder.WidePath("a.zip").c_str()));
    EXPECT_EQ(seen.back().problem, EProblem::eNone) << seen.size();
}

TEST_F(LinkStatusTest, TellsAnUploadThatWaitsForTheLink)
{
    LogIn();
    service.FailNext(Drop("POST /v1/uploads"));
    LookAt("POST /v1/uploads");
    EXPECT_TRUE(Upload("one.crv", "0123456789"));
    ASSERT_GE(seen.size(), 2u);
    ASSERT_TRUE(seen[0].transfer && seen[1].transfer);
    EXPECT_EQ(seen[0].transfer->direction, EDirection::eUpload);
    EXPECT_EQ(seen[0].transfer->nameUtf8, "one.crv");
    EXPECT_EQ(seen[0].transfer->totalBytes, 10);
    EXPECT_EQ(seen[0].transfer->phase, EPhase::eMoves);
    EXPECT_EQ(seen[0].problem, EProblem::eNone);
    EXPECT_EQ(seen[1].transfer->phase, EPhase::eWaits);
    EXPECT_EQ(seen[1].problem, EProblem::eNoAnswer);
    const std::int64_t beginS = seen[0].transfer->waitsUntilS - 300;
    EXPECT_EQ(seen[1].transfer->waitsUntilS, beginS + 300) << "no byte has moved since";
    EXPECT_FALSE(board->Read().transfer) << "the upload has ended";
}

TEST_F(LinkStatusTest, TellsTheBytesOfAnUploadThatResumes)
{
    LogIn();
    Fault cut = Drop("POST /v1/uploads");
    cut.kind = Fault::EKind::eCutRequest;
    cut.bytes = 4;
    service.FailNext(cut);
    LookAt("PATCH /v1/uploads");
    EXPECT_TRUE(Upload("one.crv", "0123456789"));
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].transfer.value_or(kesdkimpl::TransferStatus()).doneBytes, 4);
}

TEST_F(LinkStatusTest, TellsTheBytesOfADownloadThatResumes)
{
    LogIn();
    const std::string content(1000, 'x');
    const std::int64_t file = service.AddFileSilently(inbox, "map.zip", content);
    Fault cut = Drop("GET /v1/resources/" + std::to_string(file) + "/content");
    cut.kind = Fault::EKind::eCutResponse;
    cut.bytes = 400;
    service.FailNext(cut);
    LookAt(cut.line);
    EXPECT_TRUE(connection->Download(file, folder.WidePath("other.zip").c_str()));
    ASSERT_EQ(seen.size(), 2u);
    ASSERT_TRUE(seen[0].transfer && seen[1].transfer);
    EXPECT_EQ(seen[0].transfer->direction, EDirection::eDownload);
    EXPECT_EQ(seen[0].transfer->nameUtf8, "map.zip") << "the name on the service";
    EXPECT_EQ(seen[0].transfer->totalBytes, 1000);
    EXPECT_EQ(seen[0].transfer->doneBytes, 0);
    EXPECT_EQ(seen[1].transfer->doneBytes, 400);
    EXPECT_EQ(seen[1].transfer->phase, EPhase::eWaits);
    EXPECT_FALSE(board->Read().transfer);
}

} // namespace kesdk::test
