// The text field of a property row, and the buttons beside the field.
#include "host/TPushButton.h"
#include "hostimpl/Theme.h"
#include "widgets/TPropertyRow.h"

#include <QtGui/QFocusEvent>
#include <QtWidgets/QLineEdit>

#include <algorithm>

void TPropertyWidget::TRow::SetAllowHideText(bool isAllowed)
{
    m_eye->setVisible(isAllowed);
    ShowHidden(isAllowed);
    ShowClear();
}

void TPropertyWidget::TRow::ShowHidden(bool isHidden)
{
    m_edit->setEchoMode(isHidden ? QLineEdit::Password : QLineEdit::Normal);
    m_edit->setInputMethodHints(TEXT_HINTS | Qt::ImhSensitiveData |
                                (isHidden ? Qt::ImhHiddenText : Qt::ImhNone));
    m_eye->setIcon(
        hostimpl::ThemeIcon(isHidden ? QStringLiteral("eye") : QStringLiteral("eye-off")));
    m_eye->SetToolTip(isHidden ? TPropertyWidget::tr("Show the text")
                               : TPropertyWidget::tr("Hide the text"));
}

// The operator cannot correct a hidden text, only type it again. The button that clears the text
// also stays while the wheel is on the button.
void TPropertyWidget::TRow::ShowClear()
{
    const bool isUsed = m_edit->hasFocus() || m_clear->hasFocus();
    m_clear->setVisible(isUsed && !m_eye->isHidden() && !m_edit->text().isEmpty());
    Arrange();
}

bool TPropertyWidget::TRow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_edit) {
        OnEditEvent(*event);
    }
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        ShowClear();
        m_widget.update();
    }
    return QObject::eventFilter(watched, event);
}

// The caret starts at the end of the text. Later touches move the caret in a visible text only.
void TPropertyWidget::TRow::OnEditEvent(const QEvent& event)
{
    if (event.type() == QEvent::FocusIn) {
        m_isEditing = true;
        m_isFirstTouch = static_cast<const QFocusEvent&>(event).reason() == Qt::MouseFocusReason;
        m_edit->end(false);
    } else if (event.type() == QEvent::FocusOut) {
        m_isEditing = false;
    } else if (event.type() == QEvent::MouseButtonRelease) {
        if (m_isFirstTouch || m_edit->echoMode() == QLineEdit::Password) {
            m_edit->end(false);
        }
        m_isFirstTouch = false;
    }
}

// The text field gets its own palette, so that it is readable even if the application's palette is
// not the theme's.
void TPropertyWidget::TRow::ShowColours()
{
    QPalette palette = m_edit->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, hostimpl::ThemeColour(hostimpl::EColour::eText));
    palette.setColor(QPalette::PlaceholderText,
                     hostimpl::ThemeColour(hostimpl::EColour::eMutedText));
    palette.setColor(QPalette::Disabled, QPalette::Text,
                     hostimpl::ThemeColour(hostimpl::EColour::eOffText));
    m_edit->setPalette(palette);
}

void TPropertyWidget::TRow::Arrange()
{
    QRect place = m_widget.rect();
    for (TPushButton* const button : {m_eye, m_clear}) {
        if (!button->isHidden()) {
            const int size = hostimpl::TOUCH_SIZE;
            place.setWidth(place.width() - size);
            button->setGeometry(place.width(), 0, size, std::max(m_widget.height(), size));
        }
    }
    place.adjust(iconName.isEmpty() ? PADDING : ICON_SIZE + 2 * PADDING, 0, -PADDING, 0);
    m_edit->setFont(ValueFont());
    m_edit->setGeometry(ValuePlace(place.left(), place.right()));
}
