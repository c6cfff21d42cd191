// Creates NMEA sentences with checksums.
#pragma once

#include <QtCore/QByteArray>

namespace kelvo::test {

// "$BODY*hh" and a line end.
QByteArray Sentence(const QByteArray& body);

// At 50° 30.0' + `minute` thousandths N, 8° 15.0' W.
QByteArray Gga(const QByteArray& hhmmss, char quality, int thousandth = 0);
// The same place. `status` is "A" or "V". Without a mode if `mode` is 0.
QByteArray Rmc(const QByteArray& hhmmss, char status, char mode = 0, int thousandth = 0);

constexpr double sentenceLatitude = 50.5;
constexpr double sentenceLongitude = -8.25;

} // namespace kelvo::test
