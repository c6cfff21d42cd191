// The checks at the end of a run: what the herd knows, compared with what the service has.
#pragma once

#include "tools/herd/Console.h"
#include "tools/herd/Transfers.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace herd {

/** The consoles of a farm, and their uploads. */
struct Farm
{
    std::unique_ptr<Ledger> ledger;
    std::vector<Console*> members; // the office is the first
};

/** How much the checks have done so far. */
struct Checked
{
    std::size_t farms = 0;
    std::size_t consoles = 0;
    std::size_t consolesOf = 0; // that logged in during the run
    std::size_t contents = 0;   // read back
    std::size_t contentsOf = 0; // chosen to be read back
    std::size_t stored = 0;     // of acknowledged uploads
};

/**
 * Thread: the herd's. The consoles must have ended their work. Their streams still run: a console
 * may need some seconds to learn the last events.
 */
class FinalCheck
{
public:
    /** Reads back at most `mostContents` files. If there are more, `seed` chooses. */
    FinalCheck(Run& run, std::vector<Farm>& farms, std::size_t mostContents, std::uint64_t seed);

    /** Compares all farms, again and again until `end`, and then reads files back without a limit.
     */
    Async<void> run(Clock::time_point end);

    const Checked& checked() const { return checked_; }

private:
    using Files = std::vector<ListedFile>;

    void choose();
    Async<void> checkFarm(std::size_t number);
    Async<std::optional<Files>> compare(Line& line, Farm& farm);
    bool hasVerdict(Console& console, const Files& listed, Clock::time_point asked);
    Async<void> readBack(Line& line, StoredFile file);

    Run& run_;
    std::vector<Farm>& farms_;
    std::size_t mostContents_;
    Random random_;
    Clock::time_point begin_;
    Clock::time_point end_;
    std::vector<std::vector<StoredFile>> chosen_; // by farm
    Checked checked_;
};

} // namespace herd
