// The service in memory, used in place of the network. It can drop, cut, refuse and count requests.
#pragma once

#include "support/FakeTransport.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kesdk::test {

// Only ends a test that hangs.
constexpr std::chrono::seconds kHangGuard{30};

// An error in one request.
struct Fault
{
    enum class EKind {
        eDropBefore,  // the request never arrives
        eDropAfter,   // the service carries it out, but the answer is lost
        eCutRequest,  // only `bytes` of its body arrive
        eCutResponse, // only `bytes` of the answer's body arrive
        eAnswer,      // the request never arrives; `answer` comes back
        eReplace,     // the service carries it out; `answer` comes back
    };
    std::string line; // the beginning of "METHOD /target"
    EKind kind = EKind::eDropBefore;
    std::size_t bytes = 0;
    impl::HttpResponse answer;
    // The transport's error for a drop or a cut; eTimeout means a stall timeout.
    impl::EErrorCode dropCode = impl::EErrorCode::eDropped;
    std::string until; // the fault waits for a request whose line begins so
};

// One farm with the seven projects, as an operator sees it by the wire protocol.
//
// Thread safety: safe. Outlives its transports.
class FakeService
{
public:
    FakeService();

    // Each transport is one connection of the SDK.
    std::unique_ptr<impl::HttpTransport> NewTransport();

    std::int64_t AddUser(const std::string& name, const std::string& password);
    std::int64_t AddInbox(std::int64_t userId, const std::string& project);
    std::int64_t AddFile(std::int64_t inboxId, const std::string& name, const std::string& content);
    void RemoveFile(std::int64_t fileId);
    // Adds a file without an event, so a resumed stream does not report it.
    std::int64_t AddFileSilently(std::int64_t inboxId, const std::string& name,
                                 const std::string& content);
    // Makes all uploads expire.
    void ForgetUploads();
    // Changes the stored content of the next upload, or of this file, but not its digest.
    void CorruptNextCommit();
    void Corrupt(std::int64_t fileId);

    void EndSessions(const std::string& reason);
    void RevokeTokens(); // without telling the streams
    void CloseStreams(); // in order
    void ForgetEvents(); // a cursor from before is too old
    void SendOnStreams(const std::string& raw);
    void SetOnline(bool isOnline); // false drops the streams

    void FailNext(Fault fault);
    // Called with each request's line, on the thread that sends it. Set it before the first
    // request.
    std::function<void(const std::string&)> onRequest;
    std::vector<SentRequest> Requests() const;
    int Count(const std::string& lineStart) const;
    std::string Content(std::int64_t fileId) const;
    std::vector<std::int64_t> FileIds(std::int64_t inboxId) const;
    int StreamCount() const;
    // Blocks. Returns false after 30 s.
    bool WaitForRequests(const std::string& lineStart, int count) const;
    bool WaitForStreams(int count) const;

private:
    struct User
    {
        std::string name;
        std::string password;
    };
    struct Inbox
    {
        std::int64_t project = 0;
        std::int64_t owner = 0;
    };
    struct File
    {
        std::int64_t inbox = 0;
        std::string name;
        std::string content;
        std::string sha256;
        bool isRemoved = false;
    };
    struct Upload
    {
        std::string key;
        std::string metadata;
        std::int64_t length = 0;
        std::string content;
        std::vector<std::int64_t> files; // once complete
    };

    using Outcome = impl::HttpOutcome;
    using Request = impl::HttpRequest;

    Outcome Handle(const Request& request, const impl::AbortCheck& abort);
    Outcome CarryOut(SentRequest& sent, const std::optional<Fault>& fault);
    void Note(const SentRequest& sent);
    std::optional<Fault> TakeFault(const std::string& line);
    impl::HttpResponse Answer(const SentRequest& sent, bool isWhole);
    impl::HttpResponse Login(const SentRequest& sent);
    impl::HttpResponse Account(std::int64_t userId) const;
    impl::HttpResponse GetResource(std::int64_t id) const;
    impl::HttpResponse CreateInbox(const std::string& name, std::int64_t userId);
    impl::HttpResponse GetContent(const SentRequest& sent, std::int64_t id) const;
    impl::HttpResponse DeleteFile(const SentRequest& sent, std::int64_t id);
    impl::HttpResponse BeginUpload(const SentRequest& sent, bool isWhole);
    impl::HttpResponse HeadUpload(const std::string& id);
    impl::HttpResponse ContinueUpload(const SentRequest& sent, const std::string& id, bool isWhole);
    impl::HttpResponse UploadState(int status, const std::string& id);
    bool HasAllFiles(const Upload& upload) const;
    Outcome Stream(const Request& request, const SentRequest& sent, const impl::AbortCheck& abort);

    std::int64_t UserOf(const SentRequest& sent) const; // 0 = unknown token
    std::int64_t StoreFile(std::int64_t inboxId, const std::string& name,
                           const std::string& content, bool hasEvent);
    void AddEvent(const std::string& name, std::int64_t inboxId, const std::string& entryJson);
    std::string FileJson(std::int64_t id) const;
    std::string InboxJson(std::int64_t id) const;

    mutable std::mutex m_mutex; // guards everything below
    mutable std::condition_variable m_changed;
    std::map<std::int64_t, User> m_users;
    std::map<std::int64_t, std::string> m_projects;
    std::map<std::int64_t, Inbox> m_inboxes;
    std::map<std::int64_t, File> m_files;
    std::map<std::string, Upload> m_uploads;
    int m_uploadCount = 0;
    std::map<std::string, std::int64_t> m_tokens;
    std::vector<std::string> m_events; // event n has id m_firstEvent + n
    std::int64_t m_firstEvent = 1;
    std::string m_raw; // for all streams, once
    std::string m_endReason;
    std::int64_t m_rawCount = 0;
    std::int64_t m_closeCount = 0;
    std::int64_t m_nextId = 1;
    int m_streams = 0;
    bool m_isOnline = true;
    bool m_corruptsNextCommit = false;
    std::deque<Fault> m_faults;
    std::vector<SentRequest> m_requests;
};

} // namespace kesdk::test
