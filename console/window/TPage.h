// Something that fills the main area, below its title.
#pragma once

#include <QtWidgets/QWidget>

class QLabel;
class QScrollArea;

namespace console {

// Scrolls where the window is too low for its content.
//
// Thread: main. Ownership: the content is its child until Release().
class TPage : public QWidget
{
    Q_OBJECT

public:
    TPage(QWidget* content, const QString& title, QWidget* parent = nullptr);

    void SetTitle(const QString& title);
    // Gives the content back, hidden and without a parent. Null if that was destroyed or released.
    QWidget* Release();

private:
    QLabel* m_title;
    QScrollArea* m_area;
};

} // namespace console
