// A simple reader of NMEA logs, without code of the console, to compare the console's reader with.
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
    int lost = 0; // with the loss at the end of the log
    int sentences = 0;
};

// `silenceSeconds`: a gap of that length or more between the times of sentences loses the fix.
TLogReading ReadLog(const QString& path, double silenceSeconds);

} // namespace kelvo::test
