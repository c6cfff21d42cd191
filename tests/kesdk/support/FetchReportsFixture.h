// The notes of fetched files, and a service that takes their reports.
#pragma once

#include "connection/ApiLine.h"
#include "support/FakeService.h"
#include "support/FakeTime.h"
#include "tests/support/TempFolder.h"
#include "transfer/FetchReports.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

namespace kesdk::test {

using nlohmann::json;

inline constexpr const char* kAccount = "https://service.example\n7";

class FetchReports : public testing::Test
{
protected:
    impl::FetchReports Reports() const { return In(folder.Path().string()); }

    impl::FetchReports In(const std::string& path) const
    {
        return {path, line.Timing(), [this] { return wallS; },
                [this] { return isClockConfirmed ? wallS : -1; }, [this] { return asleep; }};
    }

    // A slow link brings each body before the deadline.
    void TearDown() override { EXPECT_LE(largestBody, 2'000U); }

    // Sends the notes; returns the body of the request, or null if there is none.
    json Send(impl::FetchReports& reports, impl::HttpResponse answer = MakeResponse(204))
    {
        body = json();
        next = std::move(answer);
        impl::ApiCall call;
        call.account = kAccount;
        failure = reports.Send(line.Api(), call);
        return body;
    }

    // A file that the console has just fetched. Replaces an earlier file of this name.
    std::string Fetched(const std::string& name)
    {
        files.Write("new", name);
        std::filesystem::rename(files.Path("new"), files.Path(name));
        return files.Path(name);
    }

    std::string JournalName() const
    {
        return std::filesystem::directory_iterator(folder.Path())->path().filename().string();
    }

    kelvo::test::TempFolder folder;
    kelvo::test::TempFolder files;
    std::int64_t wallS = std::time(nullptr); // the journal has a date of now
    bool isClockConfirmed = true;
    std::chrono::milliseconds asleep{0};
    json body;
    std::size_t largestBody = 0;
    impl::HttpResponse next;
    impl::Failure failure;
    std::function<void()> duringRequest;
    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    impl::LinkBoard board;
    mutable impl::ApiLine line{
        {std::make_unique<FakeTransport>([this](const impl::HttpRequest& request, const auto&) {
             body = json::parse(request.body);
             largestBody = std::max(largestBody, request.body.size());
             if (duringRequest)
                 duringRequest();
             return Respond(request, next);
         }),
         std::make_unique<FakeTiming>(time, 0.0)},
        board};
};

inline json Entries(std::initializer_list<std::pair<int, int>> filesAndAges)
{
    json list = json::array();
    for (const auto& [file, age] : filesAndAges)
        list.push_back({{"file", file}, {"age_s", age}});
    return {{"fetches", list}};
}

} // namespace kesdk::test
