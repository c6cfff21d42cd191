#include "console/window/TWindowSession.h"

#include "console/settings/StoreErrors.h"
#include "console/settings/TAboutPage.h"
#include "console/settings/TSettingsPage.h"
#include "console/window/OnScreenKeyboard.h"
#include "console/window/THomePage.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TStatusBar.h"
#include "host/ConfigManager.h"
#include "host/TListWidget.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "hostimpl/Folders.h"
#include "hostimpl/Outcome.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/Theme.h"
#include "hostimpl/TransferProgress.h"
#include "hostimpl/WindowManager.h"

#include <QtCore/QPointer>
#include <QtGui/QGuiApplication>
#include <QtGui/QPixmap>
#include <QtGui/QScreen>

#include <utility>

namespace {

constexpr int tickMs = 250;

} // namespace

namespace console {

TWindowSession::TWindowSession(const TConsoleSettings& settings, const TStoredSettings& stored,
                               TReadLink readLink)
    : m_settings(settings),
      m_stored(stored),
      m_atStart(stored),
      m_inUse(stored),
      m_readLink(std::move(readLink)),
      m_dashboard(ConfigManager::Instance(), qEnvironmentVariable("KELVO_API_HOST"))
{
    m_inUse.service = qEnvironmentVariable("KELVO_API_HOST");
    m_inUse.authorityFile = qEnvironmentVariable("KESDK_CA_FILE");
    m_inUse.dataFolder = hostimpl::DataFolder();
}

TWindowSession::~TWindowSession()
{
    End();
}

void TWindowSession::Begin()
{
    ApplyTextSize(m_stored); // the widgets are made in this size
    m_window = std::make_unique<TMainWindow>();
    m_window->FitInto(QGuiApplication::primaryScreen()->availableGeometry());
    m_settingsPage = std::make_unique<TSettingsPage>();
    m_settingsPage->SetGiven(GivenSettings());
    m_aboutPage = std::make_unique<TAboutPage>();
    m_screens = std::make_unique<TPluginScreens>(m_surfaces, *m_window);
    hostimpl::SetPopupHost(m_window.get(), &m_window->Status());
    hostimpl::SetWindowManager(&m_surfaces);
    ConnectWindow();
    if (QWidget* const keyboard = LoadKeyboard(m_window.get())) {
        m_window->SetKeyboard(keyboard);
    }
    Apply(m_stored);
    m_window->show();
    m_window->activateWindow(); // without a window manager no window gets the keys
    StartPlugin();
    StartSource(m_settings.gps);
}

void TWindowSession::ConnectWindow()
{
    TLauncherBar& launcher = m_window->Launcher();
    connect(m_window.get(), &TMainWindow::CloseRequested, this, [this] {
        if (MayLeaveSettings([this] { RequestEnd(); })) {
            RequestEnd();
        }
    });
    m_window->SetLeaveCheck([this](QWidget* next) {
        return MayLeaveSettings(
            [this, page = QPointer<QWidget>(next)] { m_window->ShowPage(page.data()); });
    });
    connect(m_window.get(), &TMainWindow::FullScreenChanged, this,
            [this](bool isOn) { ChangeDisplay(&TStoredSettings::isFullScreen, isOn); });
    connect(&launcher, &TLauncherBar::OpenSettings, this, &TWindowSession::OpenSettings);
    connect(&launcher, &TLauncherBar::ToggleLight, this,
            [this] { ChangeDisplay(&TStoredSettings::isNight, !m_stored.isNight); });
    connect(m_settingsPage.get(), &TSettingsPage::DisplayChosen, this,
            &TWindowSession::ApplyDisplay);
    connect(m_settingsPage.get(), &TSettingsPage::SaveRequested, this,
            &TWindowSession::SaveSettings);
    connect(m_settingsPage.get(), &TSettingsPage::AboutRequested, this, [this] {
        m_window->AddPage(m_aboutPage.get(), tr("About this console"));
        m_window->ShowPage(m_aboutPage.get());
    });
    connect(m_aboutPage.get(), &TAboutPage::CloseRequested, this, &TWindowSession::OpenSettings);
    connect(m_settingsPage.get(), &TSettingsPage::RestartRequested, this,
            &TWindowSession::RequestRestart);
    connect(m_screens.get(), &TPluginScreens::Failed, this, &TWindowSession::ShowMessage);
    // Polled, because there may be more fixes and more moved bytes than the window can draw.
    connect(&m_tick, &QTimer::timeout, m_window.get(), [this] {
        m_window->Status().ShowPosition(m_plugin.Position().State());
        ShowLink();
    });
    m_tick.start(tickMs);
    connect(&m_window->Home(), &THomePage::Opened, this, [this] {
        if (!m_isEnding) {
            ShowLink(); // the page was not polled while another page was open
        }
    });
}

// A request before WorkerReady() is lost: until then there are no screens to make a request with.
void TWindowSession::StartPlugin()
{
    connect(&m_plugin, &TPluginSession::WorkerReady, this, &TWindowSession::CreateScreens);
    connect(&m_plugin, &TPluginSession::WorkerFailed, this, [this] {
        ShowMessage(tr("The plug-in does not take requests; is the service's address usable?"));
    });
    QString errorText;
    if (!m_plugin.Start(m_settings.pluginPath, m_window.get(), errorText)) {
        ShowMessage(errorText);
    }
}

void TWindowSession::CreateScreens()
{
    if (m_isEnding) {
        return;
    }
    QString errorText;
    if (!m_plugin.Listen([this](const THubEvent& event) { OnHubEvent(event); }, errorText)) {
        ShowMessage(errorText);
        return;
    }
    if (!m_plugin.CreateScreens(errorText)) {
        ShowMessage(errorText);
    }
}

void TWindowSession::OnHubEvent(const THubEvent& event)
{
    if (event.signal == EHubSignal::eLoginInProgress || event.signal == EHubSignal::eLoginFailed) {
        m_loginFailure = event.message.value_or(QString());
    }
    m_dashboard.OnHubEvent(event);
    m_operation.OnHubEvent(event);
    ShowLink();
    if (event.signal == EHubSignal::eLoggedIn) {
        CheckStoredLogin();
    }
}

void TWindowSession::CheckStoredLogin()
{
    const QString fault = LoginFault(hostimpl::TConfigStore::Process().FlushAll());
    if (!fault.isEmpty()) {
        ShowDialog(tr("Settings"), fault);
    }
}

void TWindowSession::ShowLink()
{
    const kesdkimpl::LinkStatus status = m_readLink();
    if (const std::optional<TStatusWords> words = m_operation.Show(status)) {
        m_window->Status().ShowLink(*words);
    }
    m_window->Banner().Show(status.session, m_loginFailure);
    ShowHome(status);
}

// The operator sees the list of the open page.
void TWindowSession::NoteShownNames()
{
    const QWidget* const page = m_window->CurrentPage();
    const auto lists = page == nullptr ? QList<TListWidget*>() : page->findChildren<TListWidget*>();
    const auto rows =
        page == nullptr ? QList<TPropertyWidget*>() : page->findChildren<TPropertyWidget*>();
    QStringList choices;
    for (const TPropertyWidget* const row : rows) {
        choices << row->GetTextValue();
    }
    for (const TListWidget* const list : lists) {
        if (!m_dashboard.HasNewInListOf(list->count())) {
            continue; // to read a long list takes time
        }
        QStringList names;
        QSet<int> hiddenRows;
        for (int row = 0; row < list->count(); ++row) {
            names << list->item(row)->text();
            if (list->item(row)->isHidden()) {
                hiddenRows.insert(row);
            }
        }
        m_dashboard.OnNamesShown(names, choices, hiddenRows);
    }
}

void TWindowSession::ShowHome(const kesdkimpl::LinkStatus& status)
{
    if (m_dashboard.NewFiles() > 0) {
        NoteShownNames();
    }
    m_window->Launcher().SetBadge(m_dashboard.NewFiles());
    if (m_window->CurrentPage() != nullptr) {
        m_dashboard.RefreshFolders(); // a page may delete files
        return;
    }
    m_dashboard.SaveSeen(); // on the home page only: on a list each new file would cause a write
    THomeState state = m_dashboard.State(std::chrono::steady_clock::now());
    state.link = status;
    state.position = m_plugin.Position().State();
    m_window->Home().Show(state);
}

void TWindowSession::RequestEnd()
{
    if (m_isEnding || m_window == nullptr) {
        return;
    }
    m_isEnding = true;
    m_window->ShowEnding();
    Q_EMIT EndRequested();
}

// The order matters. While the plug-in is finalised, the window manager, its surfaces and all
// objects of TPluginContext must exist. The window is deleted after everything that it contains.
void TWindowSession::End()
{
    if (m_window == nullptr) {
        return;
    }
    m_isEnding = true;
    StoreSettings();
    m_dashboard.SaveSeen();
    m_plugin.Stop();
    const QList<ZRA::OrvaleID> forgotten = m_surfaces.Applications();
    for (const ZRA::OrvaleID& application : forgotten) {
        m_surfaces.RemoveWindowSurfaces(application);
    }
    hostimpl::SetWindowManager(nullptr);
    hostimpl::SetPopupHost(nullptr);
    hostimpl::SetTransferProgress({});
    m_dialog.reset();
    m_question.reset();
    m_screens.reset();
    m_window->SetLeaveCheck({});
    m_window->RemovePage(m_aboutPage.get());
    m_aboutPage.reset();
    m_window->RemovePage(m_settingsPage.get());
    m_settingsPage.reset();
    m_window.reset();
}

void TWindowSession::ShowMessage(const QString& text)
{
    m_window->Home().SetNotice(text);
    ShowDialog(tr("Plug-in"), text);
}

void TWindowSession::ShowDialog(const QString& title, const QString& text)
{
    m_dialog = std::make_unique<TMessageDialog>(m_window.get(), title, text.toHtmlEscaped(),
                                                TMessageDialog::eAcknowledge, false, QPixmap());
    hostimpl::SetOutcome(hostimpl::EOutcomeOf::eMessage, hostimpl::EOutcome::eFailed);
    m_dialog->ShowWindow(true);
}

} // namespace console
