// The order of the calls that sync and rename files.
#include "support/FakeTime.h"
#include "support/ResumeFixture.h"
#include "support/UploadFixture.h"
#include "transfer/FetchReports.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

namespace {

// The calls of a test's own thread while a CallRecorder lives; otherwise null.
thread_local std::vector<std::string>* tCalls = nullptr;
thread_local int tSyncsToFail = 0; // the thread's next syncs

std::string NameOf(const std::string& path)
{
    return std::filesystem::path(path).filename().string();
}

void Record(const std::string& call)
{
    if (tCalls)
        tCalls->push_back(call);
}

} // namespace

// These functions replace the C library's in this program.
extern "C" int fsync(int file)
{
    std::error_code none;
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    Record("sync " + NameOf(std::filesystem::read_symlink(link, none).string()));
    if (tSyncsToFail > 0) {
        --tSyncsToFail;
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    Record("rename " + NameOf(from) + " to " + NameOf(to));
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

namespace kesdk::impl {

namespace {

using Calls = std::vector<std::string>;

// Records the calls that this thread makes while the recorder lives.
class CallRecorder
{
public:
    CallRecorder() { tCalls = &m_calls; }
    ~CallRecorder() { tCalls = nullptr; }
    CallRecorder(const CallRecorder&) = delete;
    CallRecorder& operator=(const CallRecorder&) = delete;

    const Calls& Seen() const { return m_calls; }

private:
    Calls m_calls;
};

using DownloadDurability = test::ResumeFixture;

class UploadDurability : public UploadsTest
{
protected:
    UploadDurability() { call.account = "https://service.test\n7"; }

    std::string OwnJournal() const
    {
        return NameOf(std::filesystem::directory_iterator(state.Path("own"))->path().string());
    }

    kelvo::test::TempFolder state;
};

} // namespace

TEST_F(DownloadDurability, SyncsTheFileBeforeItsNameAndBothBeforeTheCallReturns)
{
    const std::string own = NameOf(folder.Path());
    const CallRecorder recorder;
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_EQ(recorder.Seen(),
              (Calls{"rename here.zip.part.journal.new to here.zip.part.journal",
                     "sync here.zip.part.journal", "sync " + own, "sync here.zip.part",
                     "rename here.zip.part to here.zip", "sync " + own}));
}

TEST_F(DownloadDurability, SyncsASmallFileBeforeItsNameAndBothBeforeTheCallReturns)
{
    file = std::get<FileRecord>(
        api.GetResource(call, service.AddFile(inbox, "here.zip", "small")).value);
    const CallRecorder recorder;
    EXPECT_FALSE(Fetch().IsSet());
    ASSERT_EQ(recorder.Seen().size(), 3u);
    const std::string part = recorder.Seen()[0].substr(std::string("sync ").size());
    EXPECT_EQ(recorder.Seen()[1], "rename " + part + " to here.zip");
    EXPECT_EQ(recorder.Seen()[2], "sync " + NameOf(folder.Path()));
}

TEST_F(UploadDurability, SyncsTheKeyBeforeTheFirstRequest)
{
    const CallRecorder recorder;
    std::size_t synced = 0;
    service.onRequest = [&](const std::string& line) {
        if (line == "POST /v1/uploads")
            synced = recorder.Seen().size();
    };
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    ExpectStored(SendBy(process, path, {inbox}), kContent);
    ASSERT_EQ(synced, 3u);
    // In this order, most file systems commit once for both syncs.
    EXPECT_EQ(recorder.Seen()[0].substr(0, 7), "rename ");
    EXPECT_EQ(recorder.Seen()[1], "sync " + OwnJournal());
    EXPECT_EQ(recorder.Seen()[2], "sync own");
}

TEST_F(UploadDurability, KeepsTheKeyElsewhereIfItsJournalCannotBeSynced)
{
    tSyncsToFail = 1;
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    ExpectStored(SendBy(process, path, {inbox}), kContent);
    EXPECT_TRUE(std::filesystem::is_empty(state.Path("own")));
    EXPECT_EQ(folder.EntryCount(), 2u) << "the file, and the journal beside it";
}

// Small files must not cost two syncs more for each download.
TEST(FetchDurability, RenamesTheJournalWithoutASync)
{
    const kelvo::test::TempFolder state;
    const test::FakeClock clock(std::make_shared<test::FakeTime>());
    FetchReports reports{state.Path().string(), clock, [] { return std::int64_t{0}; },
                         [] { return std::int64_t{0}; },
                         [] { return std::chrono::milliseconds{0}; }};
    const CallRecorder recorder;
    reports.Note("account", 1);
    ASSERT_EQ(recorder.Seen().size(), 1u);
    EXPECT_EQ(recorder.Seen()[0].substr(0, 7), "rename ");
}

// A limit of the file size replaces a full disk.
TEST_F(UploadDurability, UploadsWithoutAJournalOnAFullDisk)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit tiny{10, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tiny), 0);
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    service.FailNext(Drop("POST /v1/uploads", true));
    AbortAfter("POST /v1/uploads", 1);
    EXPECT_EQ(SendBy(process, path, {inbox}).failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    const auto sent = SendBy(process, path, {inbox}); // the process remembers the key
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    ExpectStored(sent, kContent);
    EXPECT_TRUE(std::filesystem::is_directory(state.Path("own")));
    EXPECT_TRUE(std::filesystem::is_empty(state.Path("own")));
}

} // namespace kesdk::impl
