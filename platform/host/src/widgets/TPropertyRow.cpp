#include "widgets/TPropertyRow.h"

#include "host/TPushButton.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "widgets/TChoicePopup.h"

#include <QtCore/QCoreApplication>
#include <QtGui/QGuiApplication>
#include <QtGui/QInputMethod>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QLineEdit>

#include <algorithm>
#include <cmath>

TPropertyWidget::TRow::TRow(TPropertyWidget& widget)
    : m_widget(widget),
      m_edit(new QLineEdit(&widget)),
      m_eye(new TPushButton(&widget, QString(), QStringLiteral("NewStandardButton"),
                            QStringLiteral("NewStandardButtonSelected"), -1, QString())),
      m_clear(new TPushButton(&widget, QString(), QStringLiteral("NewStandardButton"),
                              QStringLiteral("NewStandardButtonSelected"), -1,
                              TPropertyWidget::tr("Clear the text")))
{
    m_edit->setFrame(false);
    m_edit->setTextMargins(0, 0, 0, 0);
    // The wheel's focus order skips the text field. A press of the button, or a touch, starts the
    // editing.
    m_edit->setFocusPolicy(Qt::ClickFocus);
    m_edit->setInputMethodHints(TEXT_HINTS);
    ShowColours();
    m_edit->installEventFilter(this);
    connect(m_edit, &QLineEdit::textEdited, this, [this] { Q_EMIT m_widget.ValueChanged(); });
    connect(m_edit, &QLineEdit::textChanged, this, [this] { ShowClear(); });
    m_eye->hide();
    m_eye->setFocusPolicy(Qt::TabFocus);
    connect(m_eye, &TPushButton::Clicked, this,
            [this] { ShowHidden(m_edit->echoMode() == QLineEdit::Normal); });
    m_clear->hide();
    m_clear->setIcon(hostimpl::ThemeIcon(QStringLiteral("close")));
    m_clear->setFocusPolicy(Qt::TabFocus);
    m_clear->installEventFilter(this);
    connect(m_clear, &TPushButton::Clicked, this, [this] {
        StartEditing();
        m_widget.SetTextValue(QString());
    });
}

TPropertyWidget::TRow::~TRow() = default;

void TPropertyWidget::TRow::SetType(int type)
{
    m_type = type;
    m_edit->setVisible(m_type == eText);
    Arrange();
}

// An open list of choices stays open: another part of the console may change the offered choices
// while the operator reads the list.
void TPropertyWidget::TRow::ShowItem(const TEditItem& item)
{
    m_item = item;
    if (m_type == eText && m_edit->text() != item.text) {
        m_edit->setText(item.text);
    }
    if (!m_popup.isNull()) {
        m_popup->ShowOffered(m_item);
    }
    m_widget.update();
}

double TPropertyWidget::TRow::Number() const
{
    return m_type == eText ? m_edit->text().toDouble() : m_item.value;
}

QString TPropertyWidget::TRow::Text() const
{
    return m_type == eText ? m_edit->text() : m_item.options.At(static_cast<int>(m_item.value));
}

bool TPropertyWidget::TRow::SetNumber(double value)
{
    if (m_type == eText) {
        return SetText(QString::number(value));
    }
    const double before = m_item.value;
    m_item.value = std::max(m_item.minimum, std::min(value, m_item.maximum));
    m_widget.update();
    return m_item.value != before;
}

bool TPropertyWidget::TRow::SetText(const QString& text)
{
    if (m_type != eText || m_edit->text() == text) {
        return false;
    }
    m_edit->setText(text);
    return true;
}

double TPropertyWidget::TRow::NextOffered(double from, int direction) const
{
    const double step = m_item.step > 0.0 ? m_item.step : 1.0;
    const double span = m_item.maximum - m_item.minimum + step;
    const int count = static_cast<int>(std::floor(span / step));
    double value = from;
    for (int tried = 0; tried < count; ++tried) {
        value += direction * step;
        if (value < m_item.minimum || value > m_item.maximum) {
            if (!m_item.doesWrap) {
                return from;
            }
            value += direction > 0 ? -span : span;
        }
        if (m_item.optionsEnabled.At(static_cast<int>(value))) {
            return value;
        }
    }
    return from;
}

bool TPropertyWidget::TRow::Step(int steps)
{
    if (m_type != eChoice || !m_isEditing) {
        return false;
    }
    double value = m_item.value;
    for (int step = 0; step < std::abs(steps); ++step) {
        value = NextOffered(value, steps > 0 ? 1 : -1);
    }
    m_widget.SetNumericalValue(value);
    return true;
}

void TPropertyWidget::TRow::StartEditing()
{
    if (hostimpl::IsLockedAround(m_widget) || !m_widget.isEnabled()) {
        return;
    }
    m_isEditing = true;
    if (m_type == eText) {
        m_edit->setFocus(Qt::OtherFocusReason);
        QGuiApplication::inputMethod()->show(); // Qt shows it after a touch only
    }
    m_widget.update();
}

bool TPropertyWidget::TRow::StopEditing()
{
    const bool wasEditing = m_isEditing;
    m_isEditing = false;
    if (m_edit->hasFocus()) {
        m_widget.setFocus(Qt::OtherFocusReason);
        QGuiApplication::inputMethod()->hide();
    }
    m_widget.update();
    return wasEditing;
}

void TPropertyWidget::TRow::EndEntry()
{
    QWidget* const panel = m_widget.parentWidget();
    QVector<QWidget*> order = panel == nullptr ? QVector<QWidget*>() : hostimpl::FocusOrder(*panel);
    order.erase(order.begin(), order.begin() + order.indexOf(&m_widget) + 1);
    const auto next = std::find_if(order.cbegin(), order.cend(), [this](const QWidget* widget) {
        return !m_widget.isAncestorOf(widget);
    });
    QWidget* const target = next == order.cend() ? nullptr : *next;
    auto* const row = qobject_cast<TPropertyWidget*>(target);
    if (m_type == eText && row != nullptr && row->m_row->m_type == eText) {
        row->m_row->StartEditing();
        return;
    }
    StopEditing();
    if (m_type != eText || target == nullptr) {
        return;
    }
    target->setFocus(Qt::TabFocusReason);
    if (auto* const button = qobject_cast<TPushButton*>(target)) {
        button->click();
    }
}

void TPropertyWidget::TRow::OpenChoices()
{
    if (!m_popup.isNull() || hostimpl::IsLockedAround(m_widget) || !m_widget.isEnabled()) {
        return;
    }
    m_widget.setFocus(Qt::MouseFocusReason);
    m_popup = new TChoicePopup(&m_widget, name, m_item);
    connect(m_popup, &TChoicePopup::Chosen, this,
            [this](double value) { m_widget.SetNumericalValue(value); });
    m_popup->ShowWindow(true);
}

void TPropertyWidget::TRow::OnEvent(QEvent& event)
{
    switch (static_cast<int>(event.type())) {
    case QEvent::Paint:
        OnPaint();
        break;
    case QEvent::Resize:
    case QEvent::FontChange:
        Arrange();
        break;
    case QEvent::ReadOnlyChange:
        ShowLock();
        break;
    case QEvent::PaletteChange:
        ShowColours();
        break;
    case QEvent::EnabledChange:
    case QEvent::Hide:
        CloseIfOff();
        break;
    case QEvent::MouseButtonPress:
        m_isTouched = true;
        break;
    case QEvent::MouseButtonRelease:
        if (m_isTouched && m_widget.rect().contains(static_cast<QMouseEvent&>(event).pos())) {
            m_type == eChoice ? OpenChoices() : StartEditing();
        }
        m_isTouched = false;
        break;
    case QEvent::FocusOut:
        if (!m_edit->hasFocus()) {
            m_isEditing = false;
        }
        m_widget.update();
        break;
    case QEvent::FocusIn:
        m_widget.update();
        break;
    case QEvent::KeyPress:
        OnKey(event);
        break;
    }
}

// A printable key of a keyboard starts the editing.
void TPropertyWidget::TRow::OnKey(QEvent& event)
{
    const QString text = static_cast<QKeyEvent&>(event).text();
    if (m_type == eText && !text.isEmpty() && text.at(0).isPrint()) {
        StartEditing();
        if (m_isEditing) {
            QCoreApplication::sendEvent(m_edit, &event);
        }
    }
}

void TPropertyWidget::TRow::ShowLock()
{
    const bool isLocked = hostimpl::IsLockedAround(m_widget);
    m_edit->setReadOnly(isLocked);
    if (isLocked) {
        StopEditingAndClose();
    }
}

// The editing ends when the row is disabled or hidden, and a revealed text is hidden again.
void TPropertyWidget::TRow::CloseIfOff()
{
    if (m_widget.isEnabled() && m_widget.isVisible()) {
        return;
    }
    StopEditingAndClose();
    if (!m_eye->isHidden()) {
        ShowHidden(true);
    }
}

void TPropertyWidget::TRow::StopEditingAndClose()
{
    StopEditing();
    if (!m_popup.isNull()) {
        m_popup->CloseWindow();
    }
}
