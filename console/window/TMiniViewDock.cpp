// The column in which mini views stand one below the other.
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
    outer->addWidget(MakeScrollArea(m_column));
    setFixedWidth(dockWidth);
}

TMiniViewDock::~TMiniViewDock()
{
    while (!m_views.isEmpty()) {
        Remove(m_views.last());
    }
}

void TMiniViewDock::Add(QWidget* view)
{
    if (Contains(view)) {
        return;
    }
    m_layout->insertWidget(m_views.size(), view);
    m_views.append(view);
    // A view that is destroyed before its time is not to be touched any more.
    connect(view, &QObject::destroyed, this, [this, view] {
        m_views.removeAll(view);
        Q_EMIT Changed();
    });
    view->show();
    Q_EMIT Changed();
}

void TMiniViewDock::Remove(QWidget* view)
{
    if (!m_views.removeOne(view)) {
        return;
    }
    disconnect(view, &QObject::destroyed, this, nullptr);
    view->hide();
    m_layout->removeWidget(view);
    view->setParent(nullptr);
    Q_EMIT Changed();
}

} // namespace console
