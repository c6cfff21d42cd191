// The contents in a folder of this machine.
#pragma once

#include "service/content/ContentStore.h"
#include "service/content/Contents.h"
#include "service/content/UploadWriter.h"

namespace kelvo::content {

/** Reads do not check digests: see Integrity. The references outlive it. */
class FolderContents final : public Contents
{
public:
    /** `reserve`: the room that uploads must leave; null: the disk has no reserve. */
    FolderContents(const ContentStore& store, DigestCache& digests, DiskReserve* reserve = nullptr);

    /** The steps of the readers and writers are small. */
    std::uint64_t receiverMemory(long long) const override { return 0; }
    std::uint64_t readerMemory(long long) const override { return 0; }

    std::uint64_t keptBytes(const std::string& upload) override;
    std::unique_ptr<Receiver> receive(const std::string& upload) override;
    void requireRoom(long long sizeBytes) override;
    std::unique_ptr<Reader> openUpload(const std::string& upload) override;
    void removeUpload(const std::string& upload) override;
    std::unique_ptr<Reader> open(const std::string& sha256) override;
    void remove(const std::string& sha256) override;

private:
    const ContentStore& store_;
    DigestCache& digests_;
    DiskReserve* reserve_;
};

} // namespace kelvo::content
