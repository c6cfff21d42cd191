#include "console/headless/LinkPrinter.h"

#include "console/headless/EnumName.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLatin1String>

#include <array>
#include <cstddef>

namespace {

// Each array is in the order of its enumeration.
const std::array<QLatin1String, 6> sessionNames = {
    {QLatin1String("none"), QLatin1String("logged out"), QLatin1String("login failed"),
     QLatin1String("session ended"), QLatin1String("connecting"), QLatin1String("logged in")}};
const std::array<QLatin1String, 6> problemNames = {
    {QLatin1String("none"), QLatin1String("no network"), QLatin1String("no answer"),
     QLatin1String("network wants login"), QLatin1String("clock wrong"),
     QLatin1String("not trusted")}};
const std::array<QLatin1String, 2> directionNames = {
    {QLatin1String("upload"), QLatin1String("download")}};
const std::array<QLatin1String, 3> phaseNames = {
    {QLatin1String("moves"), QLatin1String("waits"), QLatin1String("verifies")}};

QJsonObject Describe(const kesdkimpl::TransferStatus& transfer)
{
    QJsonObject object{
        {QStringLiteral("direction"), EnumName(directionNames, transfer.direction)},
        {QStringLiteral("phase"), EnumName(phaseNames, transfer.phase)},
        {QStringLiteral("name"), QString::fromStdString(transfer.nameUtf8)},
        {QStringLiteral("done"), static_cast<qint64>(transfer.doneBytes)},
        {QStringLiteral("total"), static_cast<qint64>(transfer.totalBytes)},
        {QStringLiteral("waitsUntil"), static_cast<qint64>(transfer.waitsUntilS)},
    };
    if (transfer.bytesPerSecond) {
        object[QStringLiteral("rate")] = static_cast<qint64>(*transfer.bytesPerSecond);
    }
    return object;
}

} // namespace

namespace console {

QByteArray LinkLine(const kesdkimpl::LinkStatus& status)
{
    QJsonObject object{
        {QStringLiteral("session"), EnumName(sessionNames, status.session)},
        {QStringLiteral("problem"), EnumName(problemNames, status.problem)},
    };
    if (status.offlineSince) {
        object[QStringLiteral("offlineSince")] = static_cast<qint64>(status.offlineSince->wallS);
    }
    if (status.lastContact) {
        object[QStringLiteral("lastContact")] = static_cast<qint64>(status.lastContact->wallS);
    }
    if (status.isClockOff) {
        object[QStringLiteral("clockOff")] = true;
    }
    if (status.transfer) {
        object[QStringLiteral("transfer")] = Describe(*status.transfer);
    }
    return "link " + QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace console
