#include "service/api/AnswerFiles.h"

#include "service/http/Problem.h"

namespace kelvo::api {

namespace {

void refuseIfFull(std::uint64_t held, std::uint64_t added, std::uint64_t most)
{
    if (held > 0 && held + added > most) {
        throw http::Problem(http::EProblem::Busy, "Too many large answers are being read.",
                            {{"Retry-After", "5"}});
    }
}

} // namespace

std::shared_ptr<const FileDescriptor> AnswerFiles::keep(store::Id farm, const std::string& name,
                                                        FileDescriptor file,
                                                        std::uint64_t sizeBytes)
{
    const std::lock_guard lock(mutex_);
    if (const auto known = files_.find(name); known != files_.end()) {
        if (auto equal = known->second.lock()) {
            return equal;
        }
    }
    const auto held = bytes_.find(farm);
    refuseIfFull(held == bytes_.end() ? 0 : held->second, sizeBytes, bytesOfAFarm());
    refuseIfFull(allBytes_, sizeBytes, mostBytes_);
    auto kept = std::make_unique<FileDescriptor>(std::move(file));
    std::shared_ptr<const FileDescriptor> shared(
        kept.release(), [this, farm, name, sizeBytes](const FileDescriptor* done) {
            delete done;
            forget(farm, name, sizeBytes);
        });
    files_[name] = shared;
    bytes_[farm] += sizeBytes;
    allBytes_ += sizeBytes;
    return shared;
}

void AnswerFiles::forget(store::Id farm, const std::string& name, std::uint64_t sizeBytes)
{
    const std::lock_guard lock(mutex_);
    // If an equal answer has replaced the entry, the entry stays.
    if (const auto known = files_.find(name); known != files_.end() && known->second.expired()) {
        files_.erase(known);
    }
    allBytes_ -= sizeBytes;
    const auto held = bytes_.find(farm);
    held->second -= sizeBytes;
    if (held->second == 0) {
        bytes_.erase(held);
    }
}

} // namespace kelvo::api
