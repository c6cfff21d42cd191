#include "console/tour/driver/TDriver.h"

#include "console/tour/driver/Finger.h"
#include "console/tour/driver/FocusText.h"
#include "console/tour/driver/Picture.h"
#include "console/tour/driver/ScreenText.h"
#include "console/window/TWindowSession.h"

#include <QtCore/QJsonDocument>

#include <cstdio>
#include <stdexcept>

#include <unistd.h>

namespace {

constexpr int smallestFile = 0; // the "quality" of a PNG file sets the compression only

QString Text(const QJsonObject& command, const char* key)
{
    const QJsonValue value = command.value(QLatin1String(key));
    if (!value.isString()) {
        throw std::runtime_error(std::string("the command lacks ") + key);
    }
    return value.toString();
}

void Answer(QJsonObject answer)
{
    answer.insert(QStringLiteral("ok"), !answer.contains(QStringLiteral("why")));
    std::printf("%s\n", QJsonDocument(answer).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

} // namespace

namespace tour {

TDriver::TDriver(console::TWindowSession& session, const QSize& size)
    : m_session(session),
      m_source(
          STDIN_FILENO, [this](const QString& line) { OnLine(line); },
          [this] { m_session.RequestEnd(); })
{
    m_session.Window()->resize(size);
}

void TDriver::OnLine(const QString& line)
{
    const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8());
    try {
        Answer(Do(document.object()));
    } catch (const std::runtime_error& refusal) {
        Answer({{QStringLiteral("why"), QString::fromStdString(refusal.what())}});
    }
}

QJsonObject TDriver::Do(const QJsonObject& command)
{
    const QString verb = Text(command, "do");
    if (m_session.Window() == nullptr) {
        throw std::runtime_error("the console has ended");
    }
    console::TMainWindow& window = *m_session.Window();
    if (verb == QLatin1String("look")) {
        QJsonObject screen = ScreenText(window);
        screen.insert(QStringLiteral("focus"), FocusText(window));
        return screen;
    }
    if (verb == QLatin1String("heartbeat")) {
        return Heartbeat();
    }
    if (verb == QLatin1String("press")) {
        PressButton(window, Text(command, "button"));
    } else if (verb == QLatin1String("open")) {
        PressRow(window, Text(command, "row"));
    } else if (verb == QLatin1String("type")) {
        TypeInto(window, Text(command, "row"), Text(command, "text"));
    } else if (verb == QLatin1String("key")) {
        PressKey(window, Text(command, "key"));
    } else if (verb == QLatin1String("enter")) {
        EnterText(Text(command, "text"));
    } else if (verb == QLatin1String("touch")) {
        TouchName(window, Text(command, "name"));
    } else if (verb == QLatin1String("picture")) {
        if (!Picture(window).save(Text(command, "file"), "PNG", smallestFile)) {
            throw std::runtime_error("the picture could not be saved");
        }
    } else if (verb == QLatin1String("resize")) {
        window.resize(command.value(QLatin1String("width")).toInt(),
                      command.value(QLatin1String("height")).toInt());
    } else if (verb == QLatin1String("quit")) {
        m_session.RequestEnd();
    } else {
        throw std::runtime_error("there is no such command");
    }
    return {};
}

QJsonObject TDriver::Heartbeat()
{
    m_isBeating = !m_isBeating;
    if (m_isBeating) {
        m_heartbeat.Start();
        return {};
    }
    return m_heartbeat.Stop();
}

} // namespace tour
