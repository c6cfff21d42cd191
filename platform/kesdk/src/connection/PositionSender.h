// Sends the console's position on its own thread.
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

// A mailbox that keeps only the latest position. Networks drop silent connections, and the last
// position before the console stops comes only once. So if the link drops a position, the sender
// puts it back. It sends the position once more on a new connection, unless the mailbox has a newer
// one. At most one position is in the mailbox, and one is being sent.
//
// Thread: its own, with its own connection: no transfer waits for a position. Only this thread uses
// `api`.
class PositionSender
{
public:
    using SessionEnded = std::function<void(std::int32_t sessionId)>;

    // The handler runs on this thread, when the service has ended the session.
    PositionSender(ApiClient& api, SessionEnded onSessionEnded);
    ~PositionSender();
    PositionSender(const PositionSender&) = delete;
    PositionSender& operator=(const PositionSender&) = delete;

    void Put(const api::Position& position, std::int32_t sessionId, const std::string& token);
    // Drops the positions in the mailbox and under way.
    void Clear();

private:
    struct Report
    {
        api::Position position;
        std::int32_t sessionId;
        std::string token;
        int triesLeft;
    };

    void Run();
    void Send(Report report, std::uint64_t generation);

    ApiClient& m_api;
    SessionEnded m_onSessionEnded;
    std::atomic<bool> m_isStopping{false};
    std::atomic<std::uint64_t> m_generation{0}; // counts the calls of Clear
    std::mutex m_mutex;                         // guards m_next
    std::condition_variable m_hasReport;
    std::optional<Report> m_next;
    std::thread m_thread;
};

} // namespace kesdk::impl
