// Counts the files in the console's folders. The count has its own thread.
#pragma once

#include "core/KelvoRecords.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace console {

struct TFolderFigures
{
    // Empty: the folder cannot be read, or the category has none.
    struct TCount
    {
        std::optional<int> downloaded;
        std::optional<int> toSend;
    };

    std::array<TCount, KELVO_PROJECT_COUNT> categories;
    std::optional<std::int64_t> freeBytes; // on the medium of the data folder; empty: not known
};

// Counts what the file controller lists: archives to send, downloaded files and folders. Blocks
// until the medium answers. From any thread. `isStopped` ends the count early.
TFolderFigures CountFolders(const std::atomic<bool>& isStopped);

// Thread: main. A separate thread counts, one count at a time. No function waits for
// the disk, but the destructor waits up to 1 s for a running count. A count that hangs on a dead
// medium longer is left alone: its thread ends with the process.
class TFolderCounter
{
public:
    using TClock = std::chrono::steady_clock;
    using TCount = std::function<TFolderFigures(const std::atomic<bool>& isStopped)>;

    // The time between two counts, because other programs also change the folders.
    static constexpr std::chrono::seconds period{5};
    // If a count takes longer, the medium does not answer, and no figures are shown.
    static constexpr std::chrono::seconds countLimit{5};

    explicit TFolderCounter(TCount count = CountFolders);
    ~TFolderCounter();
    TFolderCounter(const TFolderCounter&) = delete;
    TFolderCounter& operator=(const TFolderCounter&) = delete;

    // The folders may have changed: the next Look() begins a count.
    void Refresh() { m_isChanged = true; }
    // Begins a count when it is due. Returns the figures of the last count; empty before the first
    // count and while the medium does not answer.
    std::optional<TFolderFigures> Look(TClock::time_point now);

private:
    struct TShared;

    const std::shared_ptr<TShared> m_shared;
    bool m_isChanged = true;
    bool m_isCounting = false;
    TFolderFigures m_figures;
    std::optional<TClock::time_point> m_countedAt;
    TClock::time_point m_begun; // the running count
};

} // namespace console
