#include "worker/TKESDKNotificationMgr.h"

using kesdk::api::ConnectionState;

TKESDKNotificationMgr::TKESDKNotificationMgr() = default;

TKESDKNotificationMgr::~TKESDKNotificationMgr() = default;

void TKESDKNotificationMgr::onServerConnectionChange(const ConnectionState& state)
{
    using TSignal = void (TKESDKNotificationMgr::*)();
    // Indexed by the state. There is no signal for reconnecting: the session stays the same.
    static constexpr TSignal SIGNALS_BY_STATE[] = {
        &TKESDKNotificationMgr::NotLoggedIn,     &TKESDKNotificationMgr::LoginInProgress, nullptr,
        &TKESDKNotificationMgr::LoginSuccessful, &TKESDKNotificationMgr::LoginFailed,
    };
    constexpr int stateCount = sizeof(SIGNALS_BY_STATE) / sizeof(SIGNALS_BY_STATE[0]);

    if (state.state < 0 || state.state >= stateCount) {
        return;
    }
    const TSignal signal = SIGNALS_BY_STATE[state.state];
    if (signal != nullptr) {
        Q_EMIT(this->*signal)();
    }
}

void TKESDKNotificationMgr::onResourceChange(const ResourceChange& change)
{
    const boost::detail::lightweight_mutex::scoped_lock locker(m_resourceChangeMutex);
    if (change.changeKind != eContentChanged) {
        return;
    }
    if (change.containerKind == eUserInbox) {
        Q_EMIT FileModifiedInUserInbox(change.resourceId, change.containerId);
    } else if (change.containerKind == eProjectInbox) {
        Q_EMIT FileModifiedInProjectInbox(change.resourceId, change.containerId);
    }
}
