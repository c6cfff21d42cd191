// The acknowledged uploads, and the invariants that must hold for them.
#pragma once

#include "tools/herd/Async.h"
#include "tools/herd/Figures.h"
#include "tools/herd/Sha256.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace herd {

enum class EInvariant : std::uint8_t {
    AnsweredDigest,
    Stored,
    StoredOnce,
    StoredBytes,
    EventOrder,
    SameFiles,
    DownloadedDigest,
};
inline constexpr std::size_t invariantCount = 7;

/** Counts how often each invariant was checked and broken. */
class Invariants
{
public:
    /** `example` names what is broken; the report has the first one. Returns `holds`. */
    bool check(EInvariant invariant, bool holds, const std::string& example);

    std::uint64_t brokenOf(EInvariant invariant) const;
    std::uint64_t broken() const;

    void print(std::ostream& out) const;
    nlohmann::json toJson() const;

private:
    struct Row
    {
        std::uint64_t checked = 0;
        std::uint64_t broken = 0;
        std::string example; // the first
    };
    std::array<Row, invariantCount> rows_;
};

/** One file of an acknowledged upload. */
struct StoredFile
{
    std::int32_t id = 0;
    std::int32_t inbox = 0;
    Sha256::Digest digest{};
};

/** A file in an account, as the service lists it. */
struct ListedFile
{
    std::int32_t id = 0;
    std::int32_t inbox = 0;
    std::string name;
    std::string digest; // hexadecimal
};

/**
 * The uploads of one farm. Memory: about 100 bytes for each file. Thread: one. The events of a file
 * may come before the answer to its upload.
 */
class Ledger
{
public:
    Ledger(Figures& figures, Invariants& invariants) : figures_(figures), invariants_(invariants) {}

    void acknowledge(const StoredFile& file, Clock::time_point now);
    /** An event stream that is open since `openSince` has brought the file. */
    void see(std::int32_t id, Clock::time_point openSince, Clock::time_point now);

    /**
     * Compares the farm's files with the acknowledged uploads. `ownPrefix` begins the names of this
     * run's files.
     */
    void check(const std::vector<ListedFile>& files, const std::string& ownPrefix);

    /** The files of all acknowledged uploads. */
    const std::vector<StoredFile>& stored() const { return stored_; }

private:
    struct Delivery
    {
        std::optional<Clock::time_point> acknowledged;
        int early = 0; // events before the answer
    };

    Figures& figures_;
    Invariants& invariants_;
    std::vector<StoredFile> stored_;
    std::unordered_map<std::int32_t, Delivery> deliveries_; // by file
};

} // namespace herd
