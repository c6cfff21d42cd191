// A message to the operator with the buttons for the answer.
#pragma once

#include "host/HostExport.h"
#include "host/TPopupWindow.h"

#include <QtCore/QString>
#include <QtGui/QPixmap>

#include <memory>

class TPushButton;

// The dialog builds its content on first use. A button emits its signal and then closes the dialog.
// The Cancel button of a running operation does not close the dialog: the operator waits for the
// operation's end. A slot that shows the dialog again keeps the dialog open. Beside the message, a
// sign tells a failure, or how the operation has ended. A mere notice has no sign. If a search
// hides selected names, a question says how many names are left out. Main thread.
class CONSOLEHOST_EXPORT TMessageDialog : public TPopupWindow
{
    Q_OBJECT

public:
    enum EMessageDialogType : int {
        eAcknowledge = 0, // a notice or a failure; button 0 closes the dialog
        eOperation = 2,   // button 0 closes the dialog, button 1 cancels; shows a busy indicator
        eQuestion = 4,    // button 0 is yes, button 1 is no
    };
    enum EMessageDialogButton : int {
        eButton0 = 0,
        eButton1 = 1,
    };

    // With `isFullScreen` the dialog covers the whole screen. A `pixmap` that is not null is drawn
    // beside the message.
    TMessageDialog(QWidget* parent, const QString& title, const QString& message,
                   EMessageDialogType type, bool isFullScreen, const QPixmap& pixmap);
    ~TMessageDialog() override;

    // The message may be changed at any time. Simple HTML is rendered.
    void SetMessage(const QString& message);
    QString Message() const;
    QString Title() const;
    EMessageDialogType Type() const;

    // Builds the content if it is not built yet.
    void SetupIfRequired();
    // Null for a button that the type does not have, and before the content is built.
    TPushButton* GetMessageDialogButton(EMessageDialogButton button) const;
    // Builds the content if needed. Does nothing for a button that the type does not have.
    void EnableButton(EMessageDialogButton button, bool isEnabled);

    bool OnBackPressed() override;
    // Builds the content first.
    void setVisible(bool isVisible) override;

Q_SIGNALS:
    void Ok();
    void Yes();
    void No();
    void Cancel();

protected:
    QSize SizeWithin(const QSize& available) const override;

private:
    class TContent;
    std::unique_ptr<TContent> m_content;
};
