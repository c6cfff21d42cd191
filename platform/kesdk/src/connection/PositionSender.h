// Sends the console's position beside everything else.
#pragma once

#include "client/ApiClient.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace kesdk::impl {

// A mailbox that keeps only the latest position. One that the link did not carry goes back into it
// and is sent once more, on a new connection, unless there is a newer one already: networks drop
// silent connections, and the last position before the console stops is told only once. Nothing
// piles up: there is at most one in the box and one under way.
//
// Thread: its own, with a connection of its own, so that no transfer waits for a position. `api` is
// used by this thread alone.
class PositionSender
{
public:
    using SessionEnded = std::function<void(std::int32_t sessionId)>;

    // The handler is called on this thread, when the service does not know the session any more.
    PositionSender(ApiClient& api, SessionEnded onSessionEnded);
    ~PositionSender();
    PositionSender(const PositionSender&) = delete;
    PositionSender& operator=(const PositionSender&) = delete;

    void Put(const api::Position& position, std::int32_t sessionId, const std::string& token);
    // Drops what was not sent yet, and what is being sent.
    void Clear();

private:
    struct Letter
    {
        api::Position position;
        std::int32_t sessionId;
        std::string token;
        int triesLeft;
    };

    void Run();
    void Send(Letter letter, std::uint64_t generation);
    void PutBack(Letter letter, std::uint64_t generation);

    ApiClient& m_api;
    SessionEnded m_onSessionEnded;
    std::atomic<bool> m_isStopping{false};
    std::atomic<std::uint64_t> m_generation{0}; // counts the calls of Clear
    std::mutex m_mutex;                         // guards m_letter
    std::condition_variable m_hasLetter;
    std::optional<Letter> m_letter;
    std::thread m_thread;
};

} // namespace kesdk::impl
