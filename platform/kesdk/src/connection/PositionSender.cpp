#include "connection/PositionSender.h"

#include <pthread.h>

#include <utility>

namespace kesdk::impl {

namespace {

constexpr int kAttempts = 2;

// A busy service must not get the position again at once.
bool IsOfTheLink(const Failure& failure)
{
    return MayPass(failure) && !failure.Is(EErrorCode::eServiceBusy);
}

} // namespace

PositionSender::PositionSender(ApiClient& api, SessionEnded onSessionEnded)
    : m_api(api), m_onSessionEnded(std::move(onSessionEnded)), m_thread([this] { Run(); })
{}

PositionSender::~PositionSender()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_hasLetter.notify_all();
    m_api.Wake();
    m_thread.join();
}

void PositionSender::Put(const api::Position& position, std::int32_t sessionId,
                         const std::string& token)
{
    {
        const std::lock_guard lock(m_mutex);
        m_letter = Letter{position, sessionId, token, kAttempts};
    }
    m_hasLetter.notify_all();
}

void PositionSender::Clear()
{
    {
        const std::lock_guard lock(m_mutex);
        m_letter.reset();
        ++m_generation;
    }
    m_api.Wake();
}

void PositionSender::Run()
{
    ::pthread_setname_np(::pthread_self(), "kesdk-position");
    for (;;) {
        std::optional<Letter> letter;
        std::uint64_t generation = 0;
        {
            std::unique_lock lock(m_mutex);
            m_hasLetter.wait(lock, [this] { return m_isStopping || m_letter; });
            if (m_isStopping)
                return;
            letter.swap(m_letter);
            generation = m_generation;
        }
        Send(std::move(*letter), generation);
    }
}

void PositionSender::Send(Letter letter, std::uint64_t generation)
{
    ApiCall call;
    call.token = letter.token;
    call.abort = [this, generation] { return m_isStopping || m_generation != generation; };
    call.policy = PolicyOf(ECall::ePosition);
    const Failure failure = m_api.PostPosition(call, letter.position);
    if (failure.Is(EErrorCode::eSessionEnded))
        m_onSessionEnded(letter.sessionId);
    else if (IsOfTheLink(failure) && --letter.triesLeft > 0)
        PutBack(std::move(letter), generation);
}

void PositionSender::PutBack(Letter letter, std::uint64_t generation)
{
    const std::lock_guard lock(m_mutex);
    if (m_generation == generation && !m_letter)
        m_letter = std::move(letter);
}

} // namespace kesdk::impl
