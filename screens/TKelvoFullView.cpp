#include "screens/TKelvoFullView.h"

#include "screens/TKelvoFileControlWidget.h"

namespace {

constexpr int BOTTOM_MARGIN = 10; // pixels

} // namespace

TKelvoFullView::TKelvoFullView(QWidget* parent) : ZRA::AppWindowSurface(parent)
{
    SetSurfaceIcon(QStringLiteral("NavKelvo"));
    m_fileControlWidget = new TKelvoFileControlWidget(this);
}

TKelvoFullView::~TKelvoFullView() = default;

void TKelvoFullView::Setup()
{
    ZRA::AppWindowSurface::Setup();
    SetSurfaceTitle(tr("KELVO File Controller"), false, false);
    m_layout.setContentsMargins(0, 0, 0, BOTTOM_MARGIN);
    if (m_fileControlWidget != nullptr) {
        m_fileControlWidget->Setup();
        m_layout.addWidget(m_fileControlWidget);
    }
    setLayout(&m_layout);
    m_layout.activate();
}
