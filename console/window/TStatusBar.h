// The line at the bottom: position, link, time.
#pragma once

#include "console/position/PositionState.h"
#include "console/window/StatusTexts.h"

#include <QtCore/QTimer>
#include <QtWidgets/QFrame>

class QLabel;

namespace console {

class TStatusItem;

// Thread: main.
class TStatusBar : public QFrame
{
    Q_OBJECT

public:
    explicit TStatusBar(QWidget* parent = nullptr);

    void ShowPosition(const TPositionState& state);
    void ShowLink(const TStatusWords& words);

    QString PositionText() const;
    QString LinkText() const;
    QString ClockText() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void ShowTime();
    void FitHeight();

    TStatusItem* m_position;
    TStatusItem* m_link;
    QLabel* m_clock;
    QTimer m_tick;
};

} // namespace console
