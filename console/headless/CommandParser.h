// Parses the commands of the headless console.
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
    eLink,
    eQuit,
};

struct TCommand
{
    EVerb verb = EVerb::eNone;
    EKelvoProjects project = ePrescriptionMaps;
    QStringList fileNames;
    QList<EHubSignal> signalsToAwait;
    bool isBackground = false; // ended with &: the next command does not wait
};

// Parses a line. If the line is faulty, it returns false and `errorText` holds the reason.
bool ParseCommand(const QString& line, TCommand& command, QString& errorText);

QString VerbName(EVerb verb);
// The name of a project in commands and in output, such as "maps".
QString KindName(int project);
QStringList KindNames();
// The usage and the meaning of each command, one line for each.
QString CommandHelp();

} // namespace console
