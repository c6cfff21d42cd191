// A bucket against a gateway that fails on request.
#include "service/base/Digest.h"
#include "service/objects/Bucket.h"
#include "service/objects/ObjectErrors.h"
#include "service/tls/Authority.h"
#include "service/tls/ServerContext.h"
#include "tests/service/support/ManualClock.h"
#include "tests/service/support/ObjectGateway.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <thread>

namespace kelvo::objects {
namespace {

using test::EFault;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

class ABucket : public testing::Test
{
protected:
    RetryPolicy policy()
    {
        RetryPolicy result;
        result.attempts = 3;
        result.pause = std::chrono::milliseconds(100);
        result.sleep = [this](std::chrono::milliseconds pause) { pauses.push_back(pause.count()); };
        return result;
    }

    void put(const std::string& key, const std::string& bytes)
    {
        bucket.put(key, bytes, sha256Hex(bytes));
    }

    template <class Error>
    static std::string textOf(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const Error& error) {
            return error.what();
        }
        return "no error";
    }

    test::ManualClock clock;
    std::vector<std::int64_t> pauses;
    test::ObjectGateway gateway;
    Bucket bucket{gateway.address(), test::ObjectGateway::credentials(), clock, policy()};
};

TEST_F(ABucket, UsesOneConnectionForSuccessiveCalls)
{
    put("a", "1");
    bucket.get("a", 0, 1);
    bucket.remove("a");
    EXPECT_EQ(gateway.connections(), 1U);
}

TEST_F(ABucket, CountsItsTraffic)
{
    put("a", "12");
    gateway.failNext({EFault::Busy});
    bucket.get("a", 0, 2);
    gateway.failNext({EFault::Busy, EFault::Busy, EFault::Busy});
    EXPECT_THROW(bucket.remove("a"), StoreUnavailable);
    const Traffic& traffic = bucket.traffic();
    EXPECT_EQ(traffic.puts, 1U);
    EXPECT_EQ(traffic.gets, 1U);
    EXPECT_EQ(traffic.removals, 1U);
    EXPECT_EQ(traffic.retries, 3U);
    EXPECT_EQ(traffic.failures, 1U);
    EXPECT_EQ(traffic.sentBytes, 2U);
    EXPECT_EQ(traffic.receivedBytes, 2U);
}

TEST_F(ABucket, TriesOnlyAsOftenAsItMayNow)
{
    bucket.limitAttempts(1);
    gateway.failNext({EFault::Busy});
    EXPECT_THROW(put("a", "1"), StoreUnavailable);
    EXPECT_EQ(gateway.attempts(), 1);
    bucket.limitAttempts(0);
    EXPECT_THROW(put("a", "1"), StoreUnavailable);
    EXPECT_EQ(gateway.attempts(), 1);
}

TEST_F(ABucket, ServesManyThreadsWithAConnectionEach)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, thread] {
            for (int i = 0; i < 10; ++i) {
                const std::string text = std::to_string(thread * 10 + i);
                put(text, text);
                EXPECT_EQ(bucket.get(text, 0, text.size()), text);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(gateway.objects(), testing::SizeIs(40));
    EXPECT_LE(gateway.connections(), 4U);
}

TEST_F(ABucket, TriesAgainWhenTheStoreIsBusy)
{
    gateway.failNext({EFault::Busy, EFault::DoneButBusy});
    put("a", "1");
    EXPECT_THAT(gateway.requests(), ElementsAre("PUT a", "PUT a"));
    ASSERT_EQ(pauses.size(), 2U);
    EXPECT_GE(pauses[0], 50);
    EXPECT_LE(pauses[0], 100);
    EXPECT_GE(pauses[1], 100);
    EXPECT_LE(pauses[1], 200);
}

TEST_F(ABucket, TriesAgainWhenTheConnectionIsCut)
{
    put("a", "12345");
    gateway.failNext({EFault::DoneButCut});
    EXPECT_EQ(bucket.get("a", 0, 5), "12345");
    gateway.failNext({EFault::DoneButCut});
    put("b", "678");
    gateway.failNext({EFault::DoneButCut});
    bucket.remove("a");
    bucket.remove("b");
    EXPECT_TRUE(gateway.objects().empty());
}

TEST_F(ABucket, GivesUpAfterTheLastAttempt)
{
    gateway.failNext({EFault::Busy, EFault::Busy, EFault::Busy});
    EXPECT_THAT(textOf<StoreUnavailable>([this] { put("a", "1"); }), HasSubstr("503 SlowDown"));
    EXPECT_EQ(gateway.attempts(), 3);
    EXPECT_TRUE(gateway.objects().empty());
}

TEST_F(ABucket, DoesNotRepeatARefusedRequest)
{
    gateway.failNext({EFault::RefusedClock});
    EXPECT_THAT(textOf<RequestRefused>([this] { put("a", "1"); }),
                HasSubstr("403 RequestTimeTooSkewed"));
    EXPECT_EQ(gateway.attempts(), 1);
}

TEST_F(ABucket, DoesNotTakeTheWholeObjectForARange)
{
    put("a", "0123456789");
    gateway.failNext({EFault::WholeObject});
    EXPECT_THROW(bucket.get("a", 2, 2), std::runtime_error);
    gateway.failNext({EFault::WholeObject});
    EXPECT_THROW(bucket.get("a", 2, 10), StoreUnavailable);
}

TEST_F(ABucket, GivesUpASilentStore)
{
    RetryPolicy impatient = policy();
    impatient.timeouts.total = std::chrono::milliseconds(50);
    Bucket other(gateway.address(), test::ObjectGateway::credentials(), clock, impatient);
    gateway.failNext({EFault::Silent, EFault::Silent, EFault::Silent});
    EXPECT_THROW(other.sizeOf("a"), StoreUnavailable);
    EXPECT_EQ(gateway.attempts(), 3);
}

TEST_F(ABucket, GivesUpIfNobodyListens)
{
    BucketAddress nobody = gateway.address();
    nobody.endpoint = "http://127.0.0.1:1";
    Bucket other(nobody, test::ObjectGateway::credentials(), clock, policy());
    EXPECT_THROW(other.sizeOf("a"), StoreUnavailable);
    EXPECT_EQ(pauses.size(), 2U);
}

TEST(ABucketOverTls, TrustsOnlyTheNamedAuthority)
{
    const test::TempFolder folder;
    const SystemClock clock;
    const auto files = tls::ensureCertificates(folder.Path(), {"localhost"}, tls::timesOf(clock));
    const std::shared_ptr<ssl_ctx_st> context = tls::makeServerContext(files);
    const test::ObjectGateway gateway([context] { return context; });
    BucketAddress address = gateway.address();
    Bucket stranger(address, test::ObjectGateway::credentials(), clock);
    EXPECT_THROW(stranger.sizeOf("a"), RequestRefused);
    address.caFile = folder.Path("ca.pem");
    Bucket bucket(address, test::ObjectGateway::credentials(), clock);
    bucket.put("a", "1", sha256Hex("1"));
    EXPECT_THAT(gateway.objects(), ElementsAre(Pair("a", "1")));
    address.endpoint.replace(8, 9, "127.0.0.1"); // the certificate has another name
    Bucket elsewhere(address, test::ObjectGateway::credentials(), clock);
    EXPECT_THROW(elsewhere.sizeOf("a"), RequestRefused);
}

} // namespace
} // namespace kelvo::objects
