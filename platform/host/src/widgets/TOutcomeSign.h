// The sign of success or failure beside the text of a dialog.
#pragma once

#include "hostimpl/Outcome.h"

#include <QtWidgets/QWidget>

#include <optional>

// Keeps its space while it is hidden. Main thread.
class TOutcomeSign : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int outcome READ Outcome)

public:
    // Follows hostimpl::SetOutcome. Without an operation it shows a failure.
    explicit TOutcomeSign(std::optional<hostimpl::EOutcomeOf> operation, QWidget* parent = nullptr);
    ~TOutcomeSign() override;

    // Whether the dialog's operation has ended.
    void SetEnded(bool hasEnded);
    // Takes the outcome that SetOutcome has set.
    void Refresh();
    // An EOutcome; eNone while the sign is hidden.
    int Outcome() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    hostimpl::EOutcome m_outcome = hostimpl::EOutcome::eFailed;
    const std::optional<hostimpl::EOutcomeOf> m_operation;
    bool m_hasEnded = true;
};
