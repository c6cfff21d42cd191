// What a log of NMEA sentences says, read in the plainest way and by nothing that the console uses.
#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

namespace kelvo::test {

struct TReadPosition
{
    double latitude = 0.0;
    double longitude = 0.0;
    double hhmmss = 0.0;
};

struct TLogReading
{
    QVector<TReadPosition> positions; // of valid GGA and RMC sentences while the fix is valid
    int gained = 0;
    int lost = 0; // the end of the log included
    int sentences = 0;
};

// `silenceSeconds`: a hole in the sentences' times of that length or more loses the fix.
TLogReading ReadLog(const QString& path, double silenceSeconds);

} // namespace kelvo::test
