// The login panel: construction, and reactions to the operator and to the hub.
#include "screens/TKelvoMiniView.h"

#include "core/TKelvoInterface.h"
#include "host/ConfigManager.h"
#include "host/TAppUserLevels.h"
#include "host/TProgressDialog.h"
#include "host/TProperty.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"

#include <QtGui/QPixmap>
#include <QtWidgets/QVBoxLayout>

namespace {

// Items of the host's configuration.
constexpr int USER_NAME_ITEM = 24289;
constexpr int PASSWORD_ITEM = 24290;
constexpr int CLEARED_ITEM = 24291;

// Pixels.
constexpr int ROW_HEIGHT = 73;
constexpr int STATUS_HEIGHT = 36;
constexpr int BUTTON_WIDTH = 220;
constexpr int BUTTON_MINIMUM_WIDTH = 100;
constexpr int BUTTON_MAXIMUM_WIDTH = 500;

constexpr int PROGRESS_COMPLETE = 100; // percent

QString ConfiguredText(int itemKey)
{
    return ConfigManager::Instance().GetItem(itemKey).toString();
}

void Configure(int itemKey, const QString& value)
{
    ConfigManager::Instance().SetItem(itemKey, value, true);
}

} // namespace

TKelvoMiniView::TKelvoMiniView(QWidget* parent, const TAppUserLevels& userLevels)
    : ZRA::AppWindowSurface(parent),
      m_errorDialog(nullptr, tr("KELVO Login Error"), QString(), TMessageDialog::eAcknowledge,
                    false, QPixmap()),
      m_userLevels(userLevels)
{
    FillTexts();
    CreateLoginUI();
    ChangeState(eLoggedOut);
    MakeInterfaceConnections();
    SetSurfaceIcon(QStringLiteral("NavKelvo"));
    SetSurfaceTitle(QStringLiteral("KELVO"), false, false);
}

TKelvoMiniView::~TKelvoMiniView() = default;

bool TKelvoMiniView::IsAvailable() const
{
    return m_userLevels.IsControlAccessible(TAppUserLevels::eKelvoControl);
}

// ---- Construction.

// Called once: the texts keep the language of that moment.
void TKelvoMiniView::FillTexts()
{
    m_loggingOutText = tr("Logging out....");
    m_loggingInText = tr("Logging in....");
    m_loggedInText = tr("Logged in");
    m_loginCaption = tr("Login");
    m_processingCaption = tr("Processing, please wait");
    m_logoutCaption = tr("Logout");
    m_untranslatedLoginCaption = QStringLiteral("Login");
    m_untranslatedProcessingCaption = QStringLiteral("Processing, please wait");
    m_untranslatedLogoutCaption = QStringLiteral("Logout");
    m_loginFailureText = tr("Unable to login to KELVO.");
    m_validationText = tr("Please enter a valid username and password.");
}

void TKelvoMiniView::CreateLoginUI()
{
    m_layout = new QVBoxLayout();
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);

    m_userNameRow = CreateCredentialRow(tr("USERNAME"), USER_NAME_ITEM);
    m_passwordRow = CreateCredentialRow(tr("PASSWORD"), PASSWORD_ITEM);
    m_passwordRow->setAllowHideText(true);
    Configure(CLEARED_ITEM, QString::fromLatin1(""));

    m_statusRow = new TProperty(this);
    m_statusRow->SetPropertyName(tr("STATUS"));
    m_statusRow->SetCombinedHeight(STATUS_HEIGHT);

    CreateButton();

    m_layout->addWidget(m_userNameRow);
    m_layout->addWidget(m_passwordRow);
    m_layout->addWidget(m_statusRow);
    m_layout->addWidget(m_button);
    setLayout(m_layout);

    connect(m_userNameRow, SIGNAL(ValueChanged()), this, SLOT(OnKelvoUserNameReceived()));
    connect(m_passwordRow, SIGNAL(ValueChanged()), this, SLOT(OnKelvoPasswordReceived()));
    connect(m_button, SIGNAL(clicked()), this, SLOT(OnLoginButtonClicked()));
}

TPropertyWidget* TKelvoMiniView::CreateCredentialRow(const QString& name, int itemKey)
{
    auto* const row = new TPropertyWidget(this, -1);
    row->setFixedHeight(ROW_HEIGHT);
    row->SetPropertyName(name);
    row->SetPropertyType(TPropertyWidget::eText, nullptr);
    row->SetTextValue(ConfiguredText(itemKey));
    return row;
}

void TKelvoMiniView::CreateButton()
{
    m_button = new TPushButton(this, QString(), QSize(BUTTON_WIDTH, ROW_HEIGHT), QPoint(0, 0), 0,
                               tr("Login to KELVO", "ToolTip"));
    m_button->setMaximumWidth(BUTTON_MAXIMUM_WIDTH);
    m_button->setMinimumWidth(BUTTON_MINIMUM_WIDTH);
    m_button->SetBackground(QStringLiteral("NewStandardButton"));
    m_button->SetSelectedBackground(QStringLiteral("NewStandardButtonSelected"));
    m_button->SetDisabledBackground(QStringLiteral("NewDisabledButton"));
}

void TKelvoMiniView::MakeInterfaceConnections()
{
    if (KelvoInterface == nullptr) {
        return;
    }
    const struct
    {
        const char* hubSignal;
        const char* slot;
    } connections[] = {
        {SIGNAL(KelvoLoggedIn()), SLOT(OnKelvoLoggedIn())},
        {SIGNAL(KelvoLoginInProgress()), SLOT(OnKelvoLoginInProgress())},
        {SIGNAL(KelvoLoggedOut()), SLOT(OnKelvoLoggedOut())},
        {SIGNAL(KelvoLoginFailed(QString)), SLOT(OnKelvoLoginFailed(QString))},
        {SIGNAL(KelvoFileOperationInProgress()), SLOT(OnKelvoFileOperationInProgress())},
        {SIGNAL(KelvoFileOperationComplete()), SLOT(OnKelvoFileOperationComplete())},
        {SIGNAL(KelvoUserInboxSetupInProgress(int)), SLOT(OnKelvoUserInboxSetupInProgress(int))},
        {SIGNAL(KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList)),
         SLOT(OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList))},
    };
    for (const auto& connection : connections) {
        connect(KelvoInterface, connection.hubSignal, this, connection.slot);
    }
}

// ---- The operator.

void TKelvoMiniView::OnKelvoUserNameReceived()
{
    Configure(USER_NAME_ITEM, m_userNameRow->GetTextValue());
}

void TKelvoMiniView::OnKelvoAltnerateURL() {}

void TKelvoMiniView::OnKelvoPasswordReceived()
{
    Configure(PASSWORD_ITEM, m_passwordRow->GetTextValue());
}

void TKelvoMiniView::OnLoginButtonClicked()
{
    if (KelvoInterface == nullptr) { // no hub exists
        return;
    }
    if (KelvoInterface->IsKelvoLoggedIn()) {
        ChangeState(eLogoutInProgress);
        KelvoInterface->OnLogoutFromKelvoRequested();
        return;
    }
    if (ConfiguredText(USER_NAME_ITEM).isEmpty() || ConfiguredText(PASSWORD_ITEM).isEmpty()) {
        ShowError(m_validationText);
        return;
    }
    ChangeState(eLoginInProgress);
    KelvoInterface->OnLoginToKelvoRequested();
}

void TKelvoMiniView::ShowError(const QString& message)
{
    m_errorDialog.SetMessage(message);
    m_errorDialog.ShowWindow(true);
}

// ---- The hub.

void TKelvoMiniView::OnKelvoLoggedIn()
{
    ChangeState(eLoggedIn);
}

void TKelvoMiniView::OnKelvoLoginInProgress()
{
    ChangeState(eLoginInProgress);
}

void TKelvoMiniView::OnKelvoLoggedOut()
{
    ChangeState(eLoggedOut);
}

void TKelvoMiniView::OnKelvoLoginFailed(QString errorMsg)
{
    ChangeState(eLoggedOut);
    ShowError(errorMsg.isEmpty() ? m_loginFailureText : errorMsg);
}

void TKelvoMiniView::OnKelvoFileOperationInProgress()
{
    ChangeState(eFileOperationInProgress);
}

void TKelvoMiniView::OnKelvoFileOperationComplete()
{
    ChangeState(KelvoInterface->IsKelvoLoggedIn() ? eLoggedIn : eLoggedOut);
}

void TKelvoMiniView::OnKelvoUserInboxSetupInProgress(int progress)
{
    if (m_progressDialog == nullptr) {
        m_progressDialog = std::make_unique<TProgressDialog>(nullptr, tr("Configure Kelvo Account"),
                                                             TProgressDialog::ePercentage, true);
    }
    // Shows the dialog again if the operator has closed it.
    if (!m_progressDialog->isVisible()) {
        m_progressDialog->SetMessage(tr("Configuring Kelvo Account"), true);
        m_progressDialog->SetBottomMessage(
            tr("You will be automatically logged out of Kelvo once completed"), true);
        m_progressDialog->ShowWindow(false);
    }
    m_progressDialog->SetProgress(progress);
}

void TKelvoMiniView::OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList errorsList)
{
    ChangeState(eLogoutInProgress);
    KelvoInterface->OnLogoutFromKelvoRequested();
    if (m_progressDialog == nullptr) { // a set-up that ended before its first report
        return;
    }
    m_progressDialog->SetProgress(PROGRESS_COMPLETE);
    m_progressDialog->SetMessage(errorsList.isEmpty() ? tr("Configuration complete")
                                                      : tr("Configuration complete with errors"),
                                 true);
}
