// The window and the plug-in in it, from start to end.
#pragma once

#include "console/session/ConsoleSettings.h"
#include "console/session/TPluginSession.h"
#include "console/settings/StoredSettings.h"
#include "console/window/TLinkMonitor.h"
#include "console/window/TMainWindow.h"
#include "console/window/TPluginScreens.h"
#include "hostimpl/TSurfaceRegister.h"
#include "hostimpl/TWheelInput.h"

#include <QtCore/QTimer>

#include <memory>

class TMessageDialog;

namespace console {

class TSettingsPage;

// Thread: main, with a QApplication. Errors: a plug-in that is missing, lacks an entry point or
// throws is told of in a dialog, and the console goes on without it.
//
//   made → Begin → window shown, plug-in started → its worker is ready → its screens are built
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
    void ShowLink();
    void OpenSettings();
    void SaveSettings(const TStoredSettings& settings);
    void Apply(const TStoredSettings& settings);
    void Keep();
    void Tell(const QString& text);

    const TConsoleSettings m_settings;
    TStoredSettings m_stored;
    TLinkMonitor m_link;
    hostimpl::TWheelInput m_wheel;
    std::unique_ptr<TMainWindow> m_window;
    std::unique_ptr<TSettingsPage> m_settingsPage;
    hostimpl::TSurfaceRegister m_surfaces;
    std::unique_ptr<TPluginScreens> m_screens;
    std::unique_ptr<TMessageDialog> m_dialog;
    TPluginSession m_plugin;
    QTimer m_positionTick;
    bool m_isEnding = false;
};

} // namespace console
