#include "tools/herd/FinalCheck.h"

#include "tools/herd/ForEach.h"

#include <algorithm>

namespace herd {

namespace {

constexpr std::size_t farmsAtOnce = 4;
constexpr std::chrono::seconds checkAgain{1};
constexpr std::chrono::seconds patience{2}; // before a stream is reopened
constexpr std::chrono::seconds catchUp{5};  // for the events that a reopened stream brings
constexpr int readAttempts = 3;

/** None: the service refuses. */
Async<std::optional<std::vector<ListedFile>>> listFiles(Line& line)
{
    try {
        co_return (co_await fetchSnapshot(line)).files;
    } catch (const GivenUp&) {
        co_return std::nullopt;
    }
}

} // namespace

FinalCheck::FinalCheck(Run& run, std::vector<Farm>& farms, std::size_t mostContents,
                       std::uint64_t seed)
    : run_(run), farms_(farms), mostContents_(mostContents), random_(Random::mix(seed))
{}

Async<void> FinalCheck::run(Clock::time_point end)
{
    begin_ = Clock::now();
    end_ = end;
    for (const Farm& farm : farms_) {
        checked_.consolesOf += static_cast<std::size_t>(
            std::count_if(farm.members.begin(), farm.members.end(),
                          [](const Console* console) { return !console->isAbsent(); }));
    }
    choose();
    co_await forEach(farms_.size(), farmsAtOnce,
                     [this](std::size_t, std::size_t farm) { return checkFarm(farm); });
}

/** Takes each file with the same chance: as many as are wanted, out of those that are left. */
void FinalCheck::choose()
{
    for (const Farm& farm : farms_) {
        checked_.stored += farm.ledger->stored().size();
    }
    checked_.contentsOf = std::min(mostContents_, checked_.stored);
    std::size_t left = checked_.stored;
    std::size_t wanted = checked_.contentsOf;
    chosen_.resize(farms_.size());
    for (std::size_t farm = 0; farm < farms_.size(); ++farm) {
        for (const StoredFile& file : farms_[farm].ledger->stored()) {
            if (random_.next() % left-- < wanted) {
                chosen_[farm].push_back(file);
                --wanted;
            }
        }
    }
}

Async<void> FinalCheck::checkFarm(std::size_t number)
{
    Farm& farm = farms_[number];
    Identity office = farm.members.front()->identity();
    office.isLoggingIn = false; // the copy logs in itself: it is not told when the console has
    Line line(run_.network, office, farm.members.front()->place().number);
    const auto listed = co_await compare(line, farm);
    if (!listed) {
        co_return;
    }
    farm.ledger->check(*listed, run_.id + '-');
    ++checked_.farms;
    for (const StoredFile& file : chosen_[number]) {
        co_await readBack(line, file);
    }
}

/** Repeats the comparison until each console has a verdict. None: the service gave no list. */
Async<std::optional<FinalCheck::Files>> FinalCheck::compare(Line& line, Farm& farm)
{
    std::optional<Files> listed;
    std::vector<Console*> open;
    std::copy_if(farm.members.begin(), farm.members.end(), std::back_inserter(open),
                 [](const Console* console) { return !console->isAbsent(); });
    for (;;) {
        const Clock::time_point asked = Clock::now();
        if (auto newer = co_await listFiles(line)) {
            listed = std::move(newer);
            std::erase_if(open, [&](Console* c) { return hasVerdict(*c, *listed, asked); });
        }
        if ((listed && open.empty()) || Clock::now() >= end_) {
            co_return listed;
        }
        co_await line.sleepUntil(std::min(Clock::now() + checkAgain, end_));
    }
}

/**
 * A difference may come from an event on its way, or from a stream that is cut off unnoticed. So
 * the console first reopens its stream, and the reopened stream gets time for all missed events.
 */
bool FinalCheck::hasVerdict(Console& console, const Files& listed, Clock::time_point asked)
{
    const bool knows = console.isReady() && console.knows(listed);
    const bool isReopened = console.isStreamOpen() && console.openSince() >= begin_;
    if (!knows && !(isReopened && asked - console.openSince() >= catchUp)) {
        if (console.isStreamOpen() && !isReopened && asked - begin_ >= patience) {
            console.reopenStream();
        }
        return false;
    }
    run_.invariants.check(EInvariant::SameFiles, knows, console.user());
    ++checked_.consoles;
    return true;
}

/** A service that refuses the content of an acknowledged file has lost the content. */
Async<void> FinalCheck::readBack(Line& line, StoredFile file)
{
    Fetched fetched;
    for (int left = readAttempts; left > 0 && !fetched.isWhole(); --left) {
        fetched = co_await fetch(line, EKind::ReadBack, file.id, Clock::now());
        if (!fetched.isWhole() && left > 1) {
            co_await line.sleepUntil(Clock::now() + checkAgain);
        }
    }
    run_.invariants.check(EInvariant::StoredBytes,
                          fetched.isWhole() && fetched.digest == file.digest,
                          "file " + std::to_string(file.id));
    ++checked_.contents;
}

} // namespace herd
