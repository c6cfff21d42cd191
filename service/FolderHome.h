// The contents in a folder of this machine.
#pragma once

#include "service/ContentsHome.h"
#include "service/DataFolder.h"
#include "service/content/FolderContents.h"

#include <optional>

namespace kelvo {

/** Reads and writes on the pool for files. */
class FolderHome final : public ContentsHome
{
public:
    /**
     * `folder`: empty: the data folder. `isRecorded`: the database had its files there before.
     * Throws StartRefused.
     */
    FolderHome(const std::filesystem::path& folder, const HomeParts& parts, bool isRecorded);

    content::Contents& contents() override { return contents_; }
    WorkPool& pool() override { return parts_.filePool; }
    content::ContentStore* folder() override { return &store_; }
    std::filesystem::path scratchFolder() const override { return root_ / "uploads"; }
    DiskReserve* scratchReserve() override { return reserve_; }
    void removeUnused() override {} // the clean-up looks at the folder itself
    void probe() override;
    void showIn(metrics::Metrics&) const override {}
    void beginStop() override {}
    void finish() override { parts_.filePool.stop(); }

private:
    HomeParts parts_;
    std::filesystem::path root_;
    std::optional<DataFolder> lock_; // of a folder that is not the data folder
    DiskReserve* reserve_;           // null: the folder is on another disk than the database
    content::ContentStore store_;
    content::DigestCache digests_;
    content::FolderContents contents_;
};

} // namespace kelvo
