#include "widgets/TOutcomeSign.h"

#include "hostimpl/Theme.h"

#include <QtCore/QList>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <array>
#include <utility>

using hostimpl::EOutcome;

namespace {

constexpr int SIZE = 64;
constexpr double LINE = 7.0;

EOutcome& OutcomeOf(hostimpl::EOutcomeOf operation)
{
    static std::array<EOutcome, 3> outcomes{};
    return outcomes.at(static_cast<std::size_t>(operation));
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
    OutcomeOf(operation) = outcome;
    for (TOutcomeSign* const sign : qAsConst(All())) {
        sign->Refresh();
    }
}

TOutcomeSign::TOutcomeSign(hostimpl::EOutcomeOf operation, QWidget& parent)
    : QWidget(&parent), m_operation(operation)
{
    setFixedSize(TOutcomeSign::sizeHint());
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    All().append(this);
    hide();
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
    if (m_operation != hostimpl::EOutcomeOf::eMessage) {
        Show(m_hasEnded ? OutcomeOf(m_operation) : EOutcome::eNone);
    }
}

void TOutcomeSign::TakeMessage()
{
    if (OutcomeOf(m_operation) != EOutcome::eNone) {
        Show(std::exchange(OutcomeOf(m_operation), EOutcome::eNone));
    }
}

void TOutcomeSign::ForgetMessage()
{
    Show(EOutcome::eNone);
}

void TOutcomeSign::Show(EOutcome outcome)
{
    m_outcome = outcome;
    setVisible(m_outcome != EOutcome::eNone);
    update();
}

int TOutcomeSign::Outcome() const
{
    return static_cast<int>(m_outcome);
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
