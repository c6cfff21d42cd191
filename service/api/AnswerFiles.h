// The files, on the disk or in memory, that hold large answers until their readers have them.
#pragma once

#include "service/base/Files.h"
#include "service/store/Records.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace kelvo::api {

/**
 * Counts the bytes that the answers of each farm hold, so that slow readers cannot fill the disk or
 * the memory. Equal answers share a file: the consoles of one user that log in at the same time
 * need one.
 *
 * Thread: any. Ownership: outlives the files that it returns.
 */
class AnswerFiles
{
public:
    /** `mostBytes` of all farms. The answers of a farm may have an eighth. */
    explicit AnswerFiles(std::uint64_t mostBytes = defaultBytes) : mostBytes_(mostBytes) {}

    static constexpr std::uint64_t defaultBytes = 2ULL * 1024 * 1024 * 1024;
    static constexpr std::uint64_t memoryBytes = 32ULL * 1024 * 1024;

    std::uint64_t bytesOfAFarm() const { return mostBytes_ / 8; }

    /**
     * Returns the file of an equal answer, or takes this file. `name` is equal for equal answers
     * only. If the farm has no other answer, the answer may exceed the limit of a farm. If no farm
     * has an answer, the answer may exceed both limits. Throws Problem (busy).
     */
    std::shared_ptr<const FileDescriptor> keep(store::Id farm, const std::string& name,
                                               FileDescriptor file, std::uint64_t sizeBytes);

private:
    void forget(store::Id farm, const std::string& name, std::uint64_t sizeBytes);

    const std::uint64_t mostBytes_;
    std::mutex mutex_; // guards files_, bytes_ and allBytes_
    std::map<std::string, std::weak_ptr<const FileDescriptor>> files_;
    std::map<store::Id, std::uint64_t> bytes_; // of each farm
    std::uint64_t allBytes_ = 0;
};

} // namespace kelvo::api
