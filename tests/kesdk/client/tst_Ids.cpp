// Ids that do not fit into the console's 32 bits: no such id is taken for another.
#include "base/DigestText.h"
#include "client/ApiJson.h"
#include "support/ConnectionFixture.h"

#include <limits>
#include <memory>

namespace kesdk::impl {

namespace {

constexpr std::int64_t kTwo32 = std::int64_t{1} << 32;

// As a document has them. Cut to 32 bits, or read as another type, some of them become 5 or 1.
constexpr const char* kNoIds[] = {
    "0",          "-1",    "-5",   "2147483648", "4294967295",           "4294967296",
    "4294967301", "5e0",   "1e3",  "5.0",        "9223372036854775808",  "18446744073709551615",
    "1e400",      "\"5\"", "true", "null",       "18446744073709551621", "[5]",
    "{}",         "\"\""};

constexpr const char* kFile =
    R"({"id":@0,"kind":"file","name":"a.zip","container":@1,"size":1,"sha256":"00","etag":"x"})";
constexpr const char* kInboxJson =
    R"({"id":@0,"kind":"user-inbox","name":"o","project":@1,"owner":{"id":@2,"name":"o"},
        "entries":[]})";

// Returns the document with `id` in place `number` and valid ids in the other places.
std::string With(std::string document, int number, const std::string& id)
{
    for (int place = 0; place < 3; ++place) {
        const std::string mark = "@" + std::to_string(place);
        for (std::size_t at; (at = document.find(mark)) != std::string::npos;)
            document.replace(at, mark.size(), place == number ? id : "7");
    }
    return document;
}

// A reader of a document, and the number of ids in the document.
struct Reader
{
    const char* name;
    int places;
    std::string document;
    bool (*isRead)(const std::string&);
};

bool IsEventRead(const char* kind, const std::string& text)
{
    return ParseEvent(kind, "9", text).kind != EAccountEvent::eUnreadable;
}

const std::vector<Reader>& Readers()
{
    static const std::vector<Reader> readers{
        {"uploaded files", 2, std::string(R"({"files":[)") + kFile + "]}",
         [](const std::string& text) { return ParseUploadedFiles(text).has_value(); }},
        {"file", 2, kFile, [](const std::string& text) { return ParseResource(text).has_value(); }},
        {"inbox", 3, kInboxJson,
         [](const std::string& text) { return ParseInbox(text).has_value(); }},
        {"login", 1, R"({"token":"t","user":{"id":@0,"name":"o"}})",
         [](const std::string& text) { return ParseLogin(text).has_value(); }},
        {"account", 2,
         R"({"user":{"id":@0,"name":"o"},"cursor":"1","projects":[
             {"id":@1,"kind":"project","name":"p","resources":[]}]})",
         [](const std::string& text) { return ParseAccount(text).has_value(); }},
        {"account's inbox", 3,
         std::string(R"({"user":{"id":7,"name":"o"},"cursor":"1","projects":[
             {"id":7,"kind":"project","name":"p","resources":[)") +
             kInboxJson + "]}]}",
         [](const std::string& text) { return ParseAccount(text).has_value(); }},
        {"project", 1, R"({"project":{"id":@0,"kind":"project","name":"p"},"resources":[]})",
         [](const std::string& text) { return ParseProjectResources(text).has_value(); }},
        {"file's event", 3,
         std::string(R"({"container":{"id":@2,"kind":"user-inbox"},"entry":)") + kFile + "}",
         [](const std::string& text) { return IsEventRead("file-removed", text); }},
        {"inbox's event", 3,
         std::string(R"({"container":{"id":7,"kind":"project"},"entry":)") + kInboxJson + "}",
         [](const std::string& text) { return IsEventRead("inbox-added", text); }},
    };
    return readers;
}

class Ids : public test::ConnectionFixture
{
protected:
    // Cut to 32 bits, this id is the file's.
    std::int64_t Disguised() const { return kTwo32 + file; }
    bool HasAsked(const std::string& line) const { return service.Count(line) > 0; }

    const std::int64_t file = service.AddFile(inbox, "a.zip", "content");
    const std::string own = "/v1/resources/" + std::to_string(file);
};

} // namespace

TEST(IdsOfRecords, AreReadWithoutACopy)
{
    struct Record
    {
        std::int64_t id = 0;
        std::unique_ptr<int> noCopy;
    };
    EXPECT_EQ(IdOf(Record{5, nullptr}), 5);
    EXPECT_EQ(IdOf(ResourceRecord(ProjectRecord{6, {}, {}})), 6);
}

TEST(IdsOfDocuments, ReadsIdsUpToTheLargestOf31Bits)
{
    for (const Reader& reader : Readers()) {
        for (int place = 0; place < reader.places; ++place) {
            for (const char* id : {"1", "2147483647"})
                EXPECT_TRUE(reader.isRead(With(reader.document, place, id)))
                    << reader.name << ' ' << place << ' ' << id;
        }
    }
}

TEST(IdsOfDocuments, RefusesValuesThatAreNoIdsOf31Bits)
{
    for (const Reader& reader : Readers()) {
        for (int place = 0; place < reader.places; ++place) {
            for (const char* id : kNoIds)
                EXPECT_FALSE(reader.isRead(With(reader.document, place, id)))
                    << reader.name << ' ' << place << ' ' << id;
        }
    }
}

TEST_F(Ids, ALoginFailsWhenTheAccountHasAWrongId)
{
    std::size_t states = 0;
    for (const char* id : {"2147483648", "-1", "\"7\""}) {
        service.FailNext(
            Answer("GET /v1/account",
                   test::MakeResponse(200, R"({"user":{"id":)" + std::string(id) +
                                               R"(,"name":"o"},"cursor":"1","projects":[]})")));
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(states += 2)) << id;
        EXPECT_EQ(listener.States().back(), api::eLoginFailed) << id;
        const auto errors = connection->GetLastLoginErrors();
        ASSERT_EQ(errors.size(), 1u);
        EXPECT_EQ(errors.front().code, static_cast<std::int32_t>(EErrorCode::eBadAnswer));
        EXPECT_FALSE(errors.front().text1.empty());
    }
    LogIn();
}

TEST_F(Ids, AnEventWithAWrongIdRemovesNothing)
{
    LogIn();
    ASSERT_EQ(ListedFiles(), (std::vector<std::int64_t>{file}));
    const int snapshots = service.Count("GET /v1/account");
    service.SendOnStreams(R"(event: file-removed
data: {"container":{"id":)" +
                          std::to_string(inbox) + R"(,"kind":"user-inbox"},"entry":)" +
                          With(With(kFile, 0, std::to_string(Disguised())), 1, "7") + "\n\n");
    ASSERT_TRUE(service.WaitForRequests("GET /v1/account", snapshots + 1))
        << "it fetches a new snapshot";
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file}));
    const std::int64_t later = service.AddFile(inbox, "b.zip", "b");
    ASSERT_TRUE(
        listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(later)));
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file, later}));
}

TEST_F(Ids, TheLargestIdReachesListenersUnchanged)
{
    AccountSnapshot snapshot;
    constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
    AccountRecord account;
    account.projects = {{1, L"p", {{kLargest, 1, L"o", 7, {}}}}};
    snapshot.Replace(account);
    FileRecord record;
    record.id = kLargest - 1;
    record.containerId = kLargest;
    const ResourceChanges changes = snapshot.ApplyOwnUpload({record}, snapshot.Generation());
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].resourceId, 2147483646L);
    EXPECT_EQ(changes[0].containerId, 2147483647UL);
    EXPECT_TRUE(snapshot.File(kLargest - 1));
    EXPECT_EQ(snapshot.Resource(kLargest)->content.front().id, kLargest - 1);
}

TEST_F(Ids, FetchesOnlyTheFileOfTheExactId)
{
    LogIn();
    for (const std::int64_t id :
         {Disguised(), file - kTwo32, -file, std::int64_t{0}, std::int64_t{-1},
          std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_EQ(connection->GetResourceWithContent(id).id, 0) << id;
        EXPECT_FALSE(connection->Download(id, folder.WidePath("a.zip").c_str())) << id;
        EXPECT_EQ(FirstText(), L"File no longer exists.") << id;
        EXPECT_FALSE(connection->Delete(id)) << id;
        EXPECT_EQ(FirstText(), L"File no longer exists.") << id;
        EXPECT_TRUE(connection->GetProjectResources(kTwo32 + 1).empty());
    }
    EXPECT_FALSE(HasAsked("GET " + own));
    EXPECT_FALSE(HasAsked("DELETE " + own));
    EXPECT_EQ(folder.EntryCount(), 0u);
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file}));
}

TEST_F(Ids, RefusesAnAnswerAboutAnotherFile)
{
    LogIn();
    const std::int64_t asked = service.AddFileSilently(inbox, "b.zip", "other");
    const std::string another = With(With(kFile, 0, std::to_string(file)), 1, "7");
    const std::string line = "GET /v1/resources/" + std::to_string(asked);
    service.FailNext(Answer(line, test::MakeResponse(200, another)));
    EXPECT_FALSE(connection->Download(asked, folder.WidePath("b.zip").c_str()));
    EXPECT_EQ(connection->GetLastErrors().front().code,
              static_cast<std::int32_t>(EErrorCode::eBadAnswer));
    service.FailNext(Answer(line, test::MakeResponse(200, another)));
    EXPECT_EQ(connection->GetResourceWithContent(asked).id, 0);
    EXPECT_FALSE(HasAsked("GET " + own + "/content"));
    EXPECT_EQ(folder.EntryCount(), 0u);
    EXPECT_TRUE(connection->Download(asked, folder.WidePath("b.zip").c_str()));
    EXPECT_EQ(folder.Read("b.zip"), "other");
}

TEST_F(Ids, RefusesAnAnswerAboutAnotherProject)
{
    LogIn();
    const std::string line = "GET /v1/projects/777/resources";
    service.FailNext(Answer(
        line, test::MakeResponse(
                  200, R"({"project":{"id":1,"kind":"project","name":"p"},"resources":[]})")));
    EXPECT_TRUE(connection->GetProjectResources(777).empty());
    EXPECT_EQ(connection->GetLastErrors().front().code,
              static_cast<std::int32_t>(EErrorCode::eBadAnswer));
}

TEST_F(Ids, UploadsOnlyToTheExactTarget)
{
    LogIn();
    folder.Write("c.zip", "c");
    for (const std::uint64_t target :
         {static_cast<std::uint64_t>(kTwo32 + inbox), static_cast<std::uint64_t>(-inbox),
          std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()}) {
        EXPECT_FALSE(connection->Upload(folder.WidePath("c.zip").c_str(), {target})) << target;
        EXPECT_EQ(FirstText(), L"The folder on the service does not exist.") << target;
    }
    EXPECT_EQ(service.FileIds(inbox), (std::vector<std::int64_t>{file}));
    EXPECT_TRUE(folder.Has("c.zip"));
}

// The service answers each request with a result whose record has no valid id.
TEST_F(Ids, AnUploadFailsWhenItsResultHasAWrongId)
{
    LogIn();
    folder.Write("c.zip", "c");
    Sha256 hash;
    hash.Update("c", 1);
    const Sha256::Digest digest = hash.Finish();
    for (const std::string& id :
         {std::to_string(Disguised()), std::to_string(file - kTwo32), std::string("2147483648"),
          std::string("0"), std::string("-1"), std::string("1e3"), std::string("\"five\""),
          std::string(), std::string("99999999999999999999")}) {
        const int deletions = service.Count("DELETE");
        const std::string body =
            R"({"files":[{"name":"c.zip","size":1,"created_at":"2026-01-01T00:00:00Z","container":)" +
            std::to_string(inbox) + R"(,"sha256":")" + ToHex(digest) + R"(","etag":"e","id":)" +
            id + "}]}";
        for (int i = 0; i < 6; ++i) // all that the upload asks
            service.FailNext(Answer("POST /v1/uploads",
                                    test::MakeResponse(201, body,
                                                       {{"Location", "/kelvo-api/v1/uploads/u"},
                                                        {"Upload-Offset", "1"},
                                                        {"Repr-Digest", ToReprDigest(digest)}})));
        EXPECT_FALSE(connection->Upload(folder.WidePath("c.zip").c_str(),
                                        {static_cast<std::uint64_t>(inbox)}))
            << id;
        EXPECT_EQ(connection->GetLastErrors().front().code,
                  static_cast<std::int32_t>(EErrorCode::eBadAnswer))
            << id;
        EXPECT_EQ(service.Count("DELETE"), deletions) << "no file is deleted";
        EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file})) << id;
    }
    EXPECT_TRUE(
        connection->Upload(folder.WidePath("c.zip").c_str(), {static_cast<std::uint64_t>(inbox)}));
    EXPECT_EQ(ListedFiles().size(), 2u);
}

} // namespace kesdk::impl
