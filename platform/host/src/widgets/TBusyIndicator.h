// Shows by its motion that work is going on.
#pragma once

#include <QtCore/QBasicTimer>
#include <QtWidgets/QWidget>

// Moves only while it is running and can be seen. Main thread.
class TBusyIndicator : public QWidget
{
    Q_OBJECT

public:
    explicit TBusyIndicator(QWidget* parent = nullptr);
    ~TBusyIndicator() override;

    // Stopped, it is not drawn but keeps its place.
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
    int m_position = 0; // of the leading dot
    bool m_isRunning = false;
};
