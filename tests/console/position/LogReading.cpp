#include "console/position/LogReading.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

#include <cmath>

namespace {

double Degrees(const QString& field, const QString& hemisphere)
{
    const double value = field.toDouble();
    const double degrees = std::floor(value / 100) + (value - 100 * std::floor(value / 100)) / 60;
    return hemisphere == QLatin1String("S") || hemisphere == QLatin1String("W") ? -degrees
                                                                                : degrees;
}

double SecondsOfDay(double hhmmss)
{
    const double hours = std::floor(hhmmss / 10000);
    const double minutes = std::floor(hhmmss / 100) - hours * 100;
    return hhmmss - hours * 10000 - minutes * 100 + minutes * 60 + hours * 3600;
}

} // namespace

namespace kelvo::test {

TLogReading ReadLog(const QString& path, double silenceSeconds)
{
    static const QRegularExpression form(
        QStringLiteral("^\\$[A-Z]{2}(GGA|RMC),([0-9.]*),(.*)\\*[0-9A-Fa-f]{2}\\s*$"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("no log %s", qUtf8Printable(path));
    }
    TLogReading reading;
    bool isGgaValid = true; // until a GGA sentence is void
    bool isRmcValid = true;
    bool hasFix = false;
    double lastFixSeconds = 0;
    while (!file.atEnd()) {
        const QRegularExpressionMatch match = form.match(QString::fromLatin1(file.readLine()));
        if (!match.hasMatch()) {
            continue;
        }
        ++reading.sentences;
        const bool isGga = match.captured(1) == QLatin1String("GGA");
        const double hhmmss = match.captured(2).toDouble();
        // GGA: latitude, N, longitude, E, quality. RMC: status, latitude, N, longitude, E.
        const QStringList fields = match.captured(3).split(QLatin1Char(','));
        (isGga ? isGgaValid : isRmcValid) =
            isGga ? fields.at(4) != QLatin1String("0") : fields.at(0) == QLatin1String("A");
        if (hasFix && SecondsOfDay(hhmmss) - lastFixSeconds >= silenceSeconds) {
            hasFix = false;
            ++reading.lost;
        }
        const bool isFix = isGgaValid && isRmcValid;
        reading.gained += isFix && !hasFix;
        reading.lost += hasFix && !isFix;
        hasFix = isFix;
        if (isFix) {
            lastFixSeconds = SecondsOfDay(hhmmss);
            const int first = isGga ? 0 : 1;
            reading.positions.append({Degrees(fields.at(first), fields.at(first + 1)),
                                      Degrees(fields.at(first + 2), fields.at(first + 3)), hhmmss});
        }
    }
    reading.lost += hasFix;
    return reading;
}

} // namespace kelvo::test
