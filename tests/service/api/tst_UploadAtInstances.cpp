// The offset of an upload that another instance finishes in the same moment.
#include "service/api/UploadSteps.h"
#include "service/http/Problem.h"
#include "tests/service/support/ApiFixture.h"
#include "tests/service/support/IdleRequest.h"

#include <gmock/gmock.h>

#include <functional>

namespace kelvo::api {
namespace {

/** Calls a function before each look at an upload, on the caller's thread. */
class WatchedContents final : public content::Contents
{
public:
    WatchedContents(content::Contents& inner, std::function<void()> before)
        : inner_(inner), before_(std::move(before))
    {}

    std::uint64_t keptBytes(const std::string& upload) override
    {
        before_();
        const std::uint64_t bytes = inner_.keptBytes(upload);
        before_();
        return bytes;
    }

    std::unique_ptr<content::Receiver> receive(const std::string& upload) override
    {
        before_();
        return inner_.receive(upload);
    }

    std::uint64_t receiverMemory(long long size) const override
    {
        return inner_.receiverMemory(size);
    }
    std::uint64_t readerMemory(long long size) const override { return inner_.readerMemory(size); }
    void requireRoom(long long size) override { inner_.requireRoom(size); }
    std::unique_ptr<content::Reader> openUpload(const std::string& upload) override
    {
        return inner_.openUpload(upload);
    }
    void removeUpload(const std::string& upload) override { inner_.removeUpload(upload); }
    std::unique_ptr<content::Reader> open(const std::string& sha256) override
    {
        return inner_.open(sha256);
    }
    void remove(const std::string& sha256) override { inner_.remove(sha256); }

private:
    content::Contents& inner_;
    std::function<void()> before_;
};

/** `context` is the other instance, `watching` the instance of the test's requests. */
class UploadAtInstances : public test::ApiFixture
{
protected:
    store::Upload received(const std::string& text)
    {
        const store::Upload upload = begin("a.zip", static_cast<long long>(text.size()));
        folderContents.receive(upload.id)->append(text.data(), text.size());
        return upload;
    }

    /** The other instance finishes the upload at the look with this number, from 0 on. */
    void finishAtLook(const store::Upload& upload, int number)
    {
        onLook = [this, upload, number, looks = 0]() mutable {
            if (looks++ == number) {
                test::Loop other;
                const auto receiver = folderContents.receive(upload.id);
                other.run(finishUpload(context, upload, *receiver, "192.0.2.1"));
            }
        };
    }

    std::function<void()> onLook;
    WatchedContents watched{folderContents, [this] { onLook(); }};
    ActiveUploads ownUploads;
    Context watching = contextWith(watched, ownUploads);
};

TEST_F(UploadAtInstances, IsFinishedAtItsWholeLengthForAHead)
{
    std::size_t made = 0;
    for (auto* step : {stopAndInspect, resumeCreation}) {
        for (int look = 0; look < 3; ++look) {
            const store::Upload upload = received("abc");
            finishAtLook(upload, look);
            test::IdleRequest idle(loop.io());
            const Progress progress = loop.run(step(watching, idle.request, upload));
            EXPECT_EQ(files().size(), ++made) << "look " << look;
            EXPECT_TRUE(progress.upload.finished) << "look " << look;
            EXPECT_EQ(progress.offset, 3) << "look " << look;
        }
    }
}

TEST_F(UploadAtInstances, HasItsWholeLengthForAPartThatComesLate)
{
    for (int look = 0; look < 3; ++look) {
        const store::Upload upload = received("abc");
        finishAtLook(upload, look);
        test::IdleRequest idle(loop.io());
        try {
            loop.run(receivePart(watching, idle.request, upload, 3));
            FAIL() << "look " << look;
        } catch (const http::Problem& problem) {
            EXPECT_EQ(problem.kind(), http::EProblem::UploadOffsetMismatch);
            EXPECT_THAT(problem.toResponse().headers,
                        testing::Contains(testing::Pair("Upload-Offset", "3")))
                << "look " << look;
        }
    }
}

} // namespace
} // namespace kelvo::api
