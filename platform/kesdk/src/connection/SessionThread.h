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

// Establishes a session (token, snapshot, event stream), keeps stream and snapshot alive when the
// link drops, and ends with the session.
//
// Thread: its own. The owner calls Start, Wake, ReconnectNow and the destructor. Only this thread
// uses `api`; others call only its Wake.
class SessionThread
{
public:
    struct Dependencies
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

    explicit SessionThread(Dependencies dependencies);
    // Ends running work at once. If the service answers within 2 s, the session ends on the service
    // too. This includes the session of a login in progress.
    ~SessionThread();
    SessionThread(const SessionThread&) = delete;
    SessionThread& operator=(const SessionThread&) = delete;

    // Replaces a running login.
    void Start(Login login);
    // Running work checks at once whether its session has ended.
    void Wake();
    // The service was reached just now: a lost stream connects again without a further pause.
    void ReconnectNow();

private:
    // The progress of the current login.
    struct Progress
    {
        std::int32_t id = 0;
        Clock::Time accepted; // when the service had accepted the password
        std::string token;
        bool isEstablished = false;
        int attempts = 0;  // since a stream last stayed open for kLastingStream
        Clock::Time begun; // the last attempt
    };

    void Run();
    void RunLogin(Login login);
    Failure LogIn(Login& login, Progress& progress);
    Failure FetchAccount(const Progress& progress);
    Failure Follow(Progress& progress);
    Failure ReadStream(Progress& progress);
    Failure PrepareNextStream(Progress& progress, Failure failure);
    void EndOnService(const std::string& token);
    bool HasEnded(std::int32_t id) const;
    ApiCall CallFor(const Progress& progress) const;

    Dependencies m_dependencies;
    std::atomic<bool> m_isStopping{false};
    std::atomic<bool> m_mustReconnectNow{false};
    std::mutex m_mutex; // guards m_next
    std::condition_variable m_hasNext;
    std::optional<Login> m_next;
    std::thread m_thread;
};

} // namespace kesdk::impl
