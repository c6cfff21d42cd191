// The main area while no page is open.
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

    // A message to the operator, plain text. An empty text shows the usual text.
    void SetNotice(const QString& text);
    QString Notice() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QLabel* m_title;
    QLabel* m_notice;
};

} // namespace console
