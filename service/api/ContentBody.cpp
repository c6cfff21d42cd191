#include "service/api/ContentBody.h"

#include "service/api/CheckedSource.h"
#include "service/api/ContentSource.h"
#include "service/base/Log.h"
#include "service/http/Problem.h"

#include <memory>
#include <optional>

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
    std::shared_ptr<content::Reader> reader; // null: the content is missing
    content::FileStamp stamp;                // not of a reader that checks the bytes itself
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
    CheckedSource source(stored.reader, static_cast<std::uint64_t>(file.sizeBytes), file.sha256,
                         context.contentPool, onResult);
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
    CheckedSource source(std::move(stored.reader), static_cast<std::uint64_t>(file.sizeBytes),
                         file.sha256, context.contentPool,
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
    return std::make_shared<CheckedSource>(std::move(stored.reader),
                                           static_cast<std::uint64_t>(file.sizeBytes), file.sha256,
                                           context.contentPool, onResult);
}

std::shared_ptr<http::BodySource> rangeSource(Context& context, const store::File& file,
                                              store::Id farm, Stored stored,
                                              const http::RangeChoice& range)
{
    const auto onFailure = [&context, file, farm](ECondition condition) {
        report(context, condition, file, farm);
    };
    return std::make_shared<ContentSource>(std::move(stored.reader), range.offset, range.length,
                                           context.contentPool, onFailure);
}

std::string readRange(content::Reader& reader, std::uint64_t offset, std::size_t sizeBytes)
{
    std::string bytes(sizeBytes, ' ');
    for (std::size_t at = 0; at < sizeBytes;) {
        const std::size_t got = reader.read(offset + at, bytes.data() + at, sizeBytes - at);
        if (got == 0) {
            throw content::DamagedContent();
        }
        at += got;
    }
    return bytes;
}

/**
 * The reader checks the bytes itself, so only the range is read. The first bytes are read before
 * the answer starts: if they are damaged, the answer is a problem.
 */
Async<void> addSelfChecked(Context& context, const store::File& file, store::Id farm, Stored stored,
                           const http::RangeChoice& range, http::Response& response)
{
    const bool isSmall = range.length <= smallBytes;
    auto begin = [&stored, &range, isSmall] {
        return readRange(*stored.reader, range.offset,
                         isSmall ? static_cast<std::size_t>(range.length) : 1);
    };
    try {
        std::string bytes = co_await context.contentPool.run(begin);
        if (isSmall) {
            response.body = std::move(bytes);
        } else {
            response.source = rangeSource(context, file, farm, std::move(stored), range);
        }
    } catch (const content::DamagedContent&) {
        refuse(context, ECondition::Damaged, file, farm);
    }
}

/** The reader checks nothing. `stored` is not known to be damaged. */
Async<void> addFromFile(Context& context, const store::File& file, store::Id farm, Stored stored,
                        const http::RangeChoice& range, http::Response& response)
{
    const auto size = static_cast<std::uint64_t>(file.sizeBytes);
    if (size <= smallBytes) {
        std::string bytes;
        const ECondition found = co_await readSmall(context, file, std::move(stored), bytes);
        if (found != ECondition::Intact) {
            refuse(context, found, file, farm);
        }
        response.body = bytes.substr(static_cast<std::size_t>(range.offset),
                                     static_cast<std::size_t>(range.length));
        co_return;
    }
    if (range.offset == 0 && range.length == size) {
        response.source = checkedSource(context, file, farm, std::move(stored));
        co_return;
    }
    const ECondition condition = co_await check(context, file, stored);
    if (condition != ECondition::Intact) {
        refuse(context, condition, file, farm);
    }
    response.source = rangeSource(context, file, farm, std::move(stored), range);
}

} // namespace

Async<void> addContent(Context& context, const store::File& file, store::Id farm,
                       const http::RangeChoice& range, bool bodiless, http::Response& response)
{
    const auto memory = co_await context.transferMemory.take(
        farm, bodiless ? 0 : context.contents.readerMemory(file.sizeBytes));
    auto open = [&context, &file] { return context.contents.open(file.sha256); };
    auto opened = co_await context.contentPool.run(open);
    Stored stored;
    // The memory is held as long as the reader.
    stored.reader = {opened.release(), [memory](content::Reader* reader) { delete reader; }};
    if (!stored.reader ||
        stored.reader->sizeBytes() != static_cast<std::uint64_t>(file.sizeBytes)) {
        refuse(context, ECondition::Damaged, file, farm);
    }
    const auto stamp = stored.reader->stamp();
    stored.stamp = stamp.value_or(content::FileStamp());
    if (stamp && context.integrity.conditionOf(file.sha256, *stamp, context.clock.nowMs()) ==
                     ECondition::Damaged) {
        refuse(context, ECondition::Damaged, file, farm);
    }
    if (bodiless) {
        response.source = rangeSource(context, file, farm, std::move(stored), range);
    } else if (stamp) {
        co_await addFromFile(context, file, farm, std::move(stored), range, response);
    } else {
        co_await addSelfChecked(context, file, farm, std::move(stored), range, response);
    }
}

} // namespace kelvo::api
