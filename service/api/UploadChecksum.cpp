#include "service/api/UploadChecksum.h"

#include "service/api/ReceiveBody.h"
#include "service/base/Encoding.h"
#include "service/http/Problem.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

#include <unistd.h>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

/** A step is short enough that other work gets its turn on the pool. */
constexpr std::size_t appendStepBytes = 1024 * 1024;

struct Algorithm
{
    const char* name; // in the header
    const char* library;
    std::size_t digestBytes;
};
constexpr std::array supportedAlgorithms{Algorithm{"sha1", "SHA1", 20},
                                         Algorithm{"sha256", "SHA256", 32}};

} // namespace

void Checksum::Free::operator()(evp_md_ctx_st* context) const
{
    EVP_MD_CTX_free(context);
}

Checksum::Checksum(const char* algorithm, std::string wanted)
    : context_(EVP_MD_CTX_new()), wanted_(std::move(wanted))
{
    const std::unique_ptr<EVP_MD, void (*)(EVP_MD*)> digest(
        EVP_MD_fetch(nullptr, algorithm, nullptr), EVP_MD_free);
    if (!context_ || !digest || EVP_DigestInit_ex(context_.get(), digest.get(), nullptr) != 1) {
        throw std::runtime_error("a checksum algorithm is not available");
    }
}

std::optional<Checksum> Checksum::of(const http::Request& request)
{
    const std::string_view header = trimmed(request.header("Upload-Checksum"));
    if (header.empty()) {
        return std::nullopt;
    }
    const std::size_t space = std::min(header.find(' '), header.size());
    auto wanted = fromBase64(trimmed(header.substr(space)));
    for (const Algorithm& algorithm : supportedAlgorithms) {
        if (equalsIgnoringCase(header.substr(0, space), algorithm.name) && wanted &&
            wanted->size() == algorithm.digestBytes) {
            return Checksum(algorithm.library, std::move(*wanted));
        }
    }
    throw Problem(EProblem::MalformedRequest,
                  "Upload-Checksum must be sha1 or sha256 and the digest in base64.");
}

void Checksum::add(const void* data, std::size_t sizeBytes)
{
    if (EVP_DigestUpdate(context_.get(), data, sizeBytes) != 1) {
        throw std::runtime_error("a checksum failed");
    }
}

bool Checksum::matches()
{
    std::string digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int size = 0;
    if (EVP_DigestFinal_ex(context_.get(), reinterpret_cast<unsigned char*>(digest.data()),
                           &size) != 1) {
        throw std::runtime_error("a checksum failed");
    }
    digest.resize(size);
    return digest == wanted_;
}

Async<bool> receiveChecked(Context& context, http::Request& request, Checksum& checksum,
                           content::UploadWriter& writer)
{
    auto open = [&context] { return context.contents.openScratch(); };
    const FileDescriptor scratch = co_await context.filePool.run(open);
    const Sink sink = [&context, &scratch, &checksum](const void* data, std::size_t sizeBytes) {
        context.contents.requireReserve();
        writeAll(scratch.get(), data, sizeBytes);
        checksum.add(data, sizeBytes);
    };
    const bool whole = co_await receiveBody(request.body, sink, context.filePool);
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
    co_await appendFile(context, scratch, writer);
    co_return true;
}

Async<void> appendFile(Context& context, const FileDescriptor& file, content::UploadWriter& writer)
{
    auto step = [&file, &writer] { return writer.appendFrom(file.get(), appendStepBytes); };
    std::size_t got = 1;
    while (got > 0) {
        got = co_await context.filePool.run(step);
    }
}

} // namespace kelvo::api
