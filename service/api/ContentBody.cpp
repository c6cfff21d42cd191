#include "service/api/ContentBody.h"

#include "service/api/CheckedSource.h"
#include "service/api/FileSource.h"
#include "service/base/Log.h"
#include "service/http/Problem.h"

#include <cerrno>
#include <optional>

#include <fcntl.h>

namespace kelvo::api {

using content::ECondition;
using http::EProblem;
using http::Problem;

namespace {

/** A content up to this size is read into memory before its answer starts. */
constexpr std::uint64_t smallBytes = 256 * 1024;
constexpr std::size_t checkStepBytes = 1024 * 1024;

struct Stored
{
    FileDescriptor file;
    content::FileStamp stamp;
};

void report(Context& context, ECondition condition, const store::File& file, store::Id farm)
{
    context.integrity.countDamaged();
    logError(condition == ECondition::Damaged ? "content-damaged" : "content-unreadable",
             "file " + std::to_string(file.id) + " of farm " + std::to_string(farm));
}

[[noreturn]] void refuse(Context& context, ECondition condition, const store::File& file,
                         store::Id farm)
{
    report(context, condition, file, farm);
    throw Problem(EProblem::Internal, condition == ECondition::Damaged
                                          ? "The file is damaged in the service's storage."
                                          : "The file cannot be read in the service's storage.");
}

void remember(Context& context, const store::File& file, const content::FileStamp& stamp,
              ECondition condition)
{
    if (condition != ECondition::Unreadable) {
        context.integrity.put(file.sha256, stamp, condition, context.clock.nowMs());
    }
}

/** Returns no file if the file is missing. */
Stored openStored(Context& context, const store::File& file)
{
    try {
        Stored stored;
        stored.file = context.contents.open(file.sha256);
        stored.stamp = content::stampOf(stored.file.get());
        return stored;
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::no_such_file_or_directory) {
            throw;
        }
        return {};
    }
}

/** Reads the whole content in steps, so that other work gets its turn on the pool. */
Async<ECondition> check(Context& context, const store::File& file, const Stored& stored)
{
    const auto turn = co_await context.integrity.readLock(file.sha256);
    const auto known =
        context.integrity.conditionOf(file.sha256, stored.stamp, context.clock.nowMs());
    if (known != ECondition::Unknown) {
        co_return known;
    }
    std::optional<ECondition> found;
    const auto onResult = [&found](ECondition condition) { found = condition; };
    // A duplicate descriptor: the original goes to the answer.
    FileDescriptor own(::fcntl(stored.file.get(), F_DUPFD_CLOEXEC, 0));
    if (own.get() < 0) {
        throw std::system_error(errno, std::generic_category(), "dup");
    }
    CheckedSource source(std::move(own), static_cast<std::uint64_t>(file.sizeBytes), file.sha256,
                         context.filePool, onResult);
    const auto buffer = std::make_unique<char[]>(checkStepBytes);
    while (!found) {
        co_await source.read(asio::buffer(buffer.get(), checkStepBytes));
    }
    remember(context, file, stored.stamp, *found);
    co_return *found;
}

/** Returns the condition. If it is Intact, `bytes` is the whole content. */
Async<ECondition> readSmall(Context& context, const store::File& file, Stored stored,
                            std::string& bytes)
{
    ECondition found = file.sizeBytes == 0 ? ECondition::Intact : ECondition::Unreadable;
    CheckedSource source(std::move(stored.file), static_cast<std::uint64_t>(file.sizeBytes),
                         file.sha256, context.filePool,
                         [&found](ECondition condition) { found = condition; });
    bytes.resize(static_cast<std::size_t>(file.sizeBytes));
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t got =
            co_await source.read(asio::buffer(bytes.data() + at, bytes.size() - at));
        if (got == 0) {
            break;
        }
        at += got;
    }
    co_return found;
}

std::shared_ptr<http::BodySource> checkedSource(Context& context, const store::File& file,
                                                store::Id farm, Stored stored)
{
    const auto onResult = [&context, file, farm, stamp = stored.stamp](ECondition condition) {
        remember(context, file, stamp, condition);
        if (condition != ECondition::Intact) {
            report(context, condition, file, farm);
        }
    };
    return std::make_shared<CheckedSource>(std::move(stored.file),
                                           static_cast<std::uint64_t>(file.sizeBytes), file.sha256,
                                           context.filePool, onResult);
}

} // namespace

Async<void> addContent(Context& context, const store::File& file, store::Id farm,
                       const http::RangeChoice& range, bool bodiless, http::Response& response)
{
    auto open = [&context, &file] { return openStored(context, file); };
    Stored stored = co_await context.filePool.run(open);
    const auto size = static_cast<std::uint64_t>(file.sizeBytes);
    if (!stored.file || stored.stamp.sizeBytes != file.sizeBytes ||
        context.integrity.conditionOf(file.sha256, stored.stamp, context.clock.nowMs()) ==
            ECondition::Damaged) {
        refuse(context, ECondition::Damaged, file, farm);
    }
    const bool whole = range.offset == 0 && range.length == size;
    if (!bodiless && size <= smallBytes) {
        std::string bytes;
        const ECondition found = co_await readSmall(context, file, std::move(stored), bytes);
        if (found != ECondition::Intact) {
            refuse(context, found, file, farm);
        }
        response.body = bytes.substr(static_cast<std::size_t>(range.offset),
                                     static_cast<std::size_t>(range.length));
        co_return;
    }
    if (!bodiless && whole) {
        response.source = checkedSource(context, file, farm, std::move(stored));
        co_return;
    }
    if (!bodiless) {
        const ECondition condition = co_await check(context, file, stored);
        if (condition != ECondition::Intact) {
            refuse(context, condition, file, farm);
        }
    }
    response.source =
        std::make_shared<FileSource>(std::make_shared<FileDescriptor>(std::move(stored.file)),
                                     range.offset, range.length, context.filePool);
}

} // namespace kelvo::api
