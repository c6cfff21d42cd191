#include "console/window/TMiniViewDock.h"

#include "console/settings/Scrolling.h"

#include <QtWidgets/QScrollArea>
#include <QtWidgets/QVBoxLayout>

namespace console {

TMiniViewDock::TMiniViewDock(QWidget* parent) : QWidget(parent), m_column(new QWidget)
{
    m_layout = new QVBoxLayout(m_column);
    m_layout->setContentsMargins(8, 8, 8, 8);
    m_layout->setSpacing(12);
    m_layout->addStretch();
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(MakeScrollArea(m_column, EBar::eSign));
    setFixedWidth(dockWidth);
}

TMiniViewDock::~TMiniViewDock()
{
    while (!m_places.isEmpty()) {
        Remove(static_cast<QWidget*>(*m_places.keyBegin()));
    }
}

void TMiniViewDock::Add(QWidget* view)
{
    if (Contains(view)) {
        return;
    }
    auto* const place = new QWidget;
    auto* const fill = new QVBoxLayout(place);
    fill->setContentsMargins(0, 0, 0, 0);
    fill->addWidget(view);
    m_layout->insertWidget(m_layout->count() - 1, place); // above the stretch
    m_places.insert(view, place);
    connect(view, &QObject::destroyed, this, &TMiniViewDock::Forget);
    view->show();
    Q_EMIT Changed();
}

void TMiniViewDock::Remove(QWidget* view)
{
    if (!Contains(view)) {
        return;
    }
    disconnect(view, &QObject::destroyed, this, nullptr);
    view->hide();
    view->setParent(nullptr);
    Forget(view);
}

// `view` may be half destroyed: only its address is used. It is still a child of its place, so the
// place is deleted later.
void TMiniViewDock::Forget(QObject* view)
{
    QWidget* const place = m_places.take(view);
    place->hide();
    place->deleteLater();
    Q_EMIT Changed();
}

} // namespace console
