// Works the console's window by commands from the standard input.
#pragma once

#include "console/session/TLineSource.h"
#include "console/tour/driver/THeartbeat.h"

#include <QtCore/QJsonObject>
#include <QtCore/QSize>

namespace console {
class TWindowSession;
}

namespace tour {

// Each line is an object with "do" and what belongs to it; each is answered by one line, either
// {"ok": true, ..} or {"ok": false, "why": ..}:
//
//   look                     what is to be seen, see ScreenText()
//   press "button"           touch a button
//   open "row"               touch a row
//   type "row" "text"        replace a row's text
//   touch "name"             touch a name in the list
//   picture "file"           save a picture
//   resize "width" "height"  pixels
//   heartbeat                begin to measure; the second time, how it was
//   quit                     what closing the window does
//
// The end of the input is a quit. Thread: main; never blocks it.
class TDriver
{
public:
    // `session` has begun and outlives it.
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
