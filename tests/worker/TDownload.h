// The fixture of the tests of downloads and deletions.
#pragma once

#include "support/TZipBuilder.h"
#include "tests/worker/TWorkerFixture.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>

// A worker whose inbox of pivots the tests fill.
class TDownload : public TWorkerFixture
{
public:
    // An archive that unpacks into one file, `inner`, in olga's inbox.
    std::int64_t AddArchive(EKelvoProjects project, const QString& name, const std::string& inner,
                            const std::string& content = "content")
    {
        const QByteArray archive = kelvo::test::ZipOf(QByteArray::fromStdString(inner),
                                                      QByteArray::fromStdString(content));
        return Farm().AddFile(Inbox(project), name.toStdWString(), archive.toStdString());
    }
    void Download(int project, const QStringList& names, const KelvoFileInfoList& reference)
    {
        Call("OnDownloadFromKelvo", Q_ARG(int, project), Q_ARG(QStringList, names),
             Q_ARG(KelvoFileInfoList, reference));
    }
    void Delete(int project, const QStringList& names, const KelvoFileInfoList& reference)
    {
        Call("OnDeleteFromKelvo", Q_ARG(int, project), Q_ARG(QStringList, names),
             Q_ARG(KelvoFileInfoList, reference));
    }
    // The current files of the inbox, as a listing.
    KelvoFileInfoList Reference(EKelvoProjects project)
    {
        KelvoFileInfoList reference;
        for (const auto& file : Farm().Find(Inbox(project), userId).content) {
            reference.fileIds << static_cast<long>(file.id);
            reference.fileNames << QString::fromStdWString(file.name);
        }
        return reference;
    }
    QStringList Remote(EKelvoProjects project) { return Reference(project).fileNames; }

    // The unpacked files, with their folders.
    static QStringList Local(EKelvoProjects project)
    {
        const QDir folder(DownloadFolder(project));
        QDirIterator file(folder.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        QStringList paths;
        while (file.hasNext()) {
            paths << folder.relativeFilePath(file.next());
        }
        paths.sort();
        return paths;
    }
    static QStringList Temporary()
    {
        return QDir(TempFolder())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDir::Name);
    }
};
