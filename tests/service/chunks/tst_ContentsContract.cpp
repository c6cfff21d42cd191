// The contract suite of the stores of contents, on the folder and on each object store.
#include "service/base/Digest.h"
#include "service/base/Random.h"
#include "service/chunks/ChunkedContents.h"
#include "service/content/FolderContents.h"
#include "tests/service/support/ObjectStores.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvo::chunks {
namespace {

using content::Contents;
using content::ContentStore;
using content::DigestCache;
using content::FolderContents;
using content::Reader;

/** Small, so that short texts have several chunks. */
constexpr std::size_t shortChunkBytes = 16;

/** The parts of one kind of store. A second opening sees the same bytes, as another process does.
 */
class OpenContents
{
public:
    virtual ~OpenContents() = default;
    virtual Contents& contents() = 0;
};

class OpenFolder final : public OpenContents
{
public:
    explicit OpenFolder(const std::filesystem::path& folder) : store_(folder) {}
    Contents& contents() override { return contents_; }

private:
    ContentStore store_;
    DigestCache digests_;
    FolderContents contents_{store_, digests_};
};

class OpenChunks final : public OpenContents
{
public:
    OpenChunks(store::Database& database, const test::ObjectStore& store)
        : bucket_(store.address, store.credentials, clock_),
          contents_(database, bucket_, clock_, shortChunkBytes)
    {}
    Contents& contents() override { return contents_; }

private:
    const SystemClock clock_;
    objects::Bucket bucket_;
    ChunkedContents contents_;
};

struct ContentsKind
{
    std::string name;
    std::function<test::ObjectStore()> openStore; // none: a folder
};

void PrintTo(const ContentsKind& kind, std::ostream* out)
{
    *out << kind.name;
}

std::vector<ContentsKind> contentsKinds()
{
    std::vector<ContentsKind> kinds{{"Folder", {}}};
    for (const test::ObjectStoreKind& store : test::objectStoreKinds()) {
        kinds.push_back({store.name, store.open});
    }
    return kinds;
}

class EveryContents : public testing::TestWithParam<ContentsKind>
{
protected:
    EveryContents()
    {
        if (GetParam().openStore) {
            store = GetParam().openStore();
        }
        opened = open();
    }

    std::unique_ptr<OpenContents> open()
    {
        if (GetParam().openStore) {
            return std::make_unique<OpenChunks>(database, store);
        }
        return std::make_unique<OpenFolder>(folder.Path());
    }

    Contents& contents() { return opened->contents(); }

    void receive(const std::string& id, const std::string& bytes)
    {
        const auto receiver = contents().receive(id);
        receiver->append(bytes.data(), bytes.size());
        receiver->flush();
    }

    /** Makes a content of an upload and returns its digest. */
    std::string adopt(const std::string& id)
    {
        const auto receiver = contents().receive(id);
        const std::string sha256 = receiver->finish();
        const auto adoption = receiver->adopt();
        database.writeNow([&adoption](store::Transaction& t) { adoption->join(t); });
        adoption->committed();
        return sha256;
    }

    static std::string readAll(Reader& reader, std::size_t step)
    {
        std::string all;
        std::string buffer(step, ' ');
        while (const std::size_t got = reader.read(all.size(), buffer.data(), step)) {
            all.append(buffer, 0, got);
        }
        return all;
    }

    const std::string text = "0123456789abcdefghijklmnopqrstuvwxyz"; // three chunks
    const std::string upload = "upload-" + randomHex(4);
    test::TempFolder folder;
    test::ObjectStore store;
    store::Database database{store::makeSqlite(folder.Path("kelvo.sqlite"))};
    std::unique_ptr<OpenContents> opened;
};

TEST_P(EveryContents, ReadsAContentAsItWasReceived)
{
    const auto receiver = contents().receive(upload);
    for (const char& each : text) {
        receiver->append(&each, 1);
    }
    EXPECT_EQ(receiver->offset(), text.size());
    EXPECT_EQ(receiver->finish(), sha256Hex(text));
    const auto adoption = receiver->adopt();
    database.writeNow([&adoption](store::Transaction& t) { adoption->join(t); });
    adoption->committed();
    const auto reader = contents().open(sha256Hex(text));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->sizeBytes(), text.size());
    EXPECT_EQ(readAll(*reader, 5), text);
    EXPECT_EQ(readAll(*reader, 100), text);
    EXPECT_EQ(contents().keptBytes(upload), 0U);
}

TEST_P(EveryContents, ReadsFromEveryOffset)
{
    receive(upload, text);
    const auto reader = contents().open(adopt(upload));
    for (std::size_t offset = text.size(); offset-- > 0;) {
        char byte = 0;
        ASSERT_EQ(reader->read(offset, &byte, 1), 1U);
        EXPECT_EQ(byte, text[offset]) << offset;
    }
    char byte = 0;
    EXPECT_EQ(reader->read(text.size(), &byte, 1), 0U);
    EXPECT_EQ(reader->read(text.size() + 1, &byte, 1), 0U);
}

TEST_P(EveryContents, ContinuesAnUploadInAnotherProcess)
{
    receive(upload, text.substr(0, 20));
    EXPECT_EQ(contents().keptBytes(upload), 20U);
    opened = open();
    EXPECT_EQ(contents().keptBytes(upload), 20U);
    {
        const auto receiver = contents().receive(upload);
        EXPECT_EQ(receiver->offset(), 20U);
        receiver->append(text.data() + 20, text.size() - 20);
        EXPECT_EQ(receiver->finish(), sha256Hex(text));
    }
    EXPECT_EQ(readAll(*contents().open(adopt(upload)), 100), text);
}

TEST_P(EveryContents, ContinuesAtTheKeptBytesAfterASuspension)
{
    {
        const auto receiver = contents().receive(upload);
        receiver->append(text.data(), 30); // not flushed
    }
    const auto kept = static_cast<std::size_t>(contents().keptBytes(upload));
    ASSERT_LE(kept, 30U);
    const auto receiver = contents().receive(upload);
    ASSERT_EQ(receiver->offset(), kept);
    receiver->append(text.data() + kept, text.size() - kept);
    EXPECT_EQ(receiver->finish(), sha256Hex(text));
}

TEST_P(EveryContents, KeepsTheReceivedBytesWhenTheLinkIsCut)
{
    {
        const auto receiver = contents().receive(upload);
        receiver->append(text.data(), 30);
        receiver->suspend();
    }
    EXPECT_EQ(contents().keptBytes(upload), 30U);
}

TEST_P(EveryContents, ReadsTheReceivedBytesOfAnUpload)
{
    receive(upload, text.substr(0, 20));
    const auto reader = contents().openUpload(upload);
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->sizeBytes(), 20U);
    EXPECT_EQ(readAll(*reader, 3), text.substr(0, 20));
    EXPECT_FALSE(contents().openUpload("unknown"));
}

TEST_P(EveryContents, KeepsTheUploadIfTheTransactionFails)
{
    receive(upload, text);
    {
        const auto receiver = contents().receive(upload);
        receiver->finish();
        const auto adoption = receiver->adopt();
        EXPECT_THROW(database.writeNow([&adoption](store::Transaction& t) {
            adoption->join(t);
            throw std::runtime_error("the files cannot be added");
        }),
                     std::runtime_error);
        adoption->rolledBack();
    }
    EXPECT_EQ(contents().keptBytes(upload), text.size());
    EXPECT_FALSE(contents().open(sha256Hex(text)));
    EXPECT_EQ(readAll(*contents().open(adopt(upload)), 100), text);
}

TEST_P(EveryContents, KeepsACommittedContentIfItsRequestEndsAtOnce)
{
    receive(upload, text);
    {
        const auto receiver = contents().receive(upload);
        receiver->finish();
        const auto adoption = receiver->adopt();
        database.writeNow([&adoption](store::Transaction& t) { adoption->join(t); });
    }
    const auto reader = contents().open(sha256Hex(text));
    ASSERT_TRUE(reader);
    EXPECT_EQ(readAll(*reader, 100), text);
}

TEST_P(EveryContents, StoresEqualContentsOnce)
{
    receive(upload, text);
    receive(upload + "b", text);
    const std::string sha256 = adopt(upload);
    EXPECT_EQ(adopt(upload + "b"), sha256);
    EXPECT_EQ(contents().keptBytes(upload + "b"), 0U);
    EXPECT_EQ(readAll(*contents().open(sha256), 100), text);
}

TEST_P(EveryContents, TakesAnEmptyUpload)
{
    EXPECT_EQ(adopt(upload), sha256Hex(""));
    const auto reader = contents().open(sha256Hex(""));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->sizeBytes(), 0U);
    EXPECT_EQ(readAll(*reader, 1), "");
}

TEST_P(EveryContents, StartsARemovedUploadAt0)
{
    receive(upload, text);
    contents().removeUpload(upload);
    EXPECT_EQ(contents().keptBytes(upload), 0U);
    contents().removeUpload(upload);
    receive(upload, "x");
    EXPECT_EQ(adopt(upload), sha256Hex("x"));
}

TEST_P(EveryContents, RemovesAContent)
{
    receive(upload, text);
    const std::string sha256 = adopt(upload);
    contents().remove(sha256);
    EXPECT_FALSE(contents().open(sha256));
    contents().remove(sha256);
    receive(upload, text);
    EXPECT_EQ(readAll(*contents().open(adopt(upload)), 100), text);
}

TEST_P(EveryContents, HasNoUnknownContent)
{
    EXPECT_FALSE(contents().open(sha256Hex("unknown")));
    EXPECT_EQ(contents().keptBytes("unknown"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Stores, EveryContents, testing::ValuesIn(contentsKinds()),
                         [](const testing::TestParamInfo<ContentsKind>& kind) {
                             return kind.param.name;
                         });

} // namespace
} // namespace kelvo::chunks
