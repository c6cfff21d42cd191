#include "widgets/TOutcomeSign.h"

#include "hostimpl/Theme.h"

#include <QtCore/QList>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <array>

using hostimpl::EOutcome;

namespace {

constexpr int SIZE = 64;
constexpr double LINE = 7.0;

std::array<EOutcome, 2>& Outcomes()
{
    static std::array<EOutcome, 2> outcomes{};
    return outcomes;
}

QList<TOutcomeSign*>& All()
{
    static QList<TOutcomeSign*> signs;
    return signs;
}

QPainterPath Tick()
{
    QPainterPath path(QPointF(19, 33));
    path.lineTo(28, 43);
    path.lineTo(45, 22);
    return path;
}

QPainterPath Cross()
{
    QPainterPath path(QPointF(21, 21));
    path.lineTo(43, 43);
    path.moveTo(43, 21);
    path.lineTo(21, 43);
    return path;
}

} // namespace

void hostimpl::SetOutcome(EOutcomeOf operation, EOutcome outcome)
{
    Outcomes().at(static_cast<std::size_t>(operation)) = outcome;
    for (TOutcomeSign* const sign : qAsConst(All())) {
        sign->Refresh();
    }
}

TOutcomeSign::TOutcomeSign(std::optional<hostimpl::EOutcomeOf> operation, QWidget* parent)
    : QWidget(parent), m_operation(operation)
{
    setFixedSize(sizeHint());
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    All().append(this);
    Refresh();
}

TOutcomeSign::~TOutcomeSign()
{
    All().removeOne(this);
}

void TOutcomeSign::SetEnded(bool hasEnded)
{
    m_hasEnded = hasEnded;
    Refresh();
}

void TOutcomeSign::Refresh()
{
    if (m_operation) {
        m_outcome = Outcomes().at(static_cast<std::size_t>(*m_operation));
    }
    setVisible(m_hasEnded && m_outcome != EOutcome::eNone);
    update();
}

int TOutcomeSign::Outcome() const
{
    return static_cast<int>(isHidden() ? EOutcome::eNone : m_outcome);
}

QSize TOutcomeSign::sizeHint() const
{
    return {SIZE, SIZE};
}

void TOutcomeSign::paintEvent(QPaintEvent*)
{
    const bool isGood = m_outcome == EOutcome::eGood;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        QPen(hostimpl::ThemeColour(isGood ? hostimpl::EColour::eGood : hostimpl::EColour::eAlert),
             LINE, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawEllipse(QRectF(rect()).adjusted(LINE, LINE, -LINE, -LINE));
    painter.drawPath(isGood ? Tick() : Cross());
}
