#include "tools/herd/Figures.h"

#include <nlohmann/json.hpp>

#include <iomanip>
#include <ostream>

namespace herd {

namespace {

struct Column
{
    const char* name;
    double share; // 0: the longest duration
};
constexpr Column columns[] = {{"p50", 0.5}, {"p95", 0.95}, {"p99", 0.99}, {"max", 0}};

double toMs(std::chrono::microseconds duration)
{
    return static_cast<double>(duration.count()) / 1000;
}

double valueOf(const Column& column, const Histogram& row)
{
    return toMs(column.share > 0 ? row.percentile(column.share) : row.most());
}

const char* nameOf(EKind kind)
{
    return kindNames[static_cast<std::size_t>(kind)];
}

} // namespace

void Figures::succeed(EKind kind, std::chrono::steady_clock::duration taken)
{
    rows_[static_cast<std::size_t>(kind)].add(
        std::chrono::duration_cast<std::chrono::microseconds>(taken));
}

void Figures::fail(EKind kind, std::string_view reason)
{
    ++reasons_[{kind, std::string(reason)}];
    ++failures_;
}

std::uint64_t Figures::failuresOf(EKind kind) const
{
    std::uint64_t sum = 0;
    for (const auto& [key, count] : reasons_) {
        sum += key.first == kind ? count : 0;
    }
    return sum;
}

void Figures::print(std::ostream& out) const
{
    out << std::left << std::setw(14) << "ms" << std::right << std::setw(10) << "count"
        << std::setw(10) << "failed";
    for (const Column& column : columns) {
        out << std::setw(12) << column.name;
    }
    out << '\n' << std::fixed << std::setprecision(1);
    for (std::size_t i = 0; i < kindCount; ++i) {
        const std::uint64_t failed = failuresOf(static_cast<EKind>(i));
        if (rows_[i].count() + failed == 0) {
            continue;
        }
        out << std::left << std::setw(14) << kindNames[i] << std::right << std::setw(10)
            << rows_[i].count() << std::setw(10) << failed;
        for (const Column& column : columns) {
            out << std::setw(12) << valueOf(column, rows_[i]);
        }
        out << '\n';
    }
    for (const auto& [key, count] : reasons_) {
        out << "failed: " << nameOf(key.first) << ": " << key.second << ": " << count << '\n';
    }
}

nlohmann::json Figures::toJson() const
{
    nlohmann::json all = nlohmann::json::object();
    for (std::size_t i = 0; i < kindCount; ++i) {
        nlohmann::json row = {{"count", rows_[i].count()}, {"failures", nlohmann::json::object()}};
        for (const Column& column : columns) {
            row[std::string(column.name) + "_ms"] = valueOf(column, rows_[i]);
        }
        all[kindNames[i]] = std::move(row);
    }
    for (const auto& [key, count] : reasons_) {
        all[nameOf(key.first)]["failures"][key.second] = count;
    }
    return all;
}

} // namespace herd
