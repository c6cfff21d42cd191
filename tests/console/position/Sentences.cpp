#include "console/position/Sentences.h"

namespace {

QByteArray Place(int thousandth)
{
    return "5030." + QByteArray::number(thousandth).rightJustified(3, '0') + ",N,00815.000,W";
}

} // namespace

namespace kelvo::test {

QByteArray Sentence(const QByteArray& body)
{
    unsigned sum = 0;
    for (const char character : body) {
        sum ^= static_cast<unsigned char>(character);
    }
    return '$' + body + '*' + QByteArray::number(sum, 16).rightJustified(2, '0').toUpper() + "\r\n";
}

QByteArray Gga(const QByteArray& hhmmss, char quality, int thousandth)
{
    return Sentence("GPGGA," + hhmmss + ',' + Place(thousandth) + ',' + QByteArray(1, quality) +
                    ",09,1.1,112.0,M,47.0,M,,");
}

QByteArray Rmc(const QByteArray& hhmmss, char status, char mode, int thousandth)
{
    QByteArray body = "GNRMC," + hhmmss + ',' + QByteArray(1, status) + ',' + Place(thousandth) +
                      ",1.5,90.0,010226,,";
    if (mode != 0) {
        body += ',' + QByteArray(1, mode);
    }
    return Sentence(body);
}

} // namespace kelvo::test
