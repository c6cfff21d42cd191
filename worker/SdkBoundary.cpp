#include "worker/SdkBoundary.h"

#include <QtCore/QUrl>
#include <QtCore/QVariant>
#include <QtGui/QTextDocument>

#include <chrono>

namespace {

// A document that loads no resources. QTextDocument would read a style sheet that the markup names.
// If that file is a pipe, the read never ends; if it is a device, it takes gigabytes of memory.
class TTextOnlyDocument : public QTextDocument
{
public:
    QVariant loadResource(int, const QUrl&) override { return QVariant(); }
};

// Removes zero characters, also those that the markup has as an entity.
QString PlainText(QTextDocument& document, const std::wstring& html)
{
    document.setHtml(QString::fromWCharArray(html.c_str()));
    return document.toPlainText().remove(QChar(QChar::Null));
}

} // namespace

QString GetLastErrorMsg(const xal_list<kesdk::api::CErrorMsg>& errors)
{
    if (errors.empty()) {
        return QString();
    }
    const kesdk::api::CErrorMsg& newest = errors.front();
    TTextOnlyDocument document;
    const QString first = PlainText(document, newest.text1);
    QString second = PlainText(document, newest.text2);
    QString third = PlainText(document, newest.text3);

    if (!first.isEmpty()) {
        return second.isEmpty() || second == first ? first : first + QLatin1Char('\n') + second;
    }
    if (!second.isEmpty()) {
        return second;
    }
    return third.isEmpty() ? QStringLiteral("Unknown error occurred") : third;
}

int QStringToTCHAR(QString text, wchar_t* buffer, int bufferSize)
{
    if (buffer == nullptr || bufferSize <= 0) {
        return 0;
    }
    if (bufferSize <= text.length()) {
        text.truncate(bufferSize - 1);
    }
    const int written = text.toWCharArray(buffer);
    buffer[written] = L'\0';
    return written;
}

qint64 getPosixCurrentTime()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch).count() / 1000000;
}
