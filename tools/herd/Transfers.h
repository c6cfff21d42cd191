// Uploads and downloads that go on after a lost link.
#pragma once

#include "tools/herd/Console.h"

#include <cstdint>
#include <string>

namespace herd {

/**
 * Sends a new file to all targets of the console. `dice` chooses size and bytes. Repeats with the
 * same idempotency key until the service has answered with the result. Throws GivenUp if the
 * service refuses the file.
 */
Async<void> upload(Console& console, EKind kind, std::uint64_t dice);

/** A file that the service has sent. */
struct Fetched
{
    int status = 0;          // of the last answer: 200 or 206, or a refusal
    Sha256::Digest digest{}; // of the received bytes
    std::string stated;      // the digest in the answer's header

    bool isWhole() const { return status == 200 || status == 206; }
};

/**
 * Reads a file's content. Resumes at the last byte until the content is whole or the service
 * refuses it. The latency runs from `begin`.
 */
Async<Fetched> fetch(Line& line, EKind kind, std::int32_t file, Clock::time_point begin);

/** Fetches a file that `dice` chooses, and reports the fetch. Resumes at the last byte. */
Async<void> download(Console& console, std::uint64_t dice);

} // namespace herd
