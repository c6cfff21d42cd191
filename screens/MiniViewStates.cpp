// The login panel's look in each state.
#include "screens/TKelvoMiniView.h"

#include "host/TProperty.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"

#include <QtGui/QPainter>

namespace {

constexpr int HIGHLIGHT_INSET = 3; // pixels
constexpr qreal HIGHLIGHT_OPACITY = 0.1;

enum class EChange : quint8 { eKeep, eOff, eOn };

bool IsOn(EChange change)
{
    return change == EChange::eOn;
}

// The layout that QT_TRANSLATE_NOOP3 expands to. Null means no tool tip.
struct TToolTip
{
    const char* text;
    const char* disambiguation;
};

} // namespace

// The look of the panel in one state.
struct TKelvoMiniView::TStateLayout
{
    EState state;
    EChange userNameEnabled;
    EChange passwordShown;
    EChange statusShown;
    bool isButtonEnabled;
    QString TKelvoMiniView::*statusText; // null: unchanged
    QString TKelvoMiniView::*caption;
    QString TKelvoMiniView::*untranslatedCaption;
    TToolTip toolTip;

    static const TStateLayout ALL[];
};

// These tool tips say "Kelvo", the tool tip of the new button says "KELVO". Both are required.
const TKelvoMiniView::TStateLayout TKelvoMiniView::TStateLayout::ALL[] = {
    {eLoggedOut, EChange::eOn, EChange::eOn, EChange::eOff, true, nullptr,
     &TKelvoMiniView::m_loginCaption, &TKelvoMiniView::m_untranslatedLoginCaption,
     QT_TRANSLATE_NOOP3("TKelvoMiniView", "Login to Kelvo", "ToolTip")},
    {eLoginInProgress,
     EChange::eOff,
     EChange::eOff,
     EChange::eOn,
     false,
     &TKelvoMiniView::m_loggingInText,
     &TKelvoMiniView::m_processingCaption,
     &TKelvoMiniView::m_untranslatedProcessingCaption,
     {nullptr, nullptr}},
    {eLoggedIn, EChange::eOff, EChange::eOff, EChange::eOn, true, &TKelvoMiniView::m_loggedInText,
     &TKelvoMiniView::m_logoutCaption, &TKelvoMiniView::m_untranslatedLogoutCaption,
     QT_TRANSLATE_NOOP3("TKelvoMiniView", "Logout of Kelvo", "ToolTip")},
    {eLogoutInProgress,
     EChange::eOff,
     EChange::eOff,
     EChange::eOn,
     false,
     &TKelvoMiniView::m_loggingOutText,
     &TKelvoMiniView::m_processingCaption,
     &TKelvoMiniView::m_untranslatedProcessingCaption,
     {nullptr, nullptr}},
    {eFileOperationInProgress,
     EChange::eKeep,
     EChange::eKeep,
     EChange::eKeep,
     false,
     nullptr,
     &TKelvoMiniView::m_processingCaption,
     &TKelvoMiniView::m_untranslatedProcessingCaption,
     {nullptr, nullptr}},
};

void TKelvoMiniView::ChangeState(int toState)
{
    m_state = toState;
    for (const TStateLayout& layout : TStateLayout::ALL) {
        if (layout.state == toState) {
            Apply(layout);
        }
    }
}

void TKelvoMiniView::Apply(const TStateLayout& layout)
{
    if (layout.userNameEnabled != EChange::eKeep) {
        m_userNameRow->setEnabled(IsOn(layout.userNameEnabled));
    }
    if (layout.passwordShown != EChange::eKeep) {
        m_passwordRow->setVisible(IsOn(layout.passwordShown));
    }
    if (layout.statusShown != EChange::eKeep) {
        m_statusRow->setVisible(IsOn(layout.statusShown));
    }
    if (layout.statusText != nullptr) {
        m_statusRow->SetValue(this->*layout.statusText);
    }
    m_button->setEnabled(layout.isButtonEnabled);
    m_button->SetCaption(this->*layout.caption, this->*layout.untranslatedCaption);
    m_button->SetToolTip(layout.toolTip.text == nullptr
                             ? QString()
                             : tr(layout.toolTip.text, layout.toolTip.disambiguation));
}

// The highlight is also shifted by the view's position in its parent. This is required.
void TKelvoMiniView::paintEvent(QPaintEvent* event)
{
    ZRA::AppWindowSurface::paintEvent(event);
    if (!m_statusRow->isVisible()) {
        return;
    }
    QPainter painter(this);
    painter.setOpacity(HIGHLIGHT_OPACITY);
    painter.setBrush(Qt::white);
    painter.drawRect(
        m_statusRow->rect()
            .translated(m_statusRow->pos())
            .translated(pos())
            .adjusted(HIGHLIGHT_INSET, HIGHLIGHT_INSET, -HIGHLIGHT_INSET, -HIGHLIGHT_INSET));
}
