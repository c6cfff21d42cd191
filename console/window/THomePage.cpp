#include "console/window/THomePage.h"

#include "hostimpl/Theme.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int titlePixels = 44;

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
    : QWidget(parent), m_notice(MakeLabel(hostimpl::ThemeFont(hostimpl::EFont::eBody)))
{
    QLabel* const title = MakeLabel(hostimpl::ThemeFont(titlePixels));
    title->setText(QStringLiteral("KELVO"));
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(24, 16, 24, 16);
    column->setSpacing(24);
    column->addStretch();
    column->addWidget(title);
    column->addWidget(m_notice);
    column->addStretch();
    SetNotice({});
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
