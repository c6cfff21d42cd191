#include "service/api/UploadChecksum.h"

#include "service/api/ReceiveBody.h"
#include "service/base/Encoding.h"
#include "service/http/Problem.h"

#include <cerrno>
#include <memory>

#include <unistd.h>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

/** A step is short enough that other work gets its turn on the pool. */
constexpr std::size_t appendStepBytes = 1024 * 1024;

} // namespace

std::optional<Checksum> checksumOf(const http::Request& request)
{
    const std::string_view header = trimmed(request.header("Upload-Checksum"));
    if (header.empty()) {
        return std::nullopt;
    }
    const std::size_t space = std::min(header.find(' '), header.size());
    auto wanted = fromBase64(trimmed(header.substr(space)));
    auto checksum = Checksum::of(header.substr(0, space), wanted.value_or(std::string()));
    if (!checksum) {
        throw Problem(EProblem::MalformedRequest,
                      "Upload-Checksum must be sha1 or sha256 and the digest in base64.");
    }
    return checksum;
}

namespace {

std::size_t readFrom(int file, void* buffer, std::size_t mostBytes)
{
    ssize_t got = 0;
    do {
        got = ::read(file, buffer, mostBytes);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        throwErrno("read");
    }
    return static_cast<std::size_t>(got);
}

} // namespace

Async<bool> receiveChecked(Context& context, http::Request& request, Checksum& checksum,
                           content::Receiver& receiver)
{
    auto open = [&context] { return openScratch(context.scratchFolder); };
    const FileDescriptor scratch = co_await context.filePool.run(open);
    const Sink sink = [&context, &scratch, &checksum](const void* data, std::size_t sizeBytes) {
        if (context.scratchReserve != nullptr) {
            context.scratchReserve->requireWhole();
        }
        writeAll(scratch.get(), data, sizeBytes);
        checksum.add(data, sizeBytes);
    };
    const Pause none;
    const bool whole = co_await receiveBody(request.body, sink, context.filePool, none);
    if (!whole) {
        co_return false;
    }
    if (!checksum.matches()) {
        throw Problem(EProblem::ChecksumMismatch,
                      "The body has another checksum. It was dropped; send it again.");
    }
    if (::lseek(scratch.get(), 0, SEEK_SET) < 0) {
        throwErrno("lseek");
    }
    ReadNext readNext = [&scratch](void* buffer, std::size_t mostBytes) {
        return readFrom(scratch.get(), buffer, mostBytes);
    };
    co_await appendAll(context, std::move(readNext), receiver);
    co_return true;
}

Async<void> appendAll(Context& context, ReadNext readNext, content::Receiver& receiver)
{
    const auto buffer = std::make_unique<char[]>(appendStepBytes);
    auto step = [&readNext, &receiver, &buffer] {
        const std::size_t got = readNext(buffer.get(), appendStepBytes);
        receiver.append(buffer.get(), got);
        return got;
    };
    std::size_t got = 1;
    while (got > 0) {
        got = co_await context.contentPool.run(step);
    }
}

} // namespace kelvo::api
