// The window and the plug-in in it, from start to end.
#pragma once

#include "console/ConsoleSettings.h"
#include "console/PluginHost.h"
#include "console/headless/HubEvent.h"
#include "console/headless/TFixAnnouncer.h"
#include "console/position/TPositionMonitor.h"
#include "console/position/TPositionThread.h"
#include "console/position/TSystemSourceTime.h"
#include "console/settings/StoredSettings.h"
#include "console/window/TLinkMonitor.h"
#include "console/window/TMainWindow.h"
#include "console/window/TPluginScreens.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TSurfaceRegister.h"
#include "hostimpl/TUserLevels.h"
#include "hostimpl/TWheelInput.h"

#include <QtCore/QTimer>

#include <memory>

class TMessageDialog;

namespace console {

class THubListener;
class TSettingsPage;

// Thread: main, with a QApplication. Errors: a plug-in that is missing, lacks an entry point or
// throws is told of in a dialog, and the console goes on without it.
//
//   made → Begin → window shown, plug-in started → its worker listens → its screens are built
//        → WantEnd → EndWanted → End: settings kept, source stopped, plug-in finalised, surfaces
//          and window gone
class TWindowSession : public QObject
{
    Q_OBJECT

public:
    // `settings` with what the operator has set up filled in; the host is set up.
    TWindowSession(const TConsoleSettings& settings, const TStoredSettings& stored);
    ~TWindowSession() override;

    void Begin();
    // Covers the window and asks whoever runs the event loop to end it.
    void WantEnd();
    // Blocks until the plug-in's thread has ended. Nothing happens the second time.
    void End();

    // Null after End().
    TMainWindow* Window() const { return m_window.get(); }
    TSettingsPage* Settings() const { return m_settingsPage.get(); }
    // What was told last; null if there was nothing to tell.
    TMessageDialog* Dialog() const { return m_dialog.get(); }
    const TLinkMonitor& Link() const { return m_link; }

Q_SIGNALS:
    void EndWanted();

private:
    void ConnectWindow();
    void StartPlugin();
    void CreateScreens();
    void StartSource(const TGpsSetting& setting);
    void OnHubEvent(const THubEvent& event);
    void ShowLink();
    void OpenSettings();
    void SaveSettings(const TStoredSettings& settings);
    void Apply(const TStoredSettings& settings);
    void Keep();
    void Tell(const QString& text);

    const TConsoleSettings m_settings;
    TStoredSettings m_stored;
    hostimpl::TFedGPSCoordinator m_coordinator;
    const hostimpl::TFeatures m_features;
    const hostimpl::TUserLevels m_userLevels;
    const TFixAnnouncer m_announcer{m_coordinator};
    TSystemSourceTime m_time;
    TPositionMonitor m_position{m_coordinator, m_time};
    TLinkMonitor m_link;
    hostimpl::TWheelInput m_wheel;
    std::unique_ptr<TMainWindow> m_window;
    std::unique_ptr<TSettingsPage> m_settingsPage;
    hostimpl::TSurfaceRegister m_surfaces;
    std::unique_ptr<TPluginScreens> m_screens;
    std::unique_ptr<TMessageDialog> m_dialog;
    TPluginHost m_plugin;
    std::unique_ptr<THubListener> m_listener;
    std::unique_ptr<TPositionThread> m_source;
    QTimer m_workerGuard;
    QTimer m_positionTick;
    bool m_isEnding = false;
};

} // namespace console
