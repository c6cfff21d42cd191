#include "console/window/TLinkMonitor.h"

namespace console {

void TLinkMonitor::SetAvailable(bool isAvailable)
{
    m_isEndRequested = false;
    Set(isAvailable ? ELinkState::eLoggedOut : ELinkState::eNone);
}

void TLinkMonitor::OnHubEvent(const THubEvent& event)
{
    // Signals about files do not change the state of the link.
    if (event.signal == EHubSignal::eLoginRequested) {
        m_isEndRequested = false;
    } else if (event.signal == EHubSignal::eLogoutRequested ||
               event.signal == EHubSignal::eCancelLoginRequested) {
        m_isEndRequested = true;
    } else if (event.signal == EHubSignal::eLoginInProgress) {
        Set(ELinkState::eConnecting);
    } else if (event.signal == EHubSignal::eLoggedIn) {
        m_isEndRequested = false;
        Set(ELinkState::eUp);
    } else if (event.signal == EHubSignal::eLoginFailed) {
        Set(m_isEndRequested ? ELinkState::eLoggedOut : ELinkState::eFailed,
            m_isEndRequested ? QString() : event.message.value_or(QString()));
        m_isEndRequested = false;
    } else if (event.signal == EHubSignal::eLoggedOut) {
        // Only a session that was up can be lost. After a failed login the state stays "failed".
        if (m_state == ELinkState::eUp && !m_isEndRequested) {
            Set(ELinkState::eLost);
        } else if (m_state != ELinkState::eFailed || m_isEndRequested) {
            Set(ELinkState::eLoggedOut);
        }
        m_isEndRequested = false;
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
