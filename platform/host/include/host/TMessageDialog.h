// A message to the operator, with the buttons to answer it.
#pragma once

#include "host/HostExport.h"
#include "host/TPopupWindow.h"

#include <QtCore/QString>
#include <QtGui/QPixmap>

#include <memory>

class TPushButton;

// Its content is built when it is first needed. A button closes the dialog after its signal, but
// the Cancel button of a running operation, whose end the operator waits for. Who shows the dialog
// again from its signal keeps it open. Main thread.
class CONSOLEHOST_EXPORT TMessageDialog : public TPopupWindow
{
    Q_OBJECT

public:
    enum EMessageDialogType : int {
        eAcknowledge = 0, // button 0 closes it
        eOperation = 2,   // button 0 closes it, button 1 cancels; shows that work is going on
        eQuestion = 4,    // button 0 is yes, button 1 is no
    };
    enum EMessageDialogButton : int {
        eButton0 = 0,
        eButton1 = 1,
    };

    // `isFullScreen`: it covers the whole screen. `pixmap` stands beside the message unless it is
    // null.
    TMessageDialog(QWidget* parent, const QString& title, const QString& message,
                   EMessageDialogType type, bool isFullScreen, const QPixmap& pixmap);
    ~TMessageDialog() override;

    // The title and the message may be changed at any time. Simple HTML is drawn as such.
    void SetMessage(const QString& message);
    QString Message() const;
    QString Title() const;
    EMessageDialogType Type() const;

    // Builds the content if that has not been done yet.
    void SetupIfRequired();
    // Null for a button that the type does not have, and before the content is built.
    TPushButton* GetMessageDialogButton(EMessageDialogButton button) const;
    // Builds the content if needed. Nothing happens for a button that the type does not have.
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
