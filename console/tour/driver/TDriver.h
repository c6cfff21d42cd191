// Operates the console's window by commands from the standard input.
#pragma once

#include "console/session/TLineSource.h"
#include "console/tour/driver/THeartbeat.h"

#include <QtCore/QJsonObject>
#include <QtCore/QSize>

namespace console {
class TWindowSession;
}

namespace tour {

// Each line is a JSON object with the command in "do" and the command's arguments. The answer is
// one line, {"ok": true, ..} or {"ok": false, "why": ..}:
//
//   look                     the texts on the screen, see ScreenText()
//   press "button"           touch a button
//   open "row"               touch a row
//   type "row" "text"        replace a row's text
//   touch "name"             touch a name in the list
//   picture "file"           save a picture
//   resize "width" "height"  pixels
//   heartbeat                starts a measurement; the second time, its result
//   quit                     the same as closing the window
//
// The end of the input is a quit. Thread: main; never blocks.
class TDriver
{
public:
    // `session` has begun and must outlive the driver.
    TDriver(console::TWindowSession& session, const QSize& size);

private:
    void OnLine(const QString& line);
    QJsonObject Do(const QJsonObject& command);
    QJsonObject Heartbeat();

    console::TWindowSession& m_session;
    THeartbeat m_heartbeat;
    bool m_isBeating = false;
    console::TLineSource m_source;
};

} // namespace tour
