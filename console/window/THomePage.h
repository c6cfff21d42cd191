// What the main area shows while no page is open.
#pragma once

#include <QtWidgets/QWidget>

class QLabel;

namespace console {

// Thread: main.
class THomePage : public QWidget
{
    Q_OBJECT

public:
    explicit THomePage(QWidget* parent = nullptr);

    // What the operator has to know, plain text; empty for the usual words.
    void SetNotice(const QString& text);
    QString Notice() const;

private:
    QLabel* m_notice;
};

} // namespace console
