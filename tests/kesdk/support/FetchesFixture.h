// A connection that reports fetched files, with an idle time that a test ends.
#pragma once

#include "kesdkimpl/Unpacking.h"
#include "support/ConnectionFixture.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kesdk::test {

inline constexpr const char* kFetches = "POST /v1/fetches";
inline constexpr const char* kPositions = "POST /v1/positions";

// Whether the idle time has passed. From then on each sleep ends at once. Thread safety: safe.
class IdleTime
{
public:
    void Pass()
    {
        const std::lock_guard lock(m_mutex);
        m_hasPassed = true;
        m_changed.notify_all();
    }
    void Wake() { m_changed.notify_all(); }
    // False if the check ended the sleep.
    bool Wait(const impl::AbortCheck& abort)
    {
        std::unique_lock lock(m_mutex);
        while (!m_hasPassed) {
            if (impl::IsAborted(abort))
                return false;
            m_changed.wait_for(lock, std::chrono::milliseconds(5));
        }
        return !impl::IsAborted(abort);
    }

private:
    std::mutex m_mutex; // guards m_hasPassed
    std::condition_variable m_changed;
    bool m_hasPassed = false;
};

class IdleTiming : public FakeTiming
{
public:
    IdleTiming(std::shared_ptr<FakeTime> time, std::shared_ptr<IdleTime> idle)
        : FakeTiming(std::move(time), 0.0), m_idle(std::move(idle))
    {}
    bool Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort) override
    {
        return m_idle->Wait(abort) && FakeTiming::Sleep(duration, abort);
    }
    void Wake() override { m_idle->Wake(); }

private:
    std::shared_ptr<IdleTime> m_idle;
};

class FetchesOfAConnection : public ConnectionFixture
{
protected:
    using Ids = std::vector<std::int64_t>;

    FetchesOfAConnection() { Restart(); }

    // A console that starts anew, on the same state folder.
    void Restart()
    {
        idle = std::make_shared<IdleTime>();
        impl::Connection::Lines lines{NewLine(), NewLine(), NewLine()};
        lines.positions.timing = std::make_unique<IdleTiming>(time, idle);
        impl::Connection::Lasting lasting = OnBoard();
        lasting.service = "https://service.example";
        lasting.journalFolder = journals.Path().string();
        if (connection)
            connection->Unsubscribe(&listener);
        connection = std::make_unique<impl::Connection>(std::move(lines), lasting);
        connection->Subscribe(&listener);
    }

    // Waits for the second login: the listener has seen the first.
    void LogInAgain()
    {
        const std::size_t before = listener.States().size();
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(before + 2));
        ASSERT_EQ(listener.States().back(), api::eLoginSuccessful);
    }

    bool Download(std::int64_t file)
    {
        return connection->Download(file, folder.WidePath(std::to_string(file)).c_str());
    }

    // The console has unpacked the file that was downloaded, or could not.
    void Unpack(std::int64_t file, const char* error = nullptr)
    {
        kesdkimpl::NoteUnpacking(folder.Path(std::to_string(file)).c_str(), error);
    }

    bool ReportPosition() { return connection->ReportPosition({++positionTime, 1.0, 1.0}); }

    // Returns when the position's fetches, if there are any, were sent before.
    void AwaitTwoPositions()
    {
        for (int i = 0; i < 2; ++i) {
            const int before = service.Count(kPositions);
            ASSERT_TRUE(ReportPosition());
            ASSERT_TRUE(service.WaitForRequests(kPositions, before + 1));
        }
    }

    // The entries of each report.
    std::vector<nlohmann::json> Bodies() const
    {
        std::vector<nlohmann::json> bodies;
        for (const SentRequest& sent : service.Requests()) {
            if (sent.Line() == kFetches)
                bodies.push_back(nlohmann::json::parse(sent.request.body)["fetches"]);
        }
        return bodies;
    }

    // The files of each report.
    std::vector<Ids> Reports() const
    {
        std::vector<Ids> reports;
        for (const nlohmann::json& entries : Bodies()) {
            Ids& ids = reports.emplace_back();
            for (const auto& fetch : entries)
                ids.push_back(fetch["file"]);
        }
        return reports;
    }

    // Whether the last report tells that its first file is unpacked.
    bool TellsUnpacked() const { return Bodies().back()[0].contains("unpacked_age_s"); }

    const std::int64_t first = service.AddFile(inbox, "first.zip", "first");
    const std::int64_t second = service.AddFile(inbox, "second.zip", "second");
    kelvo::test::TempFolder journals;
    std::shared_ptr<IdleTime> idle;
    std::int32_t positionTime = 0;
};

} // namespace kesdk::test
