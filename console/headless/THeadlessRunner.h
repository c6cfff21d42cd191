// Runs the commands of a script on the plug-in's hub.
#pragma once

#include "console/headless/CommandParser.h"
#include "console/headless/TOperation.h"
#include "console/session/HubEvent.h"

#include <QtCore/QObject>
#include <QtCore/QQueue>
#include <QtCore/QTimer>

#include <array>
#include <functional>
#include <optional>
#include <vector>

class TKelvoInterface;

namespace console {

// What the runner asks of its surroundings.
struct TRunnerSeams
{
    std::function<void(const QByteArray& line)> print;
    std::function<void(int exitStatus)> finished; // called once
    std::function<QByteArray()> positionLine;     // what is to be printed about the position
};

// Takes commands one after the other, waits as long as each wants, and prints a line for every
// signal and for every command's result.
//
// Thread: main. Ownership: the hub is the plug-in's and must outlive the runner. Errors: a command
// that fails is printed and makes the exit status 1, a faulty line 2; the next command still runs.
//
//                 ┌────────────── ended, timed out ──────────────┐
//   idle → command → done at once → idle                         │
//                  → operation begun → & → idle (operation runs) │
//                                    → waiting for operation ────┤
//                  → wait → waiting for operation or signals ────┘
class THeadlessRunner : public QObject
{
    Q_OBJECT

public:
    THeadlessRunner(TKelvoInterface& hub, TRunnerSeams seams, int timeoutMs);

    // A command to be run when those before it are done.
    void AddLine(const QString& line);
    // No further lines come: ends when all are done.
    void AddEnd();
    void OnHubEvent(const THubEvent& event);

private:
    enum class EWaiting : std::uint8_t { eNot, eOperation, eForOperation, eForSignals };

    bool IsEndOfForgotten(const THubEvent& event);
    void RunNextSoon();
    void RunNext();
    void Run(const TCommand& command);
    void BeginOperation(const TCommand& command);
    void Request(const TCommand& command);
    void BeginWait(const TCommand& command);
    bool HaveAwaitedSignalsCome();
    void OnProgress();
    void OnTimeout();
    void WaitFor(EWaiting waiting);
    void Succeed(EVerb verb);
    void Fail(EVerb verb, const QString& reason);
    void Finish();

    TKelvoInterface& m_hub;
    TRunnerSeams m_seams;
    QTimer m_timeout;
    QQueue<QString> m_lines;
    std::optional<TOperation> m_operation;
    // Timed out, while the worker goes on with them: their ends are still to come.
    std::vector<TOperation> m_forgotten;
    std::array<int, hubSignalCount> m_unseenSignals = {}; // emitted, and not yet waited for
    QList<EHubSignal> m_awaitedSignals;
    EWaiting m_waiting = EWaiting::eNot;
    bool m_isProgressPosted = false;
    bool m_isNextPosted = false;
    bool m_hasEnd = false;
    bool m_isFinished = false;
    int m_exitStatus = 0;
};

} // namespace console
