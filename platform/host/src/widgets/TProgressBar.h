// A bar that shows a percentage.
#pragma once

#include <QtWidgets/QWidget>

// Main thread.
class TProgressBar : public QWidget
{
    Q_OBJECT

public:
    explicit TProgressBar(QWidget* parent = nullptr);
    ~TProgressBar() override;

    // 0 to 100.
    void SetPercent(int percent);
    int Percent() const { return m_percent; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_percent = 0;
};
