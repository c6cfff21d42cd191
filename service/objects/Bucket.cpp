#include "service/objects/Bucket.h"

#include "service/base/Digest.h"
#include "service/base/Encoding.h"
#include "service/objects/ObjectErrors.h"

#include <openssl/rand.h>

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace kelvo::objects {

namespace {

constexpr std::size_t longestKey = 200;
constexpr std::size_t longestCode = 64;

bool isKeyCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-_/.").find(c) != std::string_view::npos;
}

void requireKey(const std::string& key)
{
    if (key.empty() || key.size() > longestKey ||
        !std::all_of(key.begin(), key.end(), isKeyCharacter)) {
        throw std::invalid_argument("not a key of an object");
    }
}

/** The store's word for a refusal, such as AccessDenied; empty if the answer has none. */
std::string codeOf(const std::string& body)
{
    constexpr std::string_view begin = "<Code>";
    const std::size_t at = body.find(begin);
    if (at == std::string::npos) {
        return {};
    }
    const auto first = body.begin() + static_cast<std::ptrdiff_t>(at + begin.size());
    const auto last = std::find_if_not(first, body.end(), isKeyCharacter);
    return {first, std::min(last, first + static_cast<std::ptrdiff_t>(longestCode))};
}

bool isRetryable(const Answer& answer)
{
    switch (answer.status) {
    case 0:
        return answer.isRetryable;
    case 400:
        return codeOf(answer.body) == "RequestTimeout";
    case 408:
    case 429:
    case 500:
    case 502:
    case 503:
    case 504:
        return true;
    default:
        return false;
    }
}

std::string reasonOf(const Answer& answer)
{
    if (answer.status == 0) {
        return answer.failure;
    }
    const std::string code = codeOf(answer.body);
    return "status " + std::to_string(answer.status) + (code.empty() ? "" : " " + code);
}

} // namespace

struct Bucket::Call
{
    std::string method;
    const std::string& key;
    std::string_view body = {};
    std::string sha256 = sha256Hex({}); // of the body
    std::string range = {};
    std::size_t mostBytes = 0;
};

/** An idle connection or a new one; idle again when the exchange is over. */
class Bucket::BorrowedExchange
{
public:
    explicit BorrowedExchange(Bucket& bucket) : bucket_(bucket)
    {
        const std::lock_guard lock(bucket.mutex_);
        if (bucket.idle_.empty()) {
            exchange_ = std::make_unique<Exchange>();
        } else {
            exchange_ = std::move(bucket.idle_.back());
            bucket.idle_.pop_back();
        }
    }
    ~BorrowedExchange()
    {
        const std::lock_guard lock(bucket_.mutex_);
        bucket_.idle_.push_back(std::move(exchange_));
    }
    BorrowedExchange(const BorrowedExchange&) = delete;
    BorrowedExchange& operator=(const BorrowedExchange&) = delete;
    Exchange& operator*() const { return *exchange_; }

private:
    Bucket& bucket_;
    std::unique_ptr<Exchange> exchange_;
};

Bucket::Bucket(BucketAddress address, Credentials credentials, const Clock& clock,
               RetryPolicy policy)
    : address_(std::move(address)),
      credentials_(std::move(credentials)),
      clock_(clock),
      policy_(std::move(policy)),
      mostAttempts_(policy_.attempts),
      host_(hostOf(address_.endpoint))
{}

void Bucket::put(const std::string& key, std::string_view bytes, const std::string& sha256)
{
    if (bytes.size() > largestObjectBytes) {
        throw std::invalid_argument("the object is too large");
    }
    ++traffic_.puts;
    request({.method = "PUT", .key = key, .body = bytes, .sha256 = sha256});
    traffic_.sentBytes += bytes.size();
}

std::string Bucket::get(const std::string& key, std::uint64_t offset, std::size_t sizeBytes)
{
    if (sizeBytes == 0 || sizeBytes > largestObjectBytes) {
        throw std::invalid_argument("not a range of an object");
    }
    const std::string first = std::to_string(offset);
    const std::string last = std::to_string(offset + sizeBytes - 1);
    ++traffic_.gets;
    Answer answer = request({.method = "GET",
                             .key = key,
                             .range = "bytes=" + first + '-' + last,
                             .mostBytes = sizeBytes});
    const bool isRange = answer.status == 206 &&
                         answer.contentRange.starts_with("bytes " + first + '-' + last + '/');
    if (!isRange || answer.body.size() != sizeBytes) {
        throw StoreUnavailable("it answered with other bytes than the range");
    }
    traffic_.receivedBytes += sizeBytes;
    return std::move(answer.body);
}

std::optional<std::uint64_t> Bucket::sizeOf(const std::string& key)
{
    try {
        const Answer answer = request({.method = "HEAD", .key = key});
        if (answer.lengthBytes < 0) {
            throw StoreUnavailable("it tells no size of an object");
        }
        return static_cast<std::uint64_t>(answer.lengthBytes);
    } catch (const ObjectMissing&) {
        return std::nullopt;
    }
}

void Bucket::remove(const std::string& key)
{
    ++traffic_.removals;
    try {
        request({.method = "DELETE", .key = key});
    } catch (const ObjectMissing&) {
        // removed already
    }
}

/** Signed anew for each attempt, because a signature has a date. */
Outgoing Bucket::sign(const Call& call) const
{
    RequestToSign toSign{call.method, '/' + address_.bucket + '/' + call.key, "", {}};
    toSign.headers = {{"host", host_},
                      {"x-amz-content-sha256", call.sha256},
                      {"x-amz-date", amzDate(clock_.nowMs())}};
    if (!call.range.empty()) {
        toSign.headers.emplace("range", call.range);
    }
    Outgoing outgoing{call.method,
                      address_.endpoint + toSign.path,
                      {},
                      call.body,
                      call.mostBytes,
                      address_.caFile,
                      policy_.timeouts};
    for (const auto& [name, value] : toSign.headers) {
        outgoing.headers.emplace_back(name).append(": ").append(value);
    }
    outgoing.headers.push_back("Authorization: " +
                               authorizationOf(toSign, credentials_, address_.region));
    return outgoing;
}

Answer Bucket::request(const Call& call)
{
    requireKey(call.key);
    try {
        return attempt(call);
    } catch (const Unavailable&) {
        ++traffic_.failures;
        throw;
    }
}

Answer Bucket::attempt(const Call& call)
{
    Answer answer;
    answer.failure = "the service stops";
    for (int number = 1; number <= mostAttempts_; ++number) {
        if (number > 1) {
            ++traffic_.retries;
            pauseBefore(number);
        }
        answer = (*BorrowedExchange(*this)).run(sign(call));
        if (answer.status >= 200 && answer.status < 300) {
            return answer;
        }
        if (answer.status == 404 && codeOf(answer.body) != "NoSuchBucket") {
            throw ObjectMissing();
        }
        if (!isRetryable(answer)) {
            throw RequestRefused(reasonOf(answer));
        }
    }
    throw StoreUnavailable(reasonOf(answer));
}

void Bucket::pauseBefore(int attempt) const
{
    const auto longest = policy_.pause * (1 << (attempt - 2));
    unsigned char jitter = 0;
    RAND_bytes(&jitter, 1);
    const auto pause = longest - longest * jitter / 512;
    if (policy_.sleep) {
        policy_.sleep(pause);
    } else {
        std::this_thread::sleep_for(pause);
    }
}

} // namespace kelvo::objects
