// The running plug-in and everything that the host gives it.
#pragma once

#include "console/position/TPositionMonitor.h"
#include "console/position/TSystemSourceTime.h"
#include "console/session/PluginHost.h"
#include "console/session/TFixAnnouncer.h"
#include "console/session/THubListener.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TStartWatch.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <memory>

class QWidget;

namespace console {

struct TGpsSetting;
class TPositionThread;

// The window and the headless console each have one.
//
//   constructed → Start → plug-in runs → WorkerReady → Listen, CreateScreens → Stop
//                                      → WorkerFailed
//
// Thread: main, with an event loop. The host framework is set up before the session is made.
class TPluginSession : public QObject
{
    Q_OBJECT

public:
    static constexpr int defaultWorkerTimeoutMs = 10000;

    explicit TPluginSession(int workerTimeoutMs = defaultWorkerTimeoutMs);
    // Calls Stop().
    ~TPluginSession() override;

    // Loads and initialises the plug-in; `parentWidget` may be null. On a failure it returns false
    // and `errorText` holds the reason. On success WorkerReady() or WorkerFailed() follows.
    bool Start(const QString& pluginPath, QWidget* parentWidget, QString& errorText);
    // Passes each signal of the hub to `handler`. If the hub lacks a signal, the plug-in is
    // stopped, `errorText` names the signal and the result is false.
    bool Listen(THubListener::THandler handler, QString& errorText);
    // See TPluginHost::CreateScreens().
    bool CreateScreens(QString& errorText);
    // Replaces the position source. Blocks until the former source has ended.
    void StartSource(const TGpsSetting& setting);
    // Ends the source, then the plug-in. Blocks until the plug-in's thread has ended. Does nothing
    // the second time.
    void Stop();

    // Null unless the plug-in runs.
    TKelvoInterface* Hub() const { return m_plugin.Hub(); }
    const TPositionMonitor& Position() const { return m_position; }

Q_SIGNALS:
    // The worker's Initialize() has returned and the hub's requests reach the worker. A request
    // before this signal is lost.
    void WorkerReady();
    // The worker's Initialize() has returned without a connection to the hub, or it has not
    // returned within `workerTimeoutMs`. In the second case WorkerReady() may still follow.
    void WorkerFailed();

private:
    void OnWorkerInitialised();

    hostimpl::TFedGPSCoordinator m_coordinator;
    const hostimpl::TFeatures m_features;
    const hostimpl::TUserLevels m_userLevels;
    const TFixAnnouncer m_announcer{m_coordinator};
    TSystemSourceTime m_time;
    TPositionMonitor m_position{m_coordinator, m_time};
    hostimpl::TStartWatch m_workerStart;
    QTimer m_workerTimeout;
    TPluginHost m_plugin;
    std::unique_ptr<THubListener> m_listener;
    std::unique_ptr<TPositionThread> m_source;
};

} // namespace console
