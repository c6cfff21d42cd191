// Shows the progress of an operation that the operator waits for.
#pragma once

#include "host/HostExport.h"
#include "host/TPopupWindow.h"

#include <QtCore/QString>

#include <memory>

// The operator can close the dialog at any time. Closing does not cancel the operation. Main
// thread.
class CONSOLEHOST_EXPORT TProgressDialog : public TPopupWindow
{
    Q_OBJECT

public:
    enum EProgressDialogType : int {
        ePercentage = 0,
    };

    // With `isClosable` the dialog has a button that closes it.
    TProgressDialog(QWidget* parent, const QString& title, EProgressDialogType type,
                    bool isClosable);
    ~TProgressDialog() override;

    // If `isShown` is false, the text is hidden.
    void SetMessage(const QString& message, bool isShown);
    void SetBottomMessage(const QString& message, bool isShown);
    QString Message() const;
    QString BottomMessage() const;
    QString Title() const;

    // A percentage. Values beyond 0 to 100 are set to the nearer limit.
    void SetProgress(int percent);
    int Progress() const;

    bool OnBackPressed() override;

protected:
    QSize SizeWithin(const QSize& available) const override;

private:
    class TContent;
    std::unique_ptr<TContent> m_content;
};
