#include "service/maintenance/FolderSwap.h"

#include "service/DataFolder.h"
#include "service/base/Clock.h"
#include "service/base/Random.h"
#include "service/base/Time.h"

#include <set>
#include <system_error>
#include <utility>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

constexpr const char* replacedPrefix = "replaced-";
constexpr const char* partPrefix = "restore.part-";

/** Renames that the destructor undoes unless keep() was called. */
class Moves
{
public:
    Moves() = default;
    ~Moves()
    {
        for (auto move = done_.rbegin(); move != done_.rend(); ++move) {
            std::error_code ignored;
            fs::rename(move->second, move->first, ignored);
        }
    }
    Moves(const Moves&) = delete;
    Moves& operator=(const Moves&) = delete;

    void move(const fs::path& entry, const fs::path& folder)
    {
        const fs::path to = folder / entry.filename();
        fs::rename(entry, to);
        done_.emplace_back(entry, to);
    }
    void keep() { done_.clear(); }

private:
    std::vector<std::pair<fs::path, fs::path>> done_;
};

fs::path makePrivate(const fs::path& folder)
{
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::owner_all);
    return folder;
}

fs::path makeReplaced(const fs::path& folder)
{
    std::string time = rfc3339(SystemClock().nowMs());
    std::erase_if(time, [](char c) { return c == ':' || c == '-' || c == '.'; });
    fs::path aside = folder / (replacedPrefix + time);
    while (fs::exists(aside)) {
        aside += "+"; // two restores in one second
    }
    return makePrivate(aside);
}

void moveAll(const fs::path& part, const fs::path& folder, const fs::path& aside)
{
    Moves moves;
    for (const fs::path& entry : replaceable(folder)) {
        moves.move(entry, aside);
    }
    syncFolder(aside);
    for (const fs::path& entry : replaceable(part)) {
        moves.move(entry, folder);
    }
    syncFolder(folder);
    moves.keep();
}

} // namespace

bool stays(const std::string& name)
{
    static const std::set<std::string> kept{"lock", "lost+found", unfinishedRestoreName};
    return kept.contains(name) || name.starts_with(replacedPrefix) || name.starts_with(partPrefix);
}

std::vector<fs::path> replaceable(const fs::path& folder)
{
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (!stays(entry.path().filename())) {
            found.push_back(entry.path());
        }
    }
    return found;
}

fs::path makePart(const fs::path& folder)
{
    std::vector<fs::path> left;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with(partPrefix)) {
            left.push_back(entry.path());
        }
    }
    for (const fs::path& part : left) {
        fs::remove_all(part);
    }
    return makePrivate(folder / (partPrefix + randomHex(4)));
}

void swapIn(const fs::path& part, const fs::path& folder, const Owner& owner)
{
    const fs::path mark = folder / unfinishedRestoreName;
    const bool wasMarked = fs::exists(mark);
    const fs::path aside = makeReplaced(folder);
    std::error_code ignored;
    try {
        owner.applyTo(aside);
        replaceFile(mark, "", 0600);
        moveAll(part, folder, aside);
    } catch (...) {
        fs::remove(aside, ignored); // empty again after the undo
        if (!wasMarked) {
            fs::remove(mark, ignored);
        }
        throw;
    }
    fs::remove(mark);
    fs::remove(aside, ignored); // if nothing was moved into it
    fs::remove_all(part, ignored);
    syncFolder(folder);
}

} // namespace kelvo::maintenance
