// What is known of the link to the service.
#include "console/window/TLinkMonitor.h"

namespace console {

void TLinkMonitor::SetAvailable(bool isAvailable)
{
    m_isEndAsked = false;
    Set(isAvailable ? ELinkState::eLoggedOut : ELinkState::eNone);
}

void TLinkMonitor::OnHubEvent(const THubEvent& event)
{
    // Signals of files say nothing about the link.
    if (event.signal == EHubSignal::eLoginRequested) {
        m_isEndAsked = false;
    } else if (event.signal == EHubSignal::eLogoutRequested ||
               event.signal == EHubSignal::eCancelLoginRequested) {
        m_isEndAsked = true;
    } else if (event.signal == EHubSignal::eLoginInProgress) {
        Set(ELinkState::eConnecting);
    } else if (event.signal == EHubSignal::eLoggedIn) {
        m_isEndAsked = false;
        Set(ELinkState::eUp);
    } else if (event.signal == EHubSignal::eLoginFailed) {
        Set(m_isEndAsked ? ELinkState::eLoggedOut : ELinkState::eFailed,
            m_isEndAsked ? QString() : event.message.value_or(QString()));
        m_isEndAsked = false;
    } else if (event.signal == EHubSignal::eLoggedOut) {
        // Only what was up can be lost: after a failed login the sign of that stays.
        if (m_state == ELinkState::eUp && !m_isEndAsked) {
            Set(ELinkState::eLost);
        } else if (m_state != ELinkState::eFailed || m_isEndAsked) {
            Set(ELinkState::eLoggedOut);
        }
        m_isEndAsked = false;
    }
}

void TLinkMonitor::Set(ELinkState state, const QString& reason)
{
    if (m_state != state || m_reason != reason) {
        m_state = state;
        m_reason = reason;
        Q_EMIT Changed();
    }
}

} // namespace console
