// The fixture of the tests of uploads.
#pragma once

#include "tests/worker/TWorkerFixture.h"

#include <QtCore/QDir>

// A worker, its local upload folders, and the uploaded files on the service.
class TUpload : public TWorkerFixture
{
public:
    QStringList Put(EKelvoProjects project, const QStringList& names)
    {
        for (const QString& name : names)
            WriteFile(UploadFolder(project) + name, "content of " + name.toUtf8());
        return names;
    }
    void Upload(int project, const QStringList& names)
    {
        Call("OnUploadToKelvo", Q_ARG(int, project), Q_ARG(QStringList, names));
    }
    static QStringList Local(EKelvoProjects project)
    {
        return QDir(UploadFolder(project)).entryList(QDir::Files, QDir::Name);
    }
    QStringList Remote(EKelvoProjects project)
    {
        QStringList names;
        for (const std::wstring& name : Farm().FileNames(Inbox(project)))
            names << QString::fromStdWString(name);
        return names;
    }
};
