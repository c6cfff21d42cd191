#include "tools/herd/Ledger.h"

#include <nlohmann/json.hpp>

#include <ostream>
#include <set>
#include <utility>

namespace herd {

namespace {

struct Text
{
    const char* name;
    const char* sentence;
};
constexpr std::array<Text, invariantCount> texts = {{
    {"answered-digest", "The answer to an upload has the digest of the sent bytes."},
    {"stored", "An acknowledged upload is listed by the service, with its digest."},
    {"stored-once", "An upload is on the service once."},
    {"stored-bytes", "A stored file that is read back has the bytes that were sent."},
    {"event-order", "The events of a stream come in order, and each comes once."},
    {"same-files", "Snapshot and events of a console give the files that the service lists."},
    {"downloaded-digest", "A download has the digest that the service states."},
}};

std::string describe(std::int32_t id)
{
    return "file " + std::to_string(id);
}

} // namespace

bool Invariants::check(EInvariant invariant, bool holds, const std::string& example)
{
    Row& row = rows_[static_cast<std::size_t>(invariant)];
    ++row.checked;
    if (!holds && row.broken++ == 0) {
        row.example = example;
    }
    return holds;
}

std::uint64_t Invariants::brokenOf(EInvariant invariant) const
{
    return rows_[static_cast<std::size_t>(invariant)].broken;
}

std::uint64_t Invariants::broken() const
{
    std::uint64_t sum = 0;
    for (const Row& row : rows_) {
        sum += row.broken;
    }
    return sum;
}

void Invariants::print(std::ostream& out) const
{
    for (std::size_t i = 0; i < invariantCount; ++i) {
        const Row& row = rows_[i];
        out << (row.broken > 0    ? "BROKEN "
                : row.checked > 0 ? "holds  "
                                  : "none   ")
            << texts[i].sentence << " Checked: " << row.checked;
        if (row.broken > 0) {
            out << ", broken: " << row.broken << ", first: " << row.example;
        }
        out << '\n';
    }
}

nlohmann::json Invariants::toJson() const
{
    nlohmann::json all = nlohmann::json::object();
    for (std::size_t i = 0; i < invariantCount; ++i) {
        all[texts[i].name] = {{"checked", rows_[i].checked}, {"broken", rows_[i].broken}};
    }
    return all;
}

void Ledger::acknowledge(const StoredFile& file, Clock::time_point now)
{
    stored_.push_back(file);
    Delivery& delivery = deliveries_[file.id];
    delivery.acknowledged = now;
    for (; delivery.early > 0; --delivery.early) {
        figures_.succeed(EKind::Event, Clock::duration(0));
    }
}

void Ledger::see(std::int32_t id, Clock::time_point openSince, Clock::time_point now)
{
    Delivery& delivery = deliveries_[id];
    if (!delivery.acknowledged) {
        ++delivery.early;
        return;
    }
    const bool wasOpen = openSince <= *delivery.acknowledged;
    figures_.succeed(wasOpen ? EKind::Event : EKind::ResumedEvent, now - *delivery.acknowledged);
}

void Ledger::check(const std::vector<ListedFile>& files, const std::string& ownPrefix)
{
    std::unordered_map<std::int32_t, const ListedFile*> byId;
    std::set<std::pair<std::int32_t, std::string>> names;
    for (const ListedFile& file : files) {
        byId[file.id] = &file;
        if (file.name.starts_with(ownPrefix)) {
            invariants_.check(EInvariant::StoredOnce, names.emplace(file.inbox, file.name).second,
                              describe(file.id) + " has the name of another file");
        }
    }
    for (const StoredFile& file : stored_) {
        const auto found = byId.find(file.id);
        const bool isStored = found != byId.end() && found->second->inbox == file.inbox &&
                              found->second->digest == toHex(file.digest);
        invariants_.check(EInvariant::Stored, isStored, describe(file.id));
    }
}

} // namespace herd
