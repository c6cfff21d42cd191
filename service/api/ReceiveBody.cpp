// Moves a request's body into an upload.
#include "service/api/ReceiveBody.h"

#include <boost/asio/experimental/awaitable_operators.hpp>

#include <algorithm>
#include <array>
#include <memory>

namespace kelvo::api {

namespace {

constexpr std::uint64_t bufferBytes = 256 * 1024;

Async<void> append(content::UploadWriter& writer, WorkPool& pool, const char* data,
                   std::size_t sizeBytes)
{
    std::function<void()> work = [&writer, data, sizeBytes] { writer.append(data, sizeBytes); };
    co_await pool.run(std::move(work));
}

} // namespace

Async<bool> receiveBody(http::BodyReader& body, content::UploadWriter& writer, WorkPool& pool)
{
    using namespace asio::experimental::awaitable_operators;

    const auto size = static_cast<std::size_t>(std::min(bufferBytes, body.remainingBytes()));
    std::array buffers{std::make_unique<char[]>(size), std::unique_ptr<char[]>()};
    http::IoResult got = co_await body.fill(asio::buffer(buffers[0].get(), size));
    while (!got.error && body.remainingBytes() > 0) {
        if (!buffers[1]) {
            buffers[1] = std::make_unique<char[]>(size);
        }
        got = co_await (body.fill(asio::buffer(buffers[1].get(), size)) &&
                        append(writer, pool, buffers[0].get(), got.bytes));
        std::swap(buffers[0], buffers[1]);
    }
    co_await append(writer, pool, buffers[0].get(), got.bytes);
    co_return !got.error;
}

} // namespace kelvo::api
