// The part of TWindowSession for the operator's settings.
#include "console/settings/SettingRows.h"
#include "console/settings/TSettingsPage.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TWindowSession.h"
#include "host/TMessageDialog.h"
#include "hostimpl/Display.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/Theme.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QPixmap>
#include <QtGui/QScreen>

namespace {

constexpr double largeTexts = 1.15;

using console::TConsoleSettings;
using console::TStoredSettings;

struct TOptionRow
{
    bool TConsoleSettings::*isGiven;
    console::TTextSetting setting;
};
constexpr TOptionRow optionRows[] = {
    {&TConsoleSettings::isServiceGiven, &TStoredSettings::service},
    {&TConsoleSettings::isAuthorityGiven, &TStoredSettings::authorityFile},
    {&TConsoleSettings::isDataFolderGiven, &TStoredSettings::dataFolder},
    {&TConsoleSettings::isGpsGiven, &TStoredSettings::positionSource},
};

} // namespace

namespace console {

void TWindowSession::OpenSettings()
{
    if (m_window->CurrentPage() !=
        m_settingsPage.get()) { // a shown page keeps the values that the operator has typed
        m_settingsPage->Lock();
        m_settingsPage->Show(m_stored);
        m_window->AddPage(m_settingsPage.get(), tr("Settings"));
    }
    // A second touch has released the launcher's button, so the shown page is shown again.
    m_window->ShowPage(m_settingsPage.get());
}

// Without data exchange the login panel is away, and with it the button that logs out.
bool TWindowSession::NeedsLogout(const TStoredSettings& settings) const
{
    const kesdkimpl::ESession session = m_readLink().session;
    return m_stored.isDataExchangeAllowed && !settings.isDataExchangeAllowed &&
           (session == kesdkimpl::ESession::eConnecting ||
            session == kesdkimpl::ESession::eLoggedIn);
}

void TWindowSession::SaveSettings(const TStoredSettings& settings)
{
    if (NeedsLogout(settings)) {
        m_settingsPage->SetMessage(
            tr("Log out before you choose a user level without data exchange."));
        return;
    }
    const TStoredSettings former = m_stored;
    m_stored = settings;
    const TStoreFaults faults = StoreSettings();
    if (!faults.dataFolder.isEmpty()) {
        m_stored.dataFolder = former.dataFolder;
    }
    Apply(settings);
    if (former.positionSource != settings.positionSource) {
        TGpsSetting gps;
        QString errorText;
        if (!settings.positionSource.isEmpty() &&
            !ParseGpsSetting(settings.positionSource, gps, errorText)) {
            gps = {};
        }
        StartSource(gps);
    }
    m_settingsPage->Show(m_stored);
    // A new start would lose settings that are not stored.
    const bool isForNextStart = faults.settings.isEmpty() && IsForNextStart();
    m_settingsPage->OfferRestart(isForNextStart);
    m_isFaultShown = !faults.Text().isEmpty();
    m_settingsPage->SetMessage(m_isFaultShown ? faults.Text()
                               : isForNextStart
                                   ? tr("Kept. It applies from the next start of the console on.")
                                   : tr("Kept."));
}

// The settings that the command line names.
QVector<TTextSetting> TWindowSession::GivenSettings() const
{
    QVector<TTextSetting> given;
    for (const TOptionRow& row : optionRows) {
        if (m_settings.*row.isGiven) {
            given << row.setting;
        }
    }
    return given;
}

// Whether a new start uses another value than this start.
bool TWindowSession::IsForNextStart() const
{
    const QVector<TTextSetting> given = GivenSettings();
    const auto applies = [this, &given](TTextSetting setting) {
        return m_atStart.*setting != m_stored.*setting && !given.contains(setting);
    };
    return applies(&TStoredSettings::service) || applies(&TStoredSettings::authorityFile) ||
           applies(&TStoredSettings::dataFolder) || applies(&TStoredSettings::language);
}

void TWindowSession::ApplyDisplay(const TStoredSettings& chosen)
{
    for (const TFlagRow& row : flagRows) {
        if (row.isAtOnce) {
            m_stored.*row.value = chosen.*row.value;
        }
    }
    Apply(m_stored);
    m_settingsPage->ShowDisplay(m_stored);
    const QString fault = StoreSettings().Text();
    if (!fault.isEmpty() || m_isFaultShown) {
        m_settingsPage->SetMessage(fault);
        m_isFaultShown = !fault.isEmpty();
    }
}

// If the settings page has values that are not saved, asks the operator and returns false. If the
// operator drops the values, calls `thenLeave`.
bool TWindowSession::MayLeaveSettings(const std::function<void()>& thenLeave)
{
    if (m_window->CurrentPage() != m_settingsPage.get() || !m_settingsPage->HasChanges()) {
        return true;
    }
    Ask(tr("Some changes are not saved. Leave the settings without these changes?"),
        [this, thenLeave] {
            m_settingsPage->Show(m_stored);
            thenLeave();
        });
    return false;
}

// After the new start the operator has to start the operation again.
void TWindowSession::RequestRestart()
{
    const auto restart = [this] {
        m_isRestartWanted = true;
        RequestEnd();
    };
    if (m_operation.IsRunning()) {
        Ask(tr("An upload, download or deletion is running. After the restart, log in, select its "
               "files and start it again. Restart now?"),
            restart);
    } else {
        restart();
    }
}

void TWindowSession::Ask(const QString& text, const std::function<void()>& onYes)
{
    m_question = std::make_unique<TMessageDialog>(m_window.get(), tr("Settings"), text,
                                                  TMessageDialog::eQuestion, false, QPixmap());
    connect(m_question.get(), &TMessageDialog::Yes, this, onYes);
    m_question->ShowWindow(true);
}

void TWindowSession::StartSource(const TGpsSetting& gps)
{
    m_plugin.StartSource(gps);
    m_inUse.positionSource = ToText(gps);
    m_settingsPage->SetInUse(m_inUse);
}

void TWindowSession::ChangeDisplay(bool TStoredSettings::*setting, bool isOn)
{
    TStoredSettings changed = m_stored;
    changed.*setting = isOn;
    ApplyDisplay(changed);
}

void TWindowSession::ApplyTextSize(const TStoredSettings& settings)
{
    const QScreen& screen = *QGuiApplication::primaryScreen();
    const double ratio = screen.devicePixelRatio();
    const hostimpl::TDisplay& display = hostimpl::DisplayOf(screen.size() * ratio);
    hostimpl::SetTextSize(display.PixelMillimetres() * ratio,
                          settings.isTextLarge ? largeTexts : 1.0);
}

void TWindowSession::Apply(const TStoredSettings& settings)
{
    ApplyTextSize(settings);
    const auto theme = settings.isNight ? hostimpl::ETheme::eNight : hostimpl::ETheme::eDay;
    hostimpl::SetTheme(theme);
    m_window->Launcher().SetNight(settings.isNight);
    if (m_window->isFullScreen() != settings.isFullScreen) {
        m_window->setWindowState(m_window->windowState() ^ Qt::WindowFullScreen);
    }
    m_screens->Refresh(); // the user level may have changed
}

TStoreFaults TWindowSession::StoreSettings()
{
    return WriteStoredSettings(hostimpl::TConfigStore::Process(), m_stored);
}

} // namespace console
