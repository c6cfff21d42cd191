// The page that tells what the console is: versions, free space, licences, the last log lines.
#pragma once

#include <QtWidgets/QWidget>

class QLabel;

namespace console {

// Reads everything anew each time the page is shown.
//
// Thread: main.
class TAboutPage : public QWidget
{
    Q_OBJECT

public:
    explicit TAboutPage(QWidget* parent = nullptr);
    ~TAboutPage() override;

    // The shown text, HTML.
    QString Text() const;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void Read();

    QLabel* m_text;
};

} // namespace console
