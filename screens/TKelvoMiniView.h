// The plug-in's small surface: the login panel.
#pragma once

#include "core/KelvoRecords.h"
#include "host/AppWindowSurface.h"
#include "host/TMessageDialog.h"

#include <QtCore/QString>

#include <memory>

class QVBoxLayout;
class TAppUserLevels;
class TProgressDialog;
class TProperty;
class TPropertyWidget;
class TPushButton;

// User name, password, a status row, and one button that logs in, logs out or shows that the system
// is busy. The panel writes each entered credential to the host's configuration at once and keeps
// no copy. The worker reads the credentials there.
//
// Thread: main. Ownership: the window manager owns the panel after its registration. The host owns
// the user levels, which have to outlive the panel. Errors: shown in a dialog.
//
//   logged out ──button──► login in progress ──hub──► logged in ──button──► logout in progress
//       ▲  ▲                      │ failed                │ ▲                        │
//       │  └──────────────────────┘        file operation │ │ its end                │
//       │                                                 ▼ │                        │
//       ├──── its end, when logged out ◄─── file operation in progress               │
//       └────────────────────────────────────────────────────────────────────────────┘
//
// The panel always starts in the state "logged out": it does not read the hub's flags. The order of
// the members and of the slots is part of the contract.
class TKelvoMiniView : public ZRA::AppWindowSurface
{
    Q_OBJECT

public:
    enum EState : int {
        eLoggedOut = 0,
        eLoginInProgress = 1,
        eLoggedIn = 2,
        eLogoutInProgress = 3,
        eFileOperationInProgress = 4,
    };

    TKelvoMiniView(QWidget* parent, const TAppUserLevels& userLevels);
    ~TKelvoMiniView() override;

    // True if the operator's user level grants access.
    bool IsAvailable() const override;

public Q_SLOTS:
    // A value outside EState is stored and does not change the screen.
    void ChangeState(int toState);
    void OnKelvoUserNameReceived();
    // Empty and not connected. It keeps its place in the order of the slots.
    void OnKelvoAltnerateURL();
    void OnKelvoPasswordReceived();
    void OnKelvoLoggedIn();
    void OnKelvoLoginInProgress();
    void OnKelvoLoggedOut();
    void OnKelvoLoginFailed(QString errorMsg);
    void OnLoginButtonClicked();
    void OnKelvoFileOperationInProgress();
    void OnKelvoFileOperationComplete();
    void OnKelvoUserInboxSetupInProgress(int progress);
    // Logs out, because the operator has to log in again after the set-up.
    void OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList errorsList);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct TStateLayout;

    void FillTexts();
    void CreateLoginUI();
    TPropertyWidget* CreateCredentialRow(const QString& name, int itemKey);
    void CreateButton();
    void MakeInterfaceConnections();
    void Apply(const TStateLayout& layout);
    void ShowError(const QString& message);

    TMessageDialog m_errorDialog;
    std::unique_ptr<TProgressDialog> m_progressDialog; // created at the first report of a set-up
    QString m_loggingOutText;
    QString m_loggingInText;
    QString m_loggedInText;
    QString m_loginCaption;
    QString m_processingCaption;
    QString m_logoutCaption;
    QString m_untranslatedLoginCaption;
    QString m_untranslatedProcessingCaption;
    QString m_untranslatedLogoutCaption;
    QString m_loginFailureText;
    QString m_validationText;
    QVBoxLayout* m_layout = nullptr;
    TPropertyWidget* m_userNameRow = nullptr;
    TPropertyWidget* m_passwordRow = nullptr;
    TProperty* m_statusRow = nullptr;
    TPushButton* m_button = nullptr;
    int m_state = eLoggedOut;
    const TAppUserLevels& m_userLevels;
};
