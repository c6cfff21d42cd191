// An API client whose requests a test answers, and sparse files: a hole and a text after it.
#pragma once

#include "client/ApiClient.h"
#include "http/ConsoleFacts.h"
#include "large/QuickDigest.h"
#include "large/ThinDisk.h"
#include "support/FakeTime.h"
#include "support/FakeTransport.h"
#include "tests/support/TempFolder.h"
#include "transfer/FileHandle.h"
#include "transfer/StaleFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kesdk::test {

// Sizes of holes. Cut to 32 bits, an offset after such a hole is negative or small.
inline constexpr std::int64_t kHoles[] = {std::int64_t{1} << 31, std::int64_t{1} << 32};

class LargeFixture : public testing::TestWithParam<std::int64_t>
{
protected:
    LargeFixture()
    {
        call.token = "token";
        call.account = "https://service.test\n7";
        SetDiskSpace(std::int64_t{1} << 40);
    }

    // Writes a file of the hole and then `content`.
    std::string WriteLarge(const std::string& name, const std::string& content) const
    {
        const std::string path = folder.Write(name, {});
        EXPECT_EQ(::truncate(path.c_str(), hole), 0);
        const impl::FileHandle file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        EXPECT_EQ(::write(file.Get(), content.data(), content.size()),
                  static_cast<ssize_t>(content.size()));
        return path;
    }
    // The text after the hole.
    std::string ReadAfterHole(const std::string& name) const
    {
        const impl::FileHandle file(::open(folder.Path(name).c_str(), O_RDONLY | O_CLOEXEC));
        std::string content(1000, '\0');
        const ssize_t got = ::pread(file.Get(), content.data(), content.size(), hole);
        return content.substr(0, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    }
    std::int64_t SizeOf(const std::string& name) const
    {
        struct stat status = {};
        return ::stat(folder.Path(name).c_str(), &status) == 0 ? status.st_size : -1;
    }
    // Aborts the call after `requests` requests.
    void AbortAfter(std::size_t requests)
    {
        call.abort = [this, requests] { return lines.size() >= requests; };
    }

    const std::int64_t hole = GetParam();
    const std::string text =
        "The text after the hole, the only bytes that the tests send or fetch.";
    const std::int64_t sizeBytes = hole + static_cast<std::int64_t>(text.size());
    const impl::Sha256::Digest digest = DigestOf(hole, text);

    kelvo::test::TempFolder folder;
    std::vector<std::string> lines; // all requests
    // One answer for each request.
    std::vector<std::function<impl::HttpOutcome(const SentRequest&)>> answers;
    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    FakeTransport transport{[this](const impl::HttpRequest& request, const impl::AbortCheck&) {
        const SentRequest sent{request, {}};
        lines.push_back(sent.Line());
        return lines.size() <= answers.size() ? answers[lines.size() - 1](sent) : Drop();
    }};
    FakeTiming timing{time, 1.0};
    impl::RetryingClient http{transport, timing};
    impl::ApiClient api{http};
    impl::ApiCall call;
    impl::WallClock wallTimeS = impl::RealConsoleFacts().wallTimeS;
};

} // namespace kesdk::test
