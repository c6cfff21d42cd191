// Sends positions and reports of fetched files on its own thread.
#pragma once

#include "connection/ApiLine.h"
#include "transfer/FetchReports.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace kesdk::impl {

// A mailbox that keeps only the latest position. If the link drops a position, the sender puts the
// position back. It sends the position once more on a new connection, unless the mailbox has a
// newer one. Otherwise the last position before a stop would be lost if the network has dropped the
// silent connection. At most one position is in the mailbox, and one is being sent.
//
// The fetches follow a position that was sent, because the connection is open then. Without
// positions, they are sent when no transfer has run for 10 s. While a transfer runs, they wait.
// After a failure they wait for a backoff. If the service does not take them, the sender keeps them
// for the next session.
//
// Thread: its own, with its own connection: no transfer waits for a position. Only this thread uses
// `line`.
class PositionSender
{
public:
    // Returns whether the session was still current.
    using SessionEnded = std::function<bool(std::int32_t sessionId)>;

    // The session in whose name a report is sent.
    struct Sender
    {
        std::int32_t sessionId = 0;
        std::string token;
        std::string account; // for the fetches
    };

    // The handler runs on this thread, when the service has ended the session. `line` and `fetches`
    // outlive the sender.
    PositionSender(ApiLine& line, FetchReports& fetches, SessionEnded onSessionEnded);
    ~PositionSender();
    PositionSender(const PositionSender&) = delete;
    PositionSender& operator=(const PositionSender&) = delete;

    void Put(const api::Position& position, Sender sender);
    void SendFetchesWhenIdle(Sender sender);
    void SetTransferring(bool isTransferring);
    // Ends the reports of a session: drops the positions in the mailbox and under way.
    void Clear();

private:
    struct Report
    {
        api::Position position;
        Sender sender;
        int triesLeft;
    };

    void Run();
    // Returns whether the service has the position.
    bool Send(Report report, std::uint64_t generation);
    // Returns whether nothing is left to send in this session.
    bool SendFetches(const Sender& sender, std::uint64_t generation);
    bool WaitUntilIdle(std::uint64_t generation);
    bool MustYield(std::uint64_t generation);
    bool HasEnded(std::uint64_t generation) const
    {
        return m_isStopping || m_generation != generation;
    }

    ApiLine& m_line;
    FetchReports& m_fetches;
    SessionEnded m_onSessionEnded;
    std::atomic<bool> m_isStopping{false};
    std::atomic<std::uint64_t> m_generation{0}; // counts the calls of Clear
    std::atomic<bool> m_isTransferring{false};
    std::mutex m_mutex; // guards m_next and m_fetchSender
    std::condition_variable m_hasReport;
    std::optional<Report> m_next;
    std::optional<Sender> m_fetchSender; // there are fetches to send
    // Only this thread uses these three.
    int m_failedFetches = 0;                          // in a row
    Clock::Time m_nextFetches{};                      // the end of the backoff
    std::optional<std::uint64_t> m_refusedGeneration; // the service does not take its fetches
    std::thread m_thread;
};

} // namespace kesdk::impl
