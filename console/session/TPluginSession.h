// The running plug-in and everything that the host gives it.
#pragma once

#include "console/position/TPositionMonitor.h"
#include "console/position/TSystemSourceTime.h"
#include "console/session/PluginHost.h"
#include "console/session/TFixAnnouncer.h"
#include "console/session/THubListener.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TUserLevels.h"

#include <memory>

class QWidget;

namespace console {

struct TGpsSetting;
class TPositionThread;

// The window and the headless console each run one.
//
//   made → Start → plug-in runs → Listen → Stop
//
// Thread: main. The host framework is set up before the session is made.
class TPluginSession
{
public:
    TPluginSession();
    // Calls Stop().
    ~TPluginSession();

    // Loads and initialises the plug-in; `parentWidget` may be null. On a failure it returns false
    // and `errorText` holds the reason. Returns before the plug-in's worker is ready.
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
    hostimpl::TFedGPSCoordinator& Coordinator() { return m_coordinator; }

private:
    hostimpl::TFedGPSCoordinator m_coordinator;
    const hostimpl::TFeatures m_features;
    const hostimpl::TUserLevels m_userLevels;
    const TFixAnnouncer m_announcer{m_coordinator};
    TSystemSourceTime m_time;
    TPositionMonitor m_position{m_coordinator, m_time};
    TPluginHost m_plugin;
    std::unique_ptr<THubListener> m_listener;
    std::unique_ptr<TPositionThread> m_source;
};

} // namespace console
