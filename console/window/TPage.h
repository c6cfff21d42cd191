// A page of the main area: a title and its content.
#pragma once

#include <QtWidgets/QWidget>

class QLabel;
class QScrollArea;

namespace console {

// Scrolls if the window is too low for the content. The content's popups are shown over the page
// and block nothing else.
//
// Thread: main. Ownership: the content is its child until Release().
class TPage : public QWidget
{
    Q_OBJECT

public:
    TPage(QWidget* content, const QString& title, QWidget* parent = nullptr);

    void SetTitle(const QString& title);
    // Hides the content and returns it without a parent. Null if the content was destroyed or
    // released before.
    QWidget* Release();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void ShowTitle();

    QLabel* m_title;
    QScrollArea* m_area;
};

} // namespace console
