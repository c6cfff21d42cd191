#include "console/headless/SignalPrinter.h"

#include "console/headless/CommandParser.h"
#include "core/TKelvoInterface.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace {

QByteArray Compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonArray FilesJson(const KelvoFileInfoList& files)
{
    QJsonArray array;
    for (int i = 0; i < files.fileNames.size(); ++i) {
        array << QJsonObject{{QStringLiteral("id"), static_cast<qint64>(files.fileIds.value(i))},
                             {QStringLiteral("name"), files.fileNames.at(i)}};
    }
    return array;
}

QJsonArray ErrorsJson(const KelvoFileTransferErrorDetailsList& errors)
{
    QJsonArray array;
    for (const KelvoFileTransferErrorDetails& error : errors) {
        array << QJsonObject{{QStringLiteral("file"), error.fileName},
                             {QStringLiteral("text"), error.errorMsg}};
    }
    return array;
}

} // namespace

namespace console {

QByteArray SignalLine(const THubEvent& event)
{
    QJsonObject arguments;
    if (event.project) {
        arguments[QStringLiteral("project")] = KindName(*event.project);
    }
    if (event.progress) {
        arguments[QStringLiteral("progress")] = *event.progress;
    }
    if (event.fileName) {
        arguments[QStringLiteral("file")] = *event.fileName;
    }
    if (event.message) {
        arguments[QStringLiteral("text")] = *event.message;
    }
    if (event.fileNames) {
        arguments[QStringLiteral("names")] = QJsonArray::fromStringList(*event.fileNames);
    }
    if (event.files) {
        arguments[QStringLiteral("files")] = FilesJson(*event.files);
    }
    if (event.errors) {
        arguments[QStringLiteral("errors")] = ErrorsJson(*event.errors);
    }
    return "signal " + QByteArray(SignalName(event.signal).latin1()) + ' ' + Compact(arguments);
}

QByteArray ListLine(EKelvoProjects project, const KelvoFileInfoList& files)
{
    return "list " + Compact({{QStringLiteral("project"), KindName(project)},
                              {QStringLiteral("files"), FilesJson(files)}});
}

QByteArray StatusLine(TKelvoInterface& hub)
{
    return "status " +
           Compact(
               {{QStringLiteral("loggedIn"), hub.IsKelvoLoggedIn()},
                {QStringLiteral("loginInProgress"), hub.IsKelvoLoginInProgress()},
                {QStringLiteral("fileOperationInProgress"), hub.IsKelvoFileOperationInProgress()},
                {QStringLiteral("cancelRequested"), hub.IsCancelCurrentOperationRequested()}});
}

} // namespace console
