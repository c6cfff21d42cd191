#include "host/TProperty.h"

#include "hostimpl/Theme.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

#include <algorithm>

TProperty::TProperty(QWidget* parent)
    : QWidget(parent), m_name(new QLabel(this)), m_value(new QLabel(this))
{
    m_name->setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    m_value->setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    for (QLabel* const label : {m_name, m_value}) {
        label->setTextFormat(Qt::PlainText);
    }
    m_value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(12, 0, 12, 0);
    row->addWidget(m_name);
    row->addWidget(m_value, 1);
}

TProperty::~TProperty() = default;

void TProperty::SetPropertyName(const QString& name)
{
    m_name->setText(name);
}

void TProperty::SetValue(const QString& value)
{
    m_value->setText(value);
    m_value->setToolTip(value.toHtmlEscaped());
}

QString TProperty::GetValue() const
{
    return m_value->text();
}

void TProperty::SetCombinedHeight(int height)
{
    setFixedHeight(std::max(height, m_value->fontMetrics().height()));
}
