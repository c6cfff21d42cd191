// The page that tells what the console is: versions, free space, licences, the last log lines.
#pragma once

#include "host/MMICapableWidget.h"

#include <QtWidgets/QWidget>

class QLabel;
class QScrollArea;

namespace console {

// Reads everything anew each time the page is shown.
//
// Thread: main.
class TAboutPage : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TAboutPage(QWidget* parent = nullptr);
    ~TAboutPage() override;

    // The shown text, HTML.
    QString Text() const;

    // Scrolls. False at the end of the text, so that the focus moves on.
    bool OnWheelTurned(int steps) override;

Q_SIGNALS:
    void CloseRequested();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void Read();

    QLabel* m_text;
    QScrollArea* m_area;
};

} // namespace console
