// Retries: the requests that are retried, the number of attempts, and the pauses.
#include "client/RetryingClient.h"
#include "support/FakeTime.h"
#include "support/FakeTransport.h"

#include <gtest/gtest.h>

#include <deque>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;
using test::Drop;
using test::MakeResponse;
using Sleeps = std::vector<std::chrono::milliseconds>;

class RetryingClientTest : public testing::Test
{
protected:
    HttpOutcome Good(int status, std::vector<HttpHeader> headers = {})
    {
        return test::Respond(HttpRequest(), MakeResponse(status, {}, std::move(headers)));
    }

    HttpOutcome Perform() { return client.Perform(get, policy, abort); }

    std::shared_ptr<test::FakeTime> time = std::make_shared<test::FakeTime>();
    std::deque<HttpOutcome> outcomes;
    std::vector<HttpRequest> sent;
    std::chrono::milliseconds lasts{0};
    AbortCheck abort;
    test::FakeTransport transport{[this](const HttpRequest& request, const AbortCheck&) {
        sent.push_back(request);
        time->Advance(lasts);
        HttpOutcome outcome = outcomes.front();
        outcomes.pop_front();
        return outcome;
    }};
    test::FakeTiming timing{time, 1.0};
    RetryingClient client{transport, timing};
    HttpRequest get;
    CallPolicy policy{4, 0ms, {500ms, 1500ms}, {}};
};

} // namespace

TEST_F(RetryingClientTest, RetriesADroppedGetWithGrowingPauses)
{
    outcomes = {Drop(), Drop(), Drop(), Good(200)};
    EXPECT_EQ(Perform().response.status, 200);
    EXPECT_EQ(time->Sleeps(), (Sleeps{500ms, 1000ms, 1500ms}));
}

TEST_F(RetryingClientTest, TakesHalfOfThePauseAtRandom)
{
    test::FakeTiming shortest{time, 0.0};
    RetryingClient other(transport, shortest);
    outcomes = {Drop(), Drop(), Good(200)};
    other.Perform(get, policy, {});
    EXPECT_EQ(time->Sleeps(), (Sleeps{250ms, 500ms}));
}

TEST_F(RetryingClientTest, GivesUpAfterTheLastAttempt)
{
    outcomes = {Drop(), Drop(), Drop(), Drop()};
    EXPECT_TRUE(Perform().failure.Is(EErrorCode::eDropped));
    EXPECT_EQ(sent.size(), 4u);
}

TEST_F(RetryingClientTest, WaitsAsLongAsRetryAfterSays)
{
    outcomes = {Good(503, {{"Retry-After", "7"}}), Good(429, {{"retry-after", "2"}}), Good(200)};
    EXPECT_EQ(Perform().response.status, 200);
    EXPECT_EQ(time->Sleeps(), (Sleeps{7s, 2s}));
}

TEST_F(RetryingClientTest, DoesNotRetryPermanentErrors)
{
    for (const int status : {400, 401, 403, 404, 409, 412, 500, 507}) {
        outcomes = {Good(status)};
        EXPECT_EQ(Perform().response.status, status);
    }
    outcomes = {Drop(EErrorCode::eWrongHostName)};
    EXPECT_TRUE(Perform().failure.Is(EErrorCode::eWrongHostName));
    EXPECT_TRUE(time->Sleeps().empty());
}

TEST_F(RetryingClientTest, DoesNotRetryAPostWithoutAKey)
{
    get.method = "POST";
    outcomes = {Drop()};
    Perform();
    EXPECT_EQ(sent.size(), 1u);
}

TEST_F(RetryingClientTest, RetriesAPostThatIsMarkedAsRepeatable)
{
    get.method = "POST";
    get.isRepeatable = true;
    outcomes = {Drop(), Good(201)};
    EXPECT_EQ(Perform().response.status, 201);
}

TEST_F(RetryingClientTest, RetriesPutDeleteAndHead)
{
    for (const char* method : {"PUT", "DELETE", "HEAD"}) {
        get.method = method;
        outcomes = {Drop(), Good(204)};
        EXPECT_EQ(Perform().response.status, 204) << method;
    }
}

TEST_F(RetryingClientTest, StopsBeforeTheDeadline)
{
    policy.total = 2s;
    lasts = 600ms;
    outcomes = {Drop(), Drop(), Good(200)};
    EXPECT_TRUE(Perform().failure.Is(EErrorCode::eDropped));
    EXPECT_EQ(time->Sleeps(), (Sleeps{500ms}));
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].limits.total, 2s);
    EXPECT_EQ(sent[1].limits.total, 900ms) << "the time left";
    EXPECT_EQ(sent[1].limits.connect, 900ms);
}

TEST_F(RetryingClientTest, KeepsAShorterDeadlineOfOneAttempt)
{
    policy.total = 20s;
    policy.limits.total = 9s;
    outcomes = {Good(200)};
    Perform();
    EXPECT_EQ(sent[0].limits.total, 9s);
    EXPECT_EQ(sent[0].limits.connect, 10s);
}

TEST_F(RetryingClientTest, AbortEndsThePause)
{
    bool isAborted = false;
    abort = [&] { return isAborted; };
    outcomes = {Drop()};
    isAborted = true;
    EXPECT_TRUE(Perform().failure.Is(EErrorCode::eAborted));
}

TEST_F(RetryingClientTest, ReportsThatAnEarlierAttemptMayHaveArrived)
{
    get.method = "DELETE";
    outcomes = {Drop(EErrorCode::eRefused), Good(404)};
    EXPECT_FALSE(Perform().mayHaveRunBefore);
    outcomes = {Drop(EErrorCode::eDropped), Good(404)};
    EXPECT_TRUE(Perform().mayHaveRunBefore);
    outcomes = {Good(503), Good(404)};
    EXPECT_FALSE(Perform().mayHaveRunBefore) << "the service has refused the first attempt";
    for (const int status : {502, 504}) {
        outcomes = {Good(status), Good(404)};
        EXPECT_TRUE(Perform().mayHaveRunBefore)
            << "a proxy does not know whether the service ran it";
    }
}

TEST_F(RetryingClientTest, ReportsThatTheTransportSentTheRequestTwice)
{
    HttpOutcome twice = Good(404);
    twice.mayHaveRunBefore = true;
    outcomes = {twice};
    EXPECT_TRUE(Perform().mayHaveRunBefore);
    HttpOutcome busy = Good(503);
    busy.mayHaveRunBefore = true;
    outcomes = {busy, Good(404)};
    EXPECT_TRUE(Perform().mayHaveRunBefore);
}

TEST_F(RetryingClientTest, ReadsARetryDateByTheServicesClock)
{
    const HttpHeader now{"Date", "Thu, 01 Jan 2026 10:00:00 GMT"};
    outcomes = {Good(503, {now, {"Retry-After", "Thu, 01 Jan 2026 10:00:09 GMT"}}),
                Good(503, {now, {"Retry-After", "Thu, 01 Jan 2026 09:00:00 GMT"}}),
                Good(503, {{"Retry-After", "Thu, 01 Jan 2026 10:00:09 GMT"}}), Good(200)};
    EXPECT_EQ(Perform().response.status, 200);
    EXPECT_EQ(time->Sleeps(), (Sleeps{9s, 1000ms, 1500ms}))
        << "without a usable date, its own pauses";
}

TEST_F(RetryingClientTest, ReadsRetryDatesBeyond32Bits)
{
    const auto wait = [this](const char* now, const char* then) {
        return RetryAfter(Good(503, {{"Date", now}, {"Retry-After", then}}).response);
    };
    EXPECT_EQ(wait("Tue, 19 Jan 2038 03:14:07 GMT", "Tue, 19 Jan 2038 03:14:10 GMT"), 3s);
    EXPECT_EQ(wait("Fri, 01 Jan 2100 10:00:00 GMT", "Fri, 01 Jan 2100 10:00:09 GMT"), 9s);
    EXPECT_EQ(wait("Tue, 19 Jan 2038 03:14:10 GMT", "Tue, 19 Jan 2038 03:14:07 GMT"), 0s);
    // Both dates are equal in 32 bits.
    EXPECT_EQ(wait("Thu, 01 Jan 1970 00:00:00 GMT", "Sun, 07 Feb 2106 06:28:16 GMT"), 24h);
}

TEST_F(RetryingClientTest, WaitsForFiveMinutesAtMost)
{
    for (const char* wanted : {"86400", "99999999999999999999", "Fri, 01 Jan 2100 10:00:00 GMT"}) {
        const HttpHeader now{"Date", "Thu, 01 Jan 2026 10:00:00 GMT"};
        outcomes = {Good(503, {now, {"Retry-After", wanted}}), Good(200)};
        EXPECT_EQ(Perform().response.status, 200);
        EXPECT_EQ(time->Sleeps().back(), 5min) << wanted;
        EXPECT_EQ(RetryAfter(Good(503, {now, {"Retry-After", wanted}}).response), 24h) << wanted;
    }
}

TEST_F(RetryingClientTest, IgnoresAnUnreadableRetryAfter)
{
    for (const char* wanted : {"", "-5", "5x", "soon", "99999999999999999999x"})
        EXPECT_EQ(RetryAfter(Good(503, {{"Retry-After", wanted}}).response), std::nullopt);
}

} // namespace kesdk::impl
