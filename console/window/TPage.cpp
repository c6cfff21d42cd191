#include "console/window/TPage.h"

#include "console/settings/Scrolling.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int margin = 6;
constexpr int heightForTitle = 600; // a window of this height has room for the title

} // namespace

namespace console {

TPage::TPage(QWidget* content, const QString& title, QWidget* parent)
    : QWidget(parent), m_title(new QLabel), m_area(MakeScrollArea(content))
{
    m_title->setTextFormat(Qt::PlainText);
    m_title->setContentsMargins(16, 6, 16, 6);
    m_title->setFont(hostimpl::ThemeFont(hostimpl::EFont::eTitle));
    m_title->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_title);
    auto* const body = new QHBoxLayout;
    body->setContentsMargins(margin, 0, margin, margin);
    body->addWidget(m_area);
    column->addLayout(body, 1);
    SetTitle(title);
    content->show();
    hostimpl::SetPopupArea(*this);
}

void TPage::SetTitle(const QString& title)
{
    m_title->setText(title);
    ShowTitle();
}

// On a low display the launcher's selected button is enough.
void TPage::ShowTitle()
{
    m_title->setVisible(!m_title->text().isEmpty() && window()->height() >= heightForTitle);
}

void TPage::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    ShowTitle();
}

QWidget* TPage::Release()
{
    QWidget* const content = m_area->takeWidget();
    if (content != nullptr) {
        content->hide();
        content->setParent(nullptr);
    }
    return content;
}

} // namespace console
