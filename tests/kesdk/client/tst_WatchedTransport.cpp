// The problem of the link that follows from a request's outcome.
#include "client/WatchedTransport.h"

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
    return Reply(status, "<html>", {{"Content-Type", "text/html"}});
}

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
        {{Reply(204), {}}, EProblem::eNone, true},
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

} // namespace kesdk::test
