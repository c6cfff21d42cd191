// An API client on the service in memory, with a session, an inbox and a folder.
#pragma once

#include "client/ApiClient.h"
#include "support/FakeService.h"
#include "support/FakeTime.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

namespace kesdk::test {

// A month after this test runs: what is dated a little before then is not older than the library.
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
    static Fault Answer(const std::string& line, impl::HttpResponse answer)
    {
        Fault fault;
        fault.line = line;
        fault.kind = Fault::EKind::eAnswer;
        fault.answer = std::move(answer);
        return fault;
    }

    // The console ends once so many requests of the kind have come.
    void StopBehind(const std::string& line, int count)
    {
        call.abort = [this, line, count] { return service.Count(line) >= count; };
    }

    FakeService service;
    const std::int64_t user = service.AddUser("olga", "correct horse");
    const std::int64_t inbox = service.AddInbox(user, "From Console");
    TempFolder folder;
    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    std::unique_ptr<impl::HttpTransport> transport = service.NewTransport();
    FakeClock clock{time};
    FakeSleeper sleeper{time};
    FixedJitter jitter{1.0};
    impl::RetryingClient http{*transport, clock, sleeper, jitter};
    impl::ApiClient api{http};
    impl::ApiCall call;
};

} // namespace kesdk::test
