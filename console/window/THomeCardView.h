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

    void Show(const THomeCard& card);
    // Puts the badge beside the title if the card has that width, in pixels, or else below it.
    void Fit(int width);
    QString Text() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void ShowColours();

    QBoxLayout* m_head;
    QLabel* m_title;
    QLabel* m_badge;
    QLabel* m_text;
};

} // namespace console
