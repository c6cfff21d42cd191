// Rotating dots for an operation that is running.
#pragma once

#include <QtCore/QBasicTimer>
#include <QtWidgets/QWidget>

// The dots rotate only while the indicator is running and visible. Main thread.
class TBusyIndicator : public QWidget
{
    Q_OBJECT

public:
    explicit TBusyIndicator(QWidget* parent = nullptr);
    ~TBusyIndicator() override;

    // A stopped indicator is not drawn but keeps its space.
    void SetRunning(bool isRunning);
    bool IsRunning() const { return m_isRunning; }
    bool IsMoving() const { return m_timer.isActive(); }

    QSize sizeHint() const override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void UpdateTimer();

    QBasicTimer m_timer;
    int m_position = 0; // the place of the leading dot
    bool m_isRunning = false;
};
