#include "host/TPropertyWidget.h"

#include "widgets/TPropertyRow.h"

#include <QtCore/QEvent>
#include <QtCore/QPointer>

// TRow's constructor creates child widgets. Their events arrive while m_row is still null.
TPropertyWidget::TPropertyWidget(QWidget* parent, int index) : QWidget(parent)
{
    m_row = std::make_unique<TRow>(*this);
    Q_UNUSED(index); // no row uses it yet
    // A touch on a button of the row leaves the focus in the text field. Qt would give the focus to
    // the row.
    setFocusPolicy(Qt::TabFocus);
    setMinimumHeight(PROPERTY_WIDGET_HEIGHT);
    m_row->SetType(eText);
}

TPropertyWidget::~TPropertyWidget() = default;

void TPropertyWidget::SetPropertyIcon(const QString& iconName)
{
    m_row->iconName = iconName;
    update();
}

void TPropertyWidget::SetPropertyName(const QString& name)
{
    m_row->name = name;
    setAccessibleName(name);
    update();
}

void TPropertyWidget::SetToolTip(const QString& toolTip)
{
    setToolTip(toolTip);
}

void TPropertyWidget::SetPropertyType(int type, const TEditItem* item)
{
    m_row->SetType(type);
    if (item != nullptr) {
        m_row->ShowItem(*item);
    }
}

void TPropertyWidget::SetProperties(const TEditItem& item)
{
    m_row->ShowItem(item);
}

double TPropertyWidget::GetNumericalValue() const
{
    return m_row->Number();
}

void TPropertyWidget::SetNumericalValue(double value)
{
    if (m_row->SetNumber(value)) {
        Q_EMIT ValueChanged();
    }
}

QString TPropertyWidget::GetTextValue() const
{
    return m_row->Text();
}

void TPropertyWidget::SetTextValue(const QString& text)
{
    if (m_row->SetText(text)) {
        Q_EMIT ValueChanged();
    }
}

void TPropertyWidget::setAllowHideText(bool isAllowed)
{
    m_row->SetAllowHideText(isAllowed);
}

bool TPropertyWidget::OnWheelTurned(int steps)
{
    return m_row->Step(steps);
}

bool TPropertyWidget::OnWheelPressed()
{
    if (m_row->IsEditing()) {
        m_row->EndEntry();
    } else {
        m_row->StartEditing();
    }
    return true;
}

bool TPropertyWidget::OnBackPressed()
{
    return m_row->StopEditing();
}

// Handling an event may delete the widget.
bool TPropertyWidget::event(QEvent* event)
{
    const QPointer<TPropertyWidget> self(this);
    const bool isTaken = QWidget::event(event);
    if (!self.isNull() && m_row != nullptr) {
        m_row->OnEvent(*event);
    }
    return isTaken;
}
