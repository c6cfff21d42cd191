// The names of the SDK's threads, as the kernel shows them.
#include "support/ConnectionFixture.h"

#include <filesystem>
#include <fstream>
#include <set>

namespace kesdk::test {

namespace {

using ThreadNames = ConnectionFixture;

std::set<std::string> NamesOfThreads()
{
    std::set<std::string> names;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream stream(task.path() / "comm");
        std::string name;
        std::getline(stream, name);
        names.insert(name);
    }
    return names;
}

} // namespace

TEST_F(ThreadNames, EachThreadHasItsOwnName)
{
    LogIn(); // the session's and the listeners' threads run
    connection->ReportPosition({});
    ASSERT_TRUE(service.WaitForRequests("POST /v1/positions", 1));
    const std::set<std::string> names = NamesOfThreads();
    for (const char* name : {"kesdk-notify", "kesdk-session", "kesdk-position"})
        EXPECT_EQ(names.count(name), 1u) << name;
}

} // namespace kesdk::test
