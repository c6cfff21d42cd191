// What is on the disk before anybody is told that it is: the calls to the kernel, in their order.
#include "support/ResumeFixture.h"
#include "support/UploadFixture.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

// What the library asked of the kernel while a test watches; on that test's thread only.
thread_local std::vector<std::string>* tCalls = nullptr;

std::string NameOf(const std::string& path)
{
    return std::filesystem::path(path).filename().string();
}

void Note(const std::string& call)
{
    if (tCalls)
        tCalls->push_back(call);
}

} // namespace

// These take the place of the C library's in this program.
extern "C" int fsync(int file)
{
    std::error_code none;
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    Note("sync " + NameOf(std::filesystem::read_symlink(link, none).string()));
    return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    Note("rename " + NameOf(from) + " to " + NameOf(to));
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

namespace kesdk::impl {

namespace {

using Calls = std::vector<std::string>;

// The calls that are made while it lives.
class Watch
{
public:
    Watch() { tCalls = &m_calls; }
    ~Watch() { tCalls = nullptr; }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    const Calls& Seen() const { return m_calls; }

private:
    Calls m_calls;
};

using DownloadDurability = test::ResumeFixture;

class UploadDurability : public UploadsTest
{
protected:
    UploadDurability() { call.account = "https://service.test\n7"; }
    test::TempFolder state;
};

} // namespace

TEST_F(DownloadDurability, AFileIsOnTheDiskBeforeItsNameAndBothBeforeTheCallReturns)
{
    const std::string own = NameOf(folder.Path());
    const Watch watch;
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_EQ(watch.Seen(),
              (Calls{"sync here.zip.part.journal.new",
                     "rename here.zip.part.journal.new to here.zip.part.journal", "sync " + own,
                     "sync here.zip.part", "rename here.zip.part to here.zip", "sync " + own}));
}

TEST_F(DownloadDurability, ASmallFileToo)
{
    file = *api.GetResource(call, service.AddFile(inbox, "here.zip", "small")).value.file;
    const Watch watch;
    EXPECT_FALSE(Fetch().IsSet());
    ASSERT_EQ(watch.Seen().size(), 3u);
    const std::string part = watch.Seen()[0].substr(std::string("sync ").size());
    EXPECT_EQ(watch.Seen()[1], "rename " + part + " to here.zip");
    EXPECT_EQ(watch.Seen()[2], "sync " + NameOf(folder.Path()));
}

TEST_F(UploadDurability, TheKeyIsOnTheDiskBeforeAnythingIsSentUnderIt)
{
    const Watch watch;
    std::size_t synced = 0;
    service.onRequest = [&](const std::string& line) {
        if (line == "POST /v1/uploads")
            synced = watch.Seen().size();
    };
    Uploads process{api, state.Path("own")};
    ExpectKept(process.Send(call, path, {inbox}), kContent);
    ASSERT_EQ(synced, 3u);
    EXPECT_EQ(watch.Seen()[0].substr(0, 5), "sync ");
    EXPECT_EQ(watch.Seen()[1].substr(0, 7), "rename ");
    EXPECT_EQ(watch.Seen()[2], "sync own");
}

// The nearest to a full disk that needs no disk.
TEST_F(UploadDurability, AJournalThatDoesNotFitCostsNoUploadAndLeavesNothing)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit tiny{10, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tiny), 0);
    Uploads process{api, state.Path("own")};
    const auto sent = process.Send(call, path, {inbox});
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    ExpectKept(sent, kContent);
    EXPECT_TRUE(std::filesystem::is_directory(state.Path("own")));
    EXPECT_TRUE(std::filesystem::is_empty(state.Path("own")));
}

} // namespace kesdk::impl
