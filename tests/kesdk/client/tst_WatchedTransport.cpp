// The problem of the link that follows from a request's outcome.
#include "client/WatchedTransport.h"

#include "support/FakeTime.h"
#include "support/FakeTransport.h"

#include <gtest/gtest.h>

namespace kesdk::test {

namespace {

using impl::EErrorCode;
using kesdkimpl::EProblem;

struct ProblemCase
{
    impl::HttpOutcome outcome;
    EProblem problem;
    bool isContact;
};

impl::HttpResponse Page(int status)
{
    return MakeResponse(status, "<html>", {{"Content-Type", "text/html"}});
}

class AnySink : public impl::BodySink
{
public:
    bool Accept(const impl::HttpResponse&) override { return true; }
    bool Write(const char*, std::size_t) override { return true; }
};

// Two lines to the service, as the connection has several.
class TwoLines : public testing::Test
{
protected:
    // The problem after a request with this outcome. Bytes of its answer arrive, then a request on
    // the other line is answered, and then late bytes may arrive.
    EProblem ProblemAfter(const impl::HttpOutcome& outcome, bool hasLateBytes)
    {
        FakeTransport quick([](const impl::HttpRequest&, const impl::AbortCheck&) {
            return impl::HttpOutcome{MakeResponse(204), {}};
        });
        impl::WatchedTransport other(quick, board);
        FakeTransport slow([&](const impl::HttpRequest& request, const impl::AbortCheck&) {
            const impl::HttpResponse answer = MakeResponse(200, "0123456789");
            time->Advance(std::chrono::seconds(1));
            Respond(request, answer);
            time->Advance(std::chrono::seconds(1));
            other.Perform({}, {});
            time->Advance(std::chrono::seconds(1));
            if (hasLateBytes)
                request.sink->Write("x", 1);
            return outcome;
        });
        impl::WatchedTransport watched(slow, board);
        AnySink sink;
        impl::HttpRequest request;
        request.sink = &sink;
        watched.Perform(request, {});
        return board.Read().problem;
    }

    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    impl::LinkBoard board{std::make_unique<FakeClock>(time), [this] { return time->TimeOfDay(); }};
};

} // namespace

TEST(WatchedTransport, TellsTheProblemsApart)
{
    const ProblemCase cases[] = {
        {Drop(EErrorCode::eUnknownHost), EProblem::eNoNetwork, false},
        {Drop(EErrorCode::eUnreachable), EProblem::eNoNetwork, false},
        {Drop(EErrorCode::eRefused), EProblem::eNoAnswer, false},
        {Drop(EErrorCode::eConnectTimeout), EProblem::eNoAnswer, false},
        {Drop(EErrorCode::eTimeout), EProblem::eNoAnswer, false},
        {Drop(EErrorCode::eDropped), EProblem::eNoAnswer, false},
        {Drop(EErrorCode::eCaptivePortal), EProblem::eNetworkWantsLogin, false},
        {Drop(EErrorCode::eClockWrong), EProblem::eClockWrong, false},
        {Drop(EErrorCode::eWrongHostName), EProblem::eNotTrusted, false},
        {Drop(EErrorCode::eUnknownAuthority), EProblem::eNotTrusted, false},
        {Drop(EErrorCode::eAborted), EProblem::eNone, false},
        {Drop(EErrorCode::eCannotWrite), EProblem::eNone, false},
        {{Page(200), {}}, EProblem::eNetworkWantsLogin, false},
        {{Page(302), {}}, EProblem::eNetworkWantsLogin, false},
        {{Page(502), {}}, EProblem::eNoAnswer, false},
        {{Page(503), {}}, EProblem::eNoAnswer, false},
        {{Problem(503, "busy"), {}}, EProblem::eNone, true},
        {{Problem(404, "not-found"), {}}, EProblem::eNone, true},
        {{MakeResponse(204), {}}, EProblem::eNone, true},
    };
    for (const ProblemCase& each : cases) {
        impl::LinkBoard board;
        FakeTransport transport(
            [&each](const impl::HttpRequest&, const impl::AbortCheck&) { return each.outcome; });
        impl::WatchedTransport watched(transport, board);
        watched.Perform({}, {});
        const kesdkimpl::LinkStatus status = board.Read();
        const int code = static_cast<int>(each.outcome.failure.code);
        EXPECT_EQ(status.problem, each.problem) << code << ' ' << each.outcome.response.status;
        EXPECT_EQ(status.lastContact.has_value(), each.isContact) << code;
    }
}

TEST_F(TwoLines, AFailureIsNoProblemWhenAnotherRequestHadTheLastContact)
{
    EXPECT_EQ(ProblemAfter(Drop(EErrorCode::eTimeout), false), EProblem::eNone);
    EXPECT_EQ(ProblemAfter({Page(502), {}}, false), EProblem::eNone);
}

TEST_F(TwoLines, ATransferThatDropsIsAProblemAtOnceWhenItHadTheLastContact)
{
    EXPECT_EQ(ProblemAfter(Drop(EErrorCode::eDropped), true), EProblem::eNoAnswer);
}

TEST(WatchedTransport, AFailureThatTellsNothingAboutTheLinkChangesNothing)
{
    impl::HttpOutcome slow = Drop(EErrorCode::eTimeout);
    slow.tellsNothingAboutLink = true;
    impl::LinkBoard board;
    FakeTransport transport(
        [&](const impl::HttpRequest&, const impl::AbortCheck&) { return slow; });
    impl::WatchedTransport watched(transport, board);
    watched.Perform({}, {});
    EXPECT_EQ(board.Read().problem, EProblem::eNone);
    EXPECT_FALSE(board.Read().lastContact);
    slow.tellsNothingAboutLink = false;
    watched.Perform({}, {});
    EXPECT_EQ(board.Read().problem, EProblem::eNoAnswer);
    slow.tellsNothingAboutLink = true;
    watched.Perform({}, {});
    EXPECT_EQ(board.Read().problem, EProblem::eNoAnswer);
}

} // namespace kesdk::test
