// The plug-in's only listener of the SDK.
#pragma once

#include "kesdk/api/IResourceChangeNotification.h"
#include "kesdk/api/IServerConnectionNotification.h"

#include <QtCore/QObject>

#include <boost/smart_ptr/detail/lightweight_mutex.hpp>

// Turns the SDK's listener calls into signals.
//
// Thread: created and deleted on the worker's thread; its listener operations are called on the
// SDK's notification thread, where the signals are emitted.
// Ownership: the worker owns it, and unsubscribes it from the SDK before it deletes it. The order
// of the bases, virtual operations and signals is part of the contract.
class TKESDKNotificationMgr : public QObject,
                              public kesdk::api::IServerConnectionNotification,
                              public kesdk::api::IResourceChangeNotification
{
    Q_OBJECT

public:
    TKESDKNotificationMgr();
    ~TKESDKNotificationMgr() override;

    void onServerConnectionChange(const kesdk::api::ConnectionState& state) override;
    void onResourceChange(const ResourceChange& change) override;

Q_SIGNALS:
    void NotLoggedIn();
    void LoginInProgress();
    void LoginSuccessful();
    void LoginFailed();
    void FileModifiedInUserInbox(long fileId, unsigned long userInboxId);
    void FileModifiedInProjectInbox(long fileId, unsigned long projectInboxId);

private:
    // Guards no member. It keeps two resource changes from emitting their signals at the same time.
    boost::detail::lightweight_mutex m_resourceChangeMutex;
};
