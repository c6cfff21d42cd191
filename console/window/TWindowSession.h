// The window and the plug-in in it, from start to end.
#pragma once

#include "console/session/ConsoleSettings.h"
#include "console/session/TPluginSession.h"
#include "console/settings/StoredSettings.h"
#include "console/window/TDashboard.h"
#include "console/window/TMainWindow.h"
#include "console/window/TOperationView.h"
#include "console/window/TPluginScreens.h"
#include "hostimpl/TSurfaceRegister.h"
#include "hostimpl/TWheelInput.h"
#include "kesdkimpl/LinkStatus.h"

#include <QtCore/QTimer>

#include <functional>
#include <memory>

class TMessageDialog;

namespace console {

class TAboutPage;
class TSettingsPage;

// Thread: main, with a QApplication. Errors: if a plug-in is missing, lacks an entry point or
// throws, a dialog shows the reason and the console runs without the plug-in.
//
//   constructed → Begin → window shown, plug-in started → WorkerReady → screens created
//     → RequestEnd → EndRequested
//     → End: settings stored, source stopped, plug-in finalised, surfaces and window deleted
class TWindowSession : public QObject
{
    Q_OBJECT

public:
    using TReadLink = std::function<kesdkimpl::LinkStatus()>;

    // `settings`: the command line, completed by the stored settings. The host framework is set up.
    TWindowSession(const TConsoleSettings& settings, const TStoredSettings& stored,
                   TReadLink readLink = &kesdkimpl::ReadLinkStatus);
    ~TWindowSession() override;

    void Begin();
    // Covers the window and emits EndRequested(). The owner of the event loop then calls End().
    void RequestEnd();
    // Blocks until the plug-in's thread has ended. Does nothing the second time.
    void End();

    // Whether the operator wants the console to start anew after its end.
    bool IsRestartWanted() const { return m_isRestartWanted; }

    // Null after End().
    TMainWindow* Window() const { return m_window.get(); }
    TSettingsPage* Settings() const { return m_settingsPage.get(); }
    TAboutPage* About() const { return m_aboutPage.get(); }
    // The last question about the settings or a new start; null if there was none.
    TMessageDialog* Question() const { return m_question.get(); }
    // The dialog with the last message; null if there was no message.
    TMessageDialog* Dialog() const { return m_dialog.get(); }

Q_SIGNALS:
    void EndRequested();

private:
    void ConnectWindow();
    void StartPlugin();
    void CreateScreens();
    void OnHubEvent(const THubEvent& event);
    void ShowLink();
    void NoteShownNames();
    void ShowHome(const kesdkimpl::LinkStatus& status);
    void OpenSettings();
    bool NeedsLogout(const TStoredSettings& settings) const;
    void SaveSettings(const TStoredSettings& settings);
    static void ApplyTextSize(const TStoredSettings& settings);
    void Apply(const TStoredSettings& settings);
    TStoreFaults StoreSettings();
    QVector<TTextSetting> GivenSettings() const;
    bool IsForNextStart() const;
    void StartSource(const TGpsSetting& gps);
    void ApplyDisplay(const TStoredSettings& chosen);
    void ChangeDisplay(bool TStoredSettings::*setting, bool isOn);
    bool MayLeaveSettings(const std::function<void()>& thenLeave);
    void RequestRestart();
    void Ask(const QString& text, const std::function<void()>& onYes);
    void ShowMessage(const QString& text);
    // Tells the operator if the credentials of a login are not stored.
    void CheckStoredLogin();
    void ShowDialog(const QString& title, const QString& text);

    const TConsoleSettings m_settings;
    TStoredSettings m_stored;
    const TStoredSettings m_atStart;
    TStoredSettings m_inUse;
    const TReadLink m_readLink;
    TOperationView m_operation;
    QString m_loginFailure; // the plug-in's reason, simple HTML
    TDashboard m_dashboard;
    hostimpl::TWheelInput m_wheel;
    std::unique_ptr<TMainWindow> m_window;
    std::unique_ptr<TSettingsPage> m_settingsPage;
    std::unique_ptr<TAboutPage> m_aboutPage;
    hostimpl::TSurfaceRegister m_surfaces;
    std::unique_ptr<TPluginScreens> m_screens;
    std::unique_ptr<TMessageDialog> m_dialog;
    std::unique_ptr<TMessageDialog> m_question;
    TPluginSession m_plugin;
    QTimer m_tick;
    bool m_isFaultShown = false; // the settings page's message is that a setting is not stored
    bool m_isEnding = false;
    bool m_isRestartWanted = false;
};

} // namespace console
