#include "widgets/TChoicePopup.h"

#include "host/TPushButton.h"
#include "hostimpl/Theme.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScroller>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

constexpr int WIDTH = 600;
constexpr int MARGIN = 20;
constexpr int SPACING = 8;

TPushButton* NewButton(QWidget& parent, const QString& caption, int id)
{
    return new TPushButton(&parent, caption, QStringLiteral("NewStandardButton"),
                           QStringLiteral("NewStandardButtonSelected"), id, QString());
}

} // namespace

TChoicePopup::TChoicePopup(QWidget* parent, const QString& title, const TEditItem& item)
    : TPopupWindow(parent), m_area(new QScrollArea(this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(MARGIN, MARGIN, MARGIN, MARGIN);
    layout->setSpacing(SPACING);
    auto* const heading = new QLabel(title, this);
    heading->setTextFormat(Qt::PlainText);
    heading->setFont(hostimpl::ThemeFont(hostimpl::EFont::eTitle));
    layout->addWidget(heading);
    auto* const column = new QWidget;
    auto* const rows = new QVBoxLayout(column);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(SPACING);
    for (int value = static_cast<int>(item.minimum); value <= static_cast<int>(item.maximum);
         ++value) {
        AddChoice(*column, item, value);
    }
    m_area->setWidget(column);
    m_area->setWidgetResizable(true);
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->viewport()->setAutoFillBackground(false);
    column->setAutoFillBackground(false);
    m_area->setFocusPolicy(Qt::NoFocus);
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QScroller::grabGesture(m_area->viewport(), QScroller::LeftMouseButtonGesture);
    layout->addWidget(m_area, 1);
    TPushButton* const back = NewButton(*this, tr("Back"), -1);
    connect(back, &TPushButton::Clicked, this, &TPopupWindow::CloseWindow);
    layout->addWidget(back, 0, Qt::AlignRight);
    connect(this, &TPopupWindow::Closed, this, &QObject::deleteLater);
    for (TPushButton* const choice : qAsConst(m_choices)) {
        if (choice->Id() == static_cast<int>(item.value)) {
            choice->setFocus();
        }
    }
}

TChoicePopup::~TChoicePopup() = default;

void TChoicePopup::AddChoice(QWidget& column, const TEditItem& item, int value)
{
    TPushButton* const choice = NewButton(column, item.options.At(value), value);
    const bool isOffered = item.optionsEnabled.At(value);
    choice->setEnabled(isOffered);
    if (value == static_cast<int>(item.value)) {
        choice->setIcon(hostimpl::ThemeIcon(QStringLiteral("check")));
    } else if (!isOffered) {
        choice->setIcon(hostimpl::ThemeIcon(QStringLiteral("not-offered")));
    }
    connect(choice, &TPushButton::Clicked, this, [this](int id) {
        if (isVisible()) {
            Q_EMIT Chosen(id);
            CloseWindow();
        }
    });
    column.layout()->addWidget(choice);
    m_choices.append(choice);
}

void TChoicePopup::ShowOffered(const TEditItem& item)
{
    for (TPushButton* const choice : m_choices) {
        choice->setEnabled(item.optionsEnabled.At(choice->Id()));
    }
}

QSize TChoicePopup::SizeWithin(const QSize& available) const
{
    const int around = layout()->sizeHint().height() - m_area->sizeHint().height();
    const int height = around + m_area->widget()->sizeHint().height() + 2;
    return QSize(WIDTH, height).boundedTo(available);
}
