// The thread that logs in and then reads the event stream.
#pragma once

#include "account/AccountSnapshot.h"
#include "account/EventStream.h"
#include "client/ApiClient.h"
#include "connection/SessionState.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace kesdk::impl {

// Brings a session up (token, snapshot, event stream), keeps the stream and the snapshot alive
// through losses of the link, and ends when the session does.
//
// Thread: its own. Start, Wake and the destructor are the owner's. `api` is used by this thread
// alone; only its Wake is called from others.
class SessionThread
{
public:
    struct Parts
    {
        ApiClient& api;
        Timing& timing;
        SessionState& state;
        AccountSnapshot& snapshot;
        NotificationDispatcher& dispatcher;
        std::function<void(const Failure&)> onLoginFailed; // before the state 4 is posted
    };
    struct Login
    {
        std::int32_t id = 0;
        std::wstring user;
        std::wstring password;
        std::string replacedToken;
    };

    explicit SessionThread(Parts parts);
    // Ends running work at once; a session that stands, or that was just coming up, is ended on the
    // service if that can be reached within 2 s.
    ~SessionThread();
    SessionThread(const SessionThread&) = delete;
    SessionThread& operator=(const SessionThread&) = delete;

    // A login that is running is replaced.
    void Start(Login login);
    // Has running work see that its session has ended.
    void Wake();
    // The service was reached just now: a lost stream is tried again without waiting longer.
    void Nudge();

private:
    // Where the present login has come to.
    struct Progress
    {
        std::int32_t id = 0;
        Clock::Time begin; // of all that follows the service's yes
        std::string token;
        bool isEstablished = false;
        int attempts = 0; // at the stream, in a row, that did not last
    };

    void Run();
    void RunLogin(Login login);
    Failure LogIn(Login& login, Progress& progress);
    Result<AccountRecord> AskAccount(const Progress& progress);
    Failure FetchAccount(const Progress& progress);
    Failure Follow(Progress& progress);
    StreamOutcome ReadStream(Progress& progress);
    Failure PrepareNextStream(Progress& progress, const StreamOutcome& outcome);
    void EndOnService(const std::string& token);
    bool HasTimeFor(const Progress& progress, const Failure& failure) const;
    bool HasEnded(std::int32_t id) const;
    ApiCall CallFor(const Progress& progress) const;

    Parts m_parts;
    EventStream m_stream;
    std::atomic<bool> m_isStopping{false};
    std::atomic<bool> m_isNudged{false};
    std::mutex m_mutex; // guards m_next
    std::condition_variable m_hasNext;
    std::optional<Login> m_next;
    std::thread m_thread;
};

} // namespace kesdk::impl
