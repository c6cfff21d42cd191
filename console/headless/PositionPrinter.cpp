#include "console/headless/PositionPrinter.h"

#include "console/headless/EnumName.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLatin1String>

#include <array>
#include <cstddef>

namespace {

using console::TPositionState;

// Each array is in the order of its enumeration.
const std::array<QLatin1String, 3> stateNames = {
    {QLatin1String("none"), QLatin1String("fix"), QLatin1String("lost")}};
const std::array<QLatin1String, 4> sourceNames = {
    {QLatin1String("off"), QLatin1String("connecting"), QLatin1String("running"),
     QLatin1String("ended")}};
const std::array<QLatin1String, 4> reasonNames = {{QLatin1String(""), QLatin1String("void"),
                                                   QLatin1String("silent"),
                                                   QLatin1String("source ended")}};
const std::array<QLatin1String, 4> changeNames = {{QLatin1String("fix"), QLatin1String("gained"),
                                                   QLatin1String("lost"), QLatin1String("source")}};
const std::array<QLatin1String, 9> qualityNames = {
    {QLatin1String("none"), QLatin1String("autonomous"), QLatin1String("differential"),
     QLatin1String("precise"), QLatin1String("RTK fixed"), QLatin1String("RTK float"),
     QLatin1String("dead reckoning"), QLatin1String("manual"), QLatin1String("simulated")}};

QJsonObject Describe(const TPositionState& state)
{
    QJsonObject object{
        {QStringLiteral("state"), EnumName(stateNames, state.state)},
        {QStringLiteral("source"), EnumName(sourceNames, state.source)},
        {QStringLiteral("gained"), state.gained},
        {QStringLiteral("lost"), state.lost},
        {QStringLiteral("faulty"), static_cast<qint64>(state.counts.Faulty())},
    };
    if (state.state != console::EPositionState::eNone) {
        object[QStringLiteral("latitude")] = state.fix.latitudeDegrees;
        object[QStringLiteral("longitude")] = state.fix.longitudeDegrees;
        object[QStringLiteral("time")] =
            QStringLiteral("%1").arg(state.fix.utcTime, 9, 'f', 2, QLatin1Char('0'));
        object[QStringLiteral("quality")] = EnumName(qualityNames, state.fix.quality);
        object[QStringLiteral("ageMs")] = static_cast<qint64>(state.ageMs);
    }
    if (state.state == console::EPositionState::eLost) {
        object[QStringLiteral("reason")] = EnumName(reasonNames, state.reason);
    }
    return object;
}

QByteArray Line(const QJsonObject& object)
{
    return "position " + QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

namespace console {

QByteArray PositionLine(const TPositionState& state)
{
    return Line(Describe(state));
}

QByteArray PositionLine(const TPositionEvent& event)
{
    QJsonObject object = Describe(event.state);
    object[QStringLiteral("change")] = EnumName(changeNames, event.change);
    return Line(object);
}

bool IsShown(const TPositionEvent& event, EShownPositions shown)
{
    switch (shown) {
    case EShownPositions::eNone:
        return false;
    case EShownPositions::eChanges:
        return event.change != TPositionEvent::EChange::eFix;
    case EShownPositions::eFixes:
        return true;
    }
    return false;
}

} // namespace console
