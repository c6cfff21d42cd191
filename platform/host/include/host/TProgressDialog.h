// How far something is that the operator waits for.
#pragma once

#include "host/HostExport.h"
#include "host/TPopupWindow.h"

#include <QtCore/QString>

#include <memory>

// The operator can close it at any time; that cancels nothing. Main thread.
class CONSOLEHOST_EXPORT TProgressDialog : public TPopupWindow
{
    Q_OBJECT

public:
    enum EProgressDialogType : int {
        ePercentage = 0,
    };

    // `isClosable`: with a button that closes it.
    TProgressDialog(QWidget* parent, const QString& title, EProgressDialogType type,
                    bool isClosable);
    ~TProgressDialog() override;

    // Both: `isShown` false hides the text.
    void SetMessage(const QString& message, bool isShown);
    void SetBottomMessage(const QString& message, bool isShown);
    QString Message() const;
    QString BottomMessage() const;
    QString Title() const;

    // Percent, cut to 0 to 100.
    void SetProgress(int percent);
    int Progress() const;

    bool OnBackPressed() override;

protected:
    QSize SizeWithin(const QSize& available) const override;

private:
    class TContent;
    std::unique_ptr<TContent> m_content;
};
