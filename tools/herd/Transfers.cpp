#include "tools/herd/Transfers.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>

namespace herd {

namespace {

constexpr double leastBytes = 1000;

std::uint64_t toNumber(std::string_view text)
{
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/** Small files are more frequent: the logarithm of the size is evenly distributed. */
std::uint64_t sizeOf(std::uint64_t dice, std::uint64_t most)
{
    const double range = std::log(std::max(static_cast<double>(most) / leastBytes, 1.0));
    const double size = leastBytes * std::exp(range * Random::toFraction(Random::mix(dice)));
    return std::min(static_cast<std::uint64_t>(size), most);
}

std::string join(const std::vector<std::int32_t>& numbers)
{
    std::string text;
    for (const std::int32_t number : numbers) {
        text += (text.empty() ? "" : ",") + std::to_string(number);
    }
    return text;
}

/** One upload and what the service has said about it so far. */
class Upload
{
public:
    Upload(Console& console, std::uint64_t dice)
        : content_(Random::mix(dice + 1), sizeOf(dice, console.run().mostUploadBytes)),
          digest_(content_.digest()),
          name_(console.nextUploadName()),
          targets_(console.targets()),
          rate_(console.run().linkBytesPerSecond)
    {}

    /** The next request, by the answers so far. */
    Request next() const
    {
        if (isInDoubt_ && !location_.empty()) {
            return tus("HEAD", location_, "");
        }
        if (!isInDoubt_ && !location_.empty()) {
            Request rest =
                tus("PATCH", location_, "Upload-Offset: " + std::to_string(offset_) + "\r\n");
            rest.part = {&content_, offset_};
            rest.partBytesPerSecond = rate_;
            return rest;
        }
        Request whole = tus("POST", apiPath + "/uploads", creation());
        if (!isInDoubt_) {
            whole.part = {&content_, 0};
            whole.partBytesPerSecond = rate_;
        }
        return whole;
    }

    enum class EStep : std::uint8_t { Again, Pause, Done, Refused };

    EStep take(const Answer& answer)
    {
        const bool wasHeadOrPatch = !location_.empty();
        if (mayPass(answer) || answer.status == 409 || answer.status == 500) {
            isInDoubt_ = true;
            return EStep::Pause;
        }
        if (wasHeadOrPatch && (answer.status == 404 || answer.status == 410)) {
            location_.clear(); // the upload has expired; the key makes another one
            isInDoubt_ = true;
            return EStep::Pause;
        }
        if (!answer.isSuccess()) {
            return EStep::Refused;
        }
        if (!answer.fileIds.empty()) {
            return EStep::Done;
        }
        location_ = answer.location.empty() ? location_ : answer.location;
        offset_ = toNumber(answer.offset);
        isInDoubt_ = false;
        return EStep::Again;
    }

    void acknowledge(Console& console, const Answer& answer) const
    {
        console.run().invariants.check(EInvariant::AnsweredDigest,
                                       answer.digest == toReprDigest(digest_), name_);
        std::string_view ids = answer.fileIds;
        const Clock::time_point now = Clock::now();
        for (const std::int32_t target : targets_) {
            const auto id = static_cast<std::int32_t>(toNumber(ids));
            console.ledger().acknowledge({id, target, digest_}, now);
            ids.remove_prefix(std::min(ids.find(','), ids.size() - 1) + 1);
        }
    }

private:
    std::string creation() const
    {
        return "Upload-Length: " + std::to_string(content_.sizeBytes()) +
               "\r\nUpload-Metadata: name " + toBase64(name_) + ",targets " +
               toBase64(join(targets_)) + "\r\nIdempotency-Key: " + name_ + "\r\n";
    }

    static Request tus(std::string method, std::string target, const std::string& headers)
    {
        Request request = requestTo(std::move(method), std::move(target));
        request.headers = "Tus-Resumable: 1.0.0\r\n" + headers;
        return request;
    }

    Content content_;
    Sha256::Digest digest_;
    std::string name_; // also the key
    std::vector<std::int32_t> targets_;
    std::uint64_t rate_;
    std::string location_;
    std::uint64_t offset_ = 0;
    bool isInDoubt_ = false; // the service may have more than the last answer said
};

/** A download and the bytes that it has so far. */
struct Download
{
    Sha256 hash;
    std::uint64_t received = 0;
    std::string entityTag;
    std::string digest;

    Request next(std::int32_t file)
    {
        Request request =
            requestTo("GET", apiPath + "/resources/" + std::to_string(file) + "/content");
        if (received > 0) {
            request.headers =
                "Range: bytes=" + std::to_string(received) + "-\r\nIf-Range: " + entityTag + "\r\n";
        }
        request.sink = [this, isFirst = true](const Answer& head, std::string_view bytes) mutable {
            if (isFirst && head.status == 200) {
                hash = Sha256();
                received = 0;
            }
            isFirst = false;
            entityTag = head.entityTag;
            digest = head.digest;
            hash.update(bytes);
            received += bytes.size();
        };
        return request;
    }
};

Async<void> reportFetch(Console& console, std::int32_t file)
{
    Request report = requestTo("POST", apiPath + "/fetches");
    report.json =
        nlohmann::json{{"fetches", nlohmann::json::array({{{"file", file}, {"age_s", 0}}})}}.dump();
    co_await console.requests().call(EKind::FetchReport, report, Clock::now());
}

} // namespace

Async<void> upload(Console& console, EKind kind, std::uint64_t dice)
{
    if (console.targets().empty()) {
        co_return;
    }
    Upload upload(console, dice);
    ++console.run().uploadsOpen;
    Line& line = console.requests();
    Backoff backoff;
    for (;;) {
        const Answer answer = co_await line.attempt(kind, upload.next());
        switch (upload.take(answer)) {
        case Upload::EStep::Again:
            backoff.reset();
            break;
        case Upload::EStep::Pause:
            co_await line.pause(backoff, answer);
            break;
        case Upload::EStep::Done:
            line.network().figures.succeed(kind, line.onlineSince(console.due()));
            upload.acknowledge(console, answer);
            --console.run().uploadsOpen;
            co_return;
        case Upload::EStep::Refused:
            --console.run().uploadsOpen;
            throw GivenUp();
        }
    }
}

Async<void> download(Console& console, std::uint64_t dice)
{
    if (console.files().empty()) {
        co_return;
    }
    const std::int32_t file = console.files()[dice % console.files().size()];
    const Fetched fetched =
        co_await fetch(console.requests(), EKind::Download, file, console.due());
    if (!fetched.isWhole()) {
        throw GivenUp();
    }
    console.run().invariants.check(EInvariant::DownloadedDigest,
                                   toReprDigest(fetched.digest) == fetched.stated,
                                   "file " + std::to_string(file));
    co_await reportFetch(console, file);
}

Async<Fetched> fetch(Line& line, EKind kind, std::int32_t file, Clock::time_point begin)
{
    Download download;
    Backoff backoff;
    Answer answer;
    for (;;) {
        const std::uint64_t before = download.received;
        const Request request = download.next(file);
        answer = co_await line.attempt(kind, request);
        if (answer.isSuccess() || !mayPass(answer)) {
            break;
        }
        if (download.received > before) {
            backoff.reset();
        }
        co_await line.pause(backoff, answer);
    }
    if (answer.isSuccess()) {
        line.network().figures.succeed(kind, line.onlineSince(begin));
    }
    co_return Fetched{answer.status, download.hash.finish(), download.digest};
}

} // namespace herd
