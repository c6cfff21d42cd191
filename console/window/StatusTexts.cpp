#include "console/window/StatusTexts.h"

#include "host/TLocalTime.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QLocale>

#include <array>
#include <cmath>
#include <cstddef>

namespace {

using console::TPositionState;
using kesdkimpl::EProblem;
using kesdkimpl::ESession;
using kesdkimpl::LinkStatus;

struct TRow
{
    const char* iconName;
    const char* text;
};

// Each array is in the order of its enumeration.
constexpr std::array<TRow, 4> sourceRows = {{
    {"gps-lost", QT_TRANSLATE_NOOP("StatusBar", "No position source")},
    {"gps-lost", QT_TRANSLATE_NOOP("StatusBar", "Waiting for a receiver")},
    {"gps-lost", QT_TRANSLATE_NOOP("StatusBar", "No position")},
    {"gps-lost", QT_TRANSLATE_NOOP("StatusBar", "The position log has ended")},
}};
constexpr std::array<const char*, 9> qualityTexts = {{
    QT_TRANSLATE_NOOP("StatusBar", "no fix"),
    QT_TRANSLATE_NOOP("StatusBar", "GPS"),
    QT_TRANSLATE_NOOP("StatusBar", "DGPS"),
    QT_TRANSLATE_NOOP("StatusBar", "PPS"),
    QT_TRANSLATE_NOOP("StatusBar", "RTK"),
    QT_TRANSLATE_NOOP("StatusBar", "RTK float"),
    QT_TRANSLATE_NOOP("StatusBar", "estimated"),
    QT_TRANSLATE_NOOP("StatusBar", "manual"),
    QT_TRANSLATE_NOOP("StatusBar", "simulated"),
}};
constexpr std::array<TRow, 6> sessionRows = {{
    {"link-down", QT_TRANSLATE_NOOP("StatusBar", "No connection")},
    {"link-down", QT_TRANSLATE_NOOP("StatusBar", "Logged out")},
    {"link-down", QT_TRANSLATE_NOOP("StatusBar", "Logged out")},
    {"link-down", QT_TRANSLATE_NOOP("StatusBar", "Logged out")},
    {"link-down", QT_TRANSLATE_NOOP("StatusBar", "Connecting...")},
    {"link-up", QT_TRANSLATE_NOOP("StatusBar", "Connected")},
}};
constexpr std::array<const char*, 6> problemTexts = {{
    "",
    QT_TRANSLATE_NOOP("StatusBar", "No network"),
    QT_TRANSLATE_NOOP("StatusBar", "Service does not answer"),
    QT_TRANSLATE_NOOP("StatusBar", "Network wants a login"),
    QT_TRANSLATE_NOOP("StatusBar", "Clock is wrong"),
    QT_TRANSLATE_NOOP("StatusBar", "Service not trusted"),
}};

template <typename TTable, typename TEnum>
const auto& Row(const TTable& table, TEnum value)
{
    return table.at(static_cast<std::size_t>(value));
}

QString Translate(const char* text)
{
    return QCoreApplication::translate("StatusBar", text);
}

QString Degrees(double degrees, QLatin1Char positive, QLatin1Char negative)
{
    return QLocale().toString(std::fabs(degrees), 'f', 5) + QStringLiteral("\u00b0 ") +
           (degrees < 0 ? negative : positive);
}

// The age of the last fix.
QString Age(const TPositionState& state)
{
    const qlonglong seconds = qMax<qlonglong>(state.ageMs, 0) / 1000;
    return seconds < 120
               ? QCoreApplication::translate("StatusBar", "%1 s").arg(console::NumberText(seconds))
               : QCoreApplication::translate("StatusBar", "%1 min")
                     .arg(console::NumberText(seconds / 60));
}

} // namespace

namespace console {

QString NumberText(qlonglong number)
{
    return QLocale().toString(number);
}

QString QualityText(EFixQuality quality)
{
    return Translate(Row(qualityTexts, quality));
}

QString PlaceText(const TReceivedFix& fix)
{
    return Degrees(fix.latitudeDegrees, QLatin1Char('N'), QLatin1Char('S')) + QStringLiteral("  ") +
           Degrees(fix.longitudeDegrees, QLatin1Char('E'), QLatin1Char('W'));
}

TStatusWords PositionWords(const TPositionState& state)
{
    if (state.state == EPositionState::eFix) {
        return {QStringLiteral("gps-fix"),
                QStringLiteral("%1  %2  %3")
                    .arg(QualityText(state.fix.quality), PlaceText(state.fix), Age(state))};
    }
    if (state.state == EPositionState::eLost && state.source == ESourceState::eRunning) {
        return {QStringLiteral("gps-lost"),
                QCoreApplication::translate("StatusBar", "Position lost %1 ago").arg(Age(state))};
    }
    const TRow& row = Row(sourceRows, state.source);
    return {QString::fromLatin1(row.iconName), Translate(row.text)};
}

QString TimeText(std::int64_t wallS)
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(wallS);
    const bool isToday = time.date() == TLocalTime::currentDateTime().date();
    return QLocale().toString(time,
                              isToday ? QStringLiteral("HH:mm") : QStringLiteral("ddd HH:mm"));
}

QString ProblemText(EProblem problem)
{
    return problem == EProblem::eNone ? QString() : Translate(Row(problemTexts, problem));
}

// Without a session and without a failed login, the SDK has tried nothing, so the problem is old.
// After a failed login, the SDK tries nothing more, so only the time of the problem is known.
// During a session a wrong clock is shown too, because the service may refuse the positions.
TStatusWords LinkWords(const LinkStatus& status)
{
    const bool isTried =
        status.session == ESession::eLoggedIn || status.session == ESession::eLoginFailed;
    if (!isTried || status.problem == EProblem::eNone) {
        const TRow& row = Row(sessionRows, status.session);
        const bool isOff = status.isClockOff && status.session == ESession::eLoggedIn;
        return {QString::fromLatin1(row.iconName),
                isOff ? ProblemText(EProblem::eClockWrong) : Translate(row.text)};
    }
    QString text = ProblemText(status.problem);
    if (status.offlineSince && status.problem != EProblem::eClockWrong) {
        const bool isStillTried = status.session == ESession::eLoggedIn;
        const QString when = isStillTried ? QCoreApplication::translate("StatusBar", "since %1")
                                          : QCoreApplication::translate("StatusBar", "at %1");
        text += QLatin1Char('\n') + when.arg(TimeText(status.offlineSince->wallS));
    }
    return {QStringLiteral("link-down"), text};
}

} // namespace console
