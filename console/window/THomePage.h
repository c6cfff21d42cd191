// The main area while no page is open: the state of the files, the link and the position.
#pragma once

#include "console/window/HomeTexts.h"
#include "host/MMICapableWidget.h"

#include <QtWidgets/QWidget>

class QGridLayout;
class QLabel;
class QScrollArea;

namespace console {

class THomeCardView;

// Shows as many columns of cards as fit. If the cards are higher than the page, the page scrolls
// and takes the focus, so that the wheel scrolls it too.
//
// Thread: main.
class THomePage : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit THomePage(QWidget* parent = nullptr);

    void Show(const THomeState& state);
    // The texts of the cards, such as "Curves\nOn KELVO: 3\nDownloaded: 1   To send: 0".
    QStringList Texts() const;
    // A message to the operator, plain text. An empty text shows none.
    void SetNotice(const QString& text);
    QString Notice() const;

    bool OnWheelTurned(int steps) override;

Q_SIGNALS:
    // The operator sees the page now. Its cards may be old.
    void Opened();

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    void Arrange();
    void ShowCards();
    void UpdateFocusPolicy();

    QLabel* m_notice;
    QGridLayout* m_grid;
    QScrollArea* m_area;
    QVector<THomeCard> m_cards;
    QVector<THomeCardView*> m_views; // one for each card
    int m_columns = 0;
};

} // namespace console
