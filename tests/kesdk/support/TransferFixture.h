// An API client on the service in memory, with a session, an inbox and a folder.
#pragma once

#include "client/ApiClient.h"
#include "http/ConsoleFacts.h"
#include "support/FakeService.h"
#include "support/FakeTime.h"
#include "tests/support/TempFolder.h"
#include "transfer/StaleFiles.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

namespace kesdk::test {

// A month from now. A date shortly before it is later than the library's build time.
inline std::int64_t NextMonthS()
{
    constexpr std::int64_t kMonthS = std::int64_t{30} * 24 * 60 * 60;
    return static_cast<std::int64_t>(::time(nullptr)) + kMonthS;
}
inline constexpr std::int64_t kHourS = 60 * 60;
inline constexpr std::int64_t kWeekS = 7 * 24 * kHourS;

class TransferFixture : public testing::Test
{
protected:
    TransferFixture() { call.token = api.LogIn(call, L"olga", L"correct horse").value.token; }

    static Fault Drop(const std::string& line, bool isCarriedOut = false)
    {
        Fault fault;
        fault.line = line;
        fault.kind = isCarriedOut ? Fault::EKind::eDropAfter : Fault::EKind::eDropBefore;
        return fault;
    }
    static Fault Drop(const std::string& line, impl::EErrorCode code)
    {
        Fault fault = Drop(line);
        fault.dropCode = code;
        return fault;
    }
    static Fault Cut(const std::string& line, Fault::EKind kind, std::size_t bytes)
    {
        Fault fault;
        fault.line = line;
        fault.kind = kind;
        fault.bytes = bytes;
        return fault;
    }
    // `bytes` get through, then the transfer stalls.
    static Fault Stall(const std::string& line, Fault::EKind kind, std::size_t bytes)
    {
        Fault fault = Cut(line, kind, bytes);
        fault.dropCode = impl::EErrorCode::eTimeout;
        return fault;
    }
    static Fault Answer(const std::string& line, impl::HttpResponse answer)
    {
        Fault fault;
        fault.line = line;
        fault.kind = Fault::EKind::eAnswer;
        fault.answer = std::move(answer);
        return fault;
    }

    // The service carries the request out, but the console gets this answer.
    static Fault Replace(const std::string& line, impl::HttpResponse answer)
    {
        Fault fault = Answer(line, std::move(answer));
        fault.kind = Fault::EKind::eReplace;
        return fault;
    }

    // Content requests have no deadline, and a stall timeout of 30 bytes in 30 s.
    void ExpectContentLimits(const std::string& line) const
    {
        int count = 0;
        for (const SentRequest& sent : service.Requests()) {
            if (sent.Line().rfind(line, 0) != 0)
                continue;
            ++count;
            const impl::HttpLimits& limits = sent.request.limits;
            EXPECT_EQ(limits.stallWindow, std::chrono::seconds(30)) << sent.Line();
            EXPECT_EQ(limits.stallBytes, 30) << sent.Line();
            EXPECT_EQ(limits.total.count(), 0) << sent.Line();
        }
        EXPECT_GT(count, 0) << line;
    }
    static impl::HttpResponse Busy(int status, const std::string& retryAfter)
    {
        impl::HttpResponse busy = Problem(status, "busy");
        busy.headers.push_back({"Date", "Thu, 01 Jan 2026 10:00:00 GMT"});
        busy.headers.push_back({"Retry-After", retryAfter});
        return busy;
    }

    // Aborts the call after `count` requests whose line begins so.
    void AbortAfter(const std::string& line, int count)
    {
        call.abort = [this, line, count] { return service.Count(line) >= count; };
    }

    FakeService service;
    const std::int64_t user = service.AddUser("olga", "correct horse");
    const std::int64_t inbox = service.AddInbox(user, "From Console");
    kelvo::test::TempFolder folder;
    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    std::unique_ptr<impl::HttpTransport> transport = service.NewTransport();
    FakeTiming timing{time, 1.0};
    impl::RetryingClient http{*transport, timing};
    impl::ApiClient api{http};
    impl::ApiCall call;
    impl::WallClock wallTimeS = impl::RealConsoleFacts().wallTimeS;
};

} // namespace kesdk::test
