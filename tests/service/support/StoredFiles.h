// A farm with files in an inbox and in the bin, and an unfinished upload.
#pragma once

#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "tests/service/support/ApiFixture.h"

namespace kelvo::test {

class StoredFiles : public ApiFixture
{
protected:
    StoredFiles()
    {
        addFile("field.zip", "a field");
        addFile("again.zip", "a field");
        const store::File removed = addFile("removed.zip", "in the bin");
        database.writeNow([&](store::Transaction& t) {
            store::moveToBin(t, user.farmId(), removed.id, "olga", clock.nowMs());
        });
        open = begin("half.zip", 10);
        content::UploadWriter writer(contents, digests, open.id);
        writer.append("hello", 5);
    }

    store::File addFile(const std::string& name, const std::string& text)
    {
        const store::Upload upload = begin(name, static_cast<long long>(text.size()));
        const auto receiver = folderContents.receive(upload.id);
        receiver->append(text.data(), text.size());
        return loop.run(api::finishUpload(context, upload, *receiver, "192.0.2.1")).files.front();
    }

    std::filesystem::path pathOf(const std::string& text) const
    {
        return contents.contentPath(sha256Hex(text));
    }

    store::Upload open;
};

} // namespace kelvo::test
