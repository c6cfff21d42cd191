#include "console/window/THomePage.h"

#include "hostimpl/Theme.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int titlePixels = 44;
constexpr int heightForTitle = 300;

QLabel* MakeLabel(const QFont& font)
{
    auto* const label = new QLabel;
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

namespace console {

THomePage::THomePage(QWidget* parent)
    : QWidget(parent),
      m_title(MakeLabel(hostimpl::ThemeFont(titlePixels))),
      m_notice(MakeLabel(hostimpl::ThemeFont(hostimpl::EFont::eBody)))
{
    m_title->setText(QStringLiteral("KELVO"));
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(24, 16, 24, 16);
    column->setSpacing(24);
    column->addStretch();
    column->addWidget(m_title);
    column->addWidget(m_notice);
    column->addStretch();
    SetNotice({});
}

// A banner may leave little room on a low display.
void THomePage::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_title->setVisible(height() >= heightForTitle);
}

void THomePage::SetNotice(const QString& text)
{
    m_notice->setText(text.isEmpty() ? tr("Choose on the left what to open.") : text);
}

QString THomePage::Notice() const
{
    return m_notice->text();
}

} // namespace console
