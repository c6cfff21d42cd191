#include "host/TProperty.h"

#include "hostimpl/Theme.h"

#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QLabel>

#include <algorithm>

namespace {

constexpr int MARGIN = 12;
constexpr int GAP = 12; // a label is a little wider than its text

int WidthOf(const QLabel& label, hostimpl::EFont font)
{
    return QFontMetrics(hostimpl::ThemeFont(font)).horizontalAdvance(label.text());
}

// Name and value are side by side. If the row is too narrow, the value is below the name, in small
// letters.
class TPropertyLayout : public QBoxLayout
{
public:
    TPropertyLayout(QWidget* row, QLabel& name, QLabel& value)
        : QBoxLayout(LeftToRight, row), m_name(name), m_value(value)
    {
        setContentsMargins(MARGIN, 0, MARGIN, 0);
        addWidget(&name);
        addWidget(&value, 1);
        setSpacing(GAP);
    }

    QSize minimumSize() const override
    {
        const int width = std::max(WidthOf(m_name, hostimpl::EFont::eCaption),
                                   WidthOf(m_value, hostimpl::EFont::eCaption));
        const int line = QFontMetrics(hostimpl::ThemeFont(hostimpl::EFont::eCaption)).height();
        return {width + 2 * MARGIN, 2 * line};
    }

    // The same in both directions. Otherwise the parent's layout and this one could change each
    // other without end.
    QSize sizeHint() const override
    {
        const int line = QFontMetrics(hostimpl::ThemeFont(hostimpl::EFont::eBody)).height();
        return QSize(WideWidth(), line).expandedTo(minimumSize());
    }

    // The row keeps this height, or the height that its letters need.
    void SetHeight(int height)
    {
        m_height = height;
        FitHeight();
    }

    void setGeometry(const QRect& given) override
    {
        QRect place = given;
        if (m_height > 0) { // the letters may have another size now
            FitHeight();
            place.setHeight(parentWidget()->height());
        }
        const bool isWide = WideWidth() <= place.width();
        if (isWide != m_isWide) { // each change asks for another layout
            m_isWide = isWide;
            setDirection(isWide ? LeftToRight : TopToBottom);
            setSpacing(isWide ? GAP : 0);
        }
        const QFont font =
            hostimpl::ThemeFont(isWide ? hostimpl::EFont::eBody : hostimpl::EFont::eCaption);
        if (m_value.font() != font) {
            m_value.setFont(font);
        }
        QBoxLayout::setGeometry(place);
    }

private:
    void FitHeight() { parentWidget()->setFixedHeight(std::max(m_height, minimumSize().height())); }

    int WideWidth() const
    {
        return WidthOf(m_name, hostimpl::EFont::eCaption) + GAP +
               WidthOf(m_value, hostimpl::EFont::eBody) + 2 * MARGIN;
    }

    QLabel& m_name;
    QLabel& m_value;
    bool m_isWide = true;
    int m_height = 0; // in pixels; 0: not fixed
};

} // namespace

TProperty::TProperty(QWidget* parent)
    : QWidget(parent), m_name(new QLabel(this)), m_value(new QLabel(this))
{
    m_name->setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    for (QLabel* const label : {m_name, m_value}) {
        label->setTextFormat(Qt::PlainText);
    }
    m_value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    new TPropertyLayout(this, *m_name, *m_value);
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
    static_cast<TPropertyLayout*>(layout())->SetHeight(height);
}
