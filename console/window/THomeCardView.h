// A panel with a title, a badge and lines of text.
#pragma once

#include <QtWidgets/QFrame>

class QBoxLayout;
class QLabel;

namespace console {

struct THomeCard;

// Thread: main.
class THomeCardView : public QFrame
{
    Q_OBJECT

public:
    explicit THomeCardView(QWidget* parent = nullptr);

    // `width`: of the card, in pixels. The badge is beside the title, or below it if the title is
    // too long. Does nothing if nothing has changed.
    void Show(const THomeCard& card, int width);
    QString Text() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void Fit();
    void ShowColours();

    QBoxLayout* m_head;
    QLabel* m_title;
    QLabel* m_badge;
    QLabel* m_text;
    int m_width = 0;
};

} // namespace console
