// Uploads of files that change while they are sent, wrong copies, and the errors of uploads.
#include "support/UploadFixture.h"

#include <openssl/rand.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <iterator>

namespace kesdk::impl {

namespace {

using test::Fault;
using test::SentRequest;

} // namespace

TEST_F(UploadsTest, SendsOneRequest)
{
    ExpectStored(Send(), kContent);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 1);
    EXPECT_EQ(service.Count("PATCH"), 0);
    ExpectContentLimits("POST /v1/uploads");
}

TEST_F(UploadsTest, SendsAnEmptyFile)
{
    folder.Write("report.txt", "");
    ExpectStored(Send(), "");
}

// A console with a wrong clock writes such dates. A time of 32 bits ends in 2038.
TEST_F(UploadsTest, SendsAFileOfAnyDate)
{
    static_assert(sizeof(off_t) == 8, "files may be larger than 2 GiB");
    constexpr std::int64_t kDatesS[] = {0, 4'102'444'800, 7'258'118'400}; // 1970, 2100, 2200
    for (const std::int64_t dateS : kDatesS) {
        timespec times[2] = {};
        times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(dateS);
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        const auto sent = Send();
        EXPECT_TRUE(sent) << dateS << ": " << sent.failure.detail;
    }
    EXPECT_EQ(service.FileIds(inbox).size(), std::size(kDatesS));
}

// The file is sparse, so it takes neither space nor time.
TEST_F(UploadsTest, ReadsTheSizeOfAFileAboveFourGiB)
{
    constexpr std::int64_t kSizeBytes = std::int64_t{5} << 30;
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(kSizeBytes));
    UploadFile file;
    ASSERT_FALSE(file.Open(path).IsSet());
    EXPECT_EQ(file.SizeBytes(), kSizeBytes);
    call.abort = [] { return true; };
    EXPECT_TRUE(Send().failure.Is(EErrorCode::eAborted)) << "the file is readable";
}

TEST_F(UploadsTest, StoresTheFileInEveryTarget)
{
    const std::int64_t second = service.AddInbox(user, "Curves");
    const auto sent = SendBy(uploads, path, {inbox, second});
    ASSERT_EQ(sent.value.size(), 2u);
    EXPECT_EQ(sent.value[1].containerId, second);
    EXPECT_EQ(service.Content(service.FileIds(second).at(0)), kContent);
}

TEST_F(UploadsTest, SendsTheWholeFileAgainWhenNoConnectionWasMade)
{
    Fault fault = Drop("POST /v1/uploads");
    fault.dropCode = EErrorCode::eRefused;
    service.FailNext(fault);
    ExpectStored(Send(), kContent);
    EXPECT_EQ(LastContent(), kContent) << "the whole file in one request";
}

TEST_F(UploadsTest, AsksForTheOffsetWhenTheRequestWasLost)
{
    service.FailNext(Drop("POST /v1/uploads"));
    ExpectStored(Send(), kContent);
}

TEST_F(UploadsTest, FindsItsResultWhenTheAnswerWasLost)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    ExpectStored(Send(), kContent);
    EXPECT_EQ(service.Count("PATCH"), 0);
}

TEST_F(UploadsTest, StoresTwoFilesWhenTheSameFileIsSentTwice)
{
    EXPECT_TRUE(Send());
    EXPECT_TRUE(Send());
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
}

TEST_F(UploadsTest, StoresTheFileAgainWhenTheServiceHasAnotherContent)
{
    service.CorruptNextCommit();
    EXPECT_EQ(Send().failure.code, EErrorCode::eServiceError);
    const auto sent = Send(); // under a new key
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_EQ(service.Content(sent.value.at(0).id), kContent);
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
    EXPECT_EQ(service.Count("DELETE"), 0) << "no file changed";
}

TEST_F(UploadsTest, DeletesACopyWithAnotherDigestOfAFileThatChanged)
{
    SpoilTheNextUpload();
    ExpectFailure(Send(), EErrorCode::eFileChanged);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 1);
    ExpectStored(Send(), kContent); // the next call begins a new upload
}

TEST_F(UploadsTest, DeletesAWrongCopyWithTheNextUploadWhenTheLinkDrops)
{
    SpoilTheNextUpload();
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    EXPECT_EQ(Send().failure.code, EErrorCode::eFileChanged);
    ASSERT_EQ(service.FileIds(inbox).size(), 1u);
    ExpectStored(Send(), kContent);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 4);
}

TEST_F(UploadsTest, DeletesAWrongCopyAfterARestart)
{
    const kelvo::test::TempFolder state;
    const auto sendAs = [&](const char* account) {
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        call.account = account;
        return SendBy(process, path, {inbox});
    };
    SpoilTheNextUpload();
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    EXPECT_EQ(sendAs("https://service.test\n7").failure.code, EErrorCode::eFileChanged);
    const Ids wrong = service.FileIds(inbox);
    ASSERT_EQ(wrong.size(), 1u);
    folder.Write("report.txt", "rewritten since");
    EXPECT_TRUE(sendAs("https://service.test\n8"))
        << "in another account the id means another file";
    EXPECT_EQ(service.FileIds(inbox).front(), wrong.front());
    EXPECT_TRUE(sendAs("https://service.test\n7"));
    const Ids left = service.FileIds(inbox);
    EXPECT_EQ(std::count(left.begin(), left.end(), wrong[0]), 0);
    for (const auto& entry : std::filesystem::directory_iterator(state.Path("own")))
        EXPECT_NE(entry.path().extension(), ".discard");
}

TEST_F(UploadsTest, DeletesTheCopyOfAChangedFileAlsoWhenTheCallIsAborted)
{
    AbortAfter("POST /v1/uploads", 1);
    ExpectFailure(Send([this] { folder.Write("report.txt", "rewritten"); }),
                  EErrorCode::eFileChanged);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 1);
}

TEST_F(UploadsTest, GivesUpTheDeletionTwoSecondsAfterTheCallIsAborted)
{
    AbortAfter("POST /v1/uploads", 1);
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    const Clock::Time begin = time->Now();
    EXPECT_EQ(Send([this] { folder.Write("report.txt", "rewritten"); }).failure.code,
              EErrorCode::eFileChanged);
    EXPECT_LE(time->Now() - begin, std::chrono::seconds(2));
    const SentRequest last = service.Requests().back();
    EXPECT_EQ(last.request.method, "DELETE");
    EXPECT_LE(last.request.limits.total, std::chrono::seconds(2));
    EXPECT_GT(last.request.limits.total, std::chrono::seconds(0));
}

// The service does not say once more that the copy belongs to this upload.
TEST_F(UploadsTest, KeepsTheCopyOfAChangedFileWhenTheLinkDrops)
{
    const Fault faults[] = {Drop("POST /v1/uploads"),
                            Replace("POST /v1/uploads", test::Problem(404, "not-found"))};
    for (const Fault& fault : faults) {
        const auto sent = Send([this, &fault] {
            folder.Write("report.txt", kContent + " and more");
            service.FailNext(fault);
        });
        EXPECT_EQ(sent.failure.code, EErrorCode::eFileChanged);
        EXPECT_LE(service.Requests().back().request.limits.total, std::chrono::seconds(2));
    }
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, DeletesTheCopyOfAFileThatChangedWhileItWasSent)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    call.abort = [this, asked = 0]() mutable {
        if (++asked == 2) // between the two requests
            folder.Write("report.txt", std::string(kContent.size(), 'x'));
        return false;
    };
    ExpectFailure(Send(), EErrorCode::eFileChanged);
}

TEST_F(UploadsTest, DeletesTheCopyWhenAnotherFileTookTheName)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    call.abort = [this, asked = 0]() mutable {
        if (++asked == 2) {
            folder.Write("other", kContent);
            std::filesystem::rename(folder.Path("other"), path);
        }
        return false;
    };
    ExpectFailure(Send(), EErrorCode::eFileChanged);
}

// The local file was removed while it was sent, so the copy may be the only one left.
TEST_F(UploadsTest, KeepsTheCopyOfAFileThatWasRemovedWhileItWasSent)
{
    const auto remove = [this] { std::filesystem::remove(path); };
    ExpectStored(Send(remove), kContent);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, KeepsTheCopyOfAFileThatWasRenamedWhileItWasSent)
{
    const auto rename = [this] { std::filesystem::rename(path, folder.Path("renamed")); };
    ExpectStored(Send(rename), kContent);
}

TEST_F(UploadsTest, KeepsAWrongCopyOfAFileThatWasRemovedWhileItWasSent)
{
    service.CorruptNextCommit();
    service.onRequest = [this](const std::string& line) {
        if (line.rfind("POST", 0) == 0)
            std::filesystem::remove(path);
    };
    EXPECT_EQ(Send().failure.code, EErrorCode::eServiceError);
    EXPECT_EQ(service.FileIds(inbox).size(), 1u);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

// The copy holds the content before the rewrite. It is the only content left.
TEST_F(UploadsTest, KeepsTheCopyOfAFileThatWasRewrittenAndThenRemoved)
{
    const auto sent = Send([this] {
        folder.Write("report.txt", "rewritten");
        std::filesystem::remove(path);
    });
    EXPECT_EQ(sent.failure.code, EErrorCode::eFileChanged);
    ASSERT_EQ(service.FileIds(inbox).size(), 1u);
    EXPECT_EQ(service.Content(service.FileIds(inbox)[0]), kContent);
}

TEST_F(UploadsTest, NoticesAFileThatShrinks)
{
    call.abort = [this, asked = 0]() mutable {
        if (++asked == 1)
            std::filesystem::resize_file(path, 10);
        return false;
    };
    ExpectFailure(Send(), EErrorCode::eFileChanged);
}

TEST_F(UploadsTest, ReportsAMissingFileAndAFolder)
{
    EXPECT_EQ(SendBy(uploads, folder.Path("none"), {inbox}).failure.code, EErrorCode::eFileMissing);
    EXPECT_EQ(SendBy(uploads, folder.Path(), {inbox}).failure.code, EErrorCode::eNotAFile);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 0);
}

TEST_F(UploadsTest, ReportsTheServicesError)
{
    const std::pair<test::Fault, EErrorCode> cases[] = {
        {Answer("POST", test::Problem(507, "insufficient-storage")), EErrorCode::eServiceFull},
        {Answer("POST", test::Problem(422, "unprocessable")), EErrorCode::eRefusedByService},
        {Answer("POST", test::Problem(404, "not-found")), EErrorCode::eNotFound},
        {Answer("POST", test::Problem(403, "forbidden")), EErrorCode::eForbidden},
        {Answer("POST", test::Problem(401, "unauthenticated")), EErrorCode::eSessionEnded},
        {Answer("POST", test::Problem(413, "content-too-large")), EErrorCode::eTooLarge},
        {Answer("POST", test::MakeResponse(200, "hello")), EErrorCode::eBadAnswer},
    };
    for (const auto& [fault, code] : cases) {
        service.FailNext(fault);
        ExpectFailure(Send(), code);
    }
}

TEST_F(UploadsTest, SendsNothingWithoutARandomKey)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    RAND_METHOD none{};
    none.bytes = [](unsigned char*, int) { return 0; };
    RAND_set_rand_method(&none);
    ExpectFailure(Send(), EErrorCode::eInternal);
    RAND_set_rand_method(RAND_OpenSSL());
#pragma GCC diagnostic pop
    EXPECT_EQ(service.Count("POST /v1/uploads"), 0);
}

TEST_F(UploadsTest, EndsWhenAborted)
{
    call.abort = [] { return true; };
    ExpectFailure(Send(), EErrorCode::eAborted);
}

} // namespace kesdk::impl
