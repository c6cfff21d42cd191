#include "console/window/TLauncherBar.h"

#include "console/settings/Scrolling.h"
#include "console/window/TIconButton.h"

#include <QtCore/QEvent>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int gap = 4;

} // namespace

namespace console {

TLauncherBar::TLauncherBar(QWidget* parent)
    : QWidget(parent),
      m_home(new TIconButton(QStringLiteral("home"), tr("Home"))),
      m_settings(new TIconButton(QStringLiteral("settings"), tr("Settings"))),
      m_light(new TIconButton(QStringLiteral("moon"), tr("Night")))
{
    auto* const buttons = new QWidget;
    auto* const all = new QVBoxLayout(buttons);
    all->setContentsMargins(gap, gap, gap, gap);
    all->setSpacing(gap);
    m_pageButtons = new QVBoxLayout;
    m_pageButtons->setSpacing(gap);
    all->addWidget(m_home);
    all->addLayout(m_pageButtons);
    all->addStretch();
    all->addWidget(m_light);
    all->addWidget(m_settings);

    QScrollArea* const area = MakeScrollArea(buttons);
    area->setVerticalScrollBarPolicy(
        Qt::ScrollBarAlwaysOff); // a scroll bar would cover the buttons
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(area);
    FitWidth();

    for (TIconButton* const button : {m_home, m_settings}) {
        button->setCheckable(true);
    }
    m_home->setChecked(true);
    connect(m_home, &TIconButton::clicked, this, &TLauncherBar::OpenHome);
    connect(m_settings, &TIconButton::clicked, this, &TLauncherBar::OpenSettings);
    connect(m_light, &TIconButton::clicked, this, &TLauncherBar::ToggleLight);
    m_home->setToolTip(tr("The overview"));
    m_settings->setToolTip(tr("Set up the console"));
    m_light->setToolTip(tr("Colours for day or night"));
}

// The size of the texts gives the width of the buttons.
void TLauncherBar::FitWidth()
{
    setFixedWidth(m_home->sizeHint().width() + 2 * gap);
}

void TLauncherBar::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        FitWidth();
    }
}

void TLauncherBar::AddPage(QWidget* page, const QString& iconName, const QString& title,
                           const QString& toolTip)
{
    RemovePage(page);
    auto* const button = new TIconButton(iconName, title, this);
    button->setCheckable(true);
    button->setToolTip(toolTip);
    button->SetBadge(m_newFiles);
    m_pages.insert(page, button);
    m_pageButtons->addWidget(button);
    connect(button, &TIconButton::clicked, this, [this, page] { Q_EMIT OpenPage(page); });
}

void TLauncherBar::RemovePage(QWidget* page)
{
    if (TIconButton* const button = m_pages.take(page)) {
        button->hide();
        button->deleteLater(); // this call may come from the button's click
    }
}

void TLauncherBar::SetPageLooks(QWidget* page, const QString& iconName, const QString& title)
{
    if (TIconButton* const button = m_pages.value(page)) {
        button->SetIconName(iconName);
        button->setText(title);
        button->setAccessibleName(title);
    }
}

void TLauncherBar::SetPageToolTip(QWidget* page, const QString& toolTip)
{
    if (TIconButton* const button = m_pages.value(page)) {
        button->setToolTip(toolTip);
    }
}

void TLauncherBar::SetCurrentPage(QWidget* page)
{
    m_home->setChecked(page == nullptr);
    m_settings->setChecked(page != nullptr && !m_pages.contains(page));
    for (auto entry = m_pages.cbegin(); entry != m_pages.cend(); ++entry) {
        entry.value()->setChecked(entry.key() == page);
    }
}

void TLauncherBar::SetBadge(int newFiles)
{
    m_newFiles = newFiles;
    for (TIconButton* const button : qAsConst(m_pages)) {
        button->SetBadge(newFiles);
    }
}

void TLauncherBar::SetNight(bool isNight)
{
    m_light->SetIconName(isNight ? QStringLiteral("sun") : QStringLiteral("moon"));
    m_light->setText(isNight ? tr("Day") : tr("Night"));
}

} // namespace console
