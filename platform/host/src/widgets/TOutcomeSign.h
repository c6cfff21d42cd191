// The sign of success or failure beside the text of a dialog.
#pragma once

#include "hostimpl/Outcome.h"

#include <QtWidgets/QWidget>

// Keeps its space while it is hidden. Main thread.
class TOutcomeSign : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int outcome READ Outcome)

public:
    // Follows hostimpl::SetOutcome, but not for a message. Hidden at first.
    TOutcomeSign(hostimpl::EOutcomeOf operation, QWidget& parent);
    ~TOutcomeSign() override;

    // Whether the dialog's operation has ended.
    void SetEnded(bool hasEnded);
    // Takes the outcome that SetOutcome has set.
    void Refresh();
    // Takes the outcome that is set for the next message, if there is one. No other sign gets it.
    void TakeMessage();
    // The message has ended.
    void ForgetMessage();
    // The shown EOutcome; eNone while the sign is hidden.
    int Outcome() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void Show(hostimpl::EOutcome outcome);

    const hostimpl::EOutcomeOf m_operation;
    hostimpl::EOutcome m_outcome = hostimpl::EOutcome::eNone;
    bool m_hasEnded = false;
};
