// The console's commands, as they are written.
#pragma once

#include "console/session/HubEvent.h"
#include "core/KelvoRecords.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>

namespace console {

enum class EVerb : std::uint8_t {
    eNone, // an empty line or a comment
    eLogin,
    eLogout,
    eList,
    eUpload,
    eDownload,
    eDelete,
    eCancel,
    eWait,
    eStatus,
    ePosition,
    eQuit,
};

struct TCommand
{
    EVerb verb = EVerb::eNone;
    EKelvoProjects project = ePrescriptionMaps;
    QStringList fileNames;
    QList<EHubSignal> signalsToAwait;
    bool isBackground = false; // do not wait for its end
};

// The command in a line. False if there is something wrong with it; `errorText` says what.
bool ParseCommand(const QString& line, TCommand& command, QString& errorText);

QString VerbName(EVerb verb);
// What the kinds of data are called in commands and in output.
QString KindName(int project);
QStringList KindNames();
// A line a command.
QString CommandHelp();

} // namespace console
