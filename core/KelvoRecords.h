// The value types that cross between the screens, the hub and the worker.
#pragma once

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QStringList>

// The kinds of data that the console exchanges with the service. The values are part of the
// contract: signals carry them as int, and tables of seven entries are indexed by them.
enum EKelvoProjects : int {
    ePrescriptionMaps = 0,
    eJobReports = 1,
    eABLines = 2,
    eCurves = 3,
    ePivots = 4,
    eOptimalLines = 5,
    eProjectLines = 6,
};

constexpr int KELVO_PROJECT_COUNT = 7;

// The downloadable files of one inbox. Entry i of one list belongs to entry i of the other. The
// service sets the order. A name may occur more than once.
class KelvoFileInfoList
{
public:
    QList<long> fileIds; // `long` has 32 bits on the console
    QStringList fileNames;
};

// One file that failed in an upload, a download, a deletion or an inbox set-up.
struct KelvoFileTransferErrorDetails
{
    QString fileName; // name without a path, or a text for all files
    QString errorMsg; // for the operator
};

// Signals use this name of the list, because the meta-type is registered under it.
using KelvoFileTransferErrorDetailsList = QList<KelvoFileTransferErrorDetails>;

Q_DECLARE_METATYPE(KelvoFileInfoList)
Q_DECLARE_METATYPE(KelvoFileTransferErrorDetails)
