// The file controller's lists: the choices of the selectors, the listed names and the enabled
// buttons.
#include "screens/TKelvoFileControlWidget.h"

#include "core/KelvoHelperFunctions.h"
#include "core/TKelvoInterface.h"
#include "host/TListWidget.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "host/TSystemSettings.h"
#include "screens/FileController.h"

#include <QtCore/QDir>

namespace {

// Arguments for the host's list.
constexpr int ENTRY_TEXT_SIZE = 30;
constexpr int ENTRY_DATA = 0;

// Entry 0 is for number 1. All other numbers mean prescription maps.
constexpr EKelvoProjects PROJECTS_OF_ITEMS[] = {eJobReports, eABLines,      eCurves,
                                                ePivots,     eOptimalLines, eProjectLines};
constexpr EItemToManage ITEMS_OF_PROJECTS[] = {eManageJobReports,   eManageABLines,
                                               eManageCurves,       eManagePivots,
                                               eManageOptimalLines, eManageProjectLines};

template <typename T, std::size_t count>
constexpr T EntryFromOne(const T (&table)[count], int number, T otherwise)
{
    return number >= 1 && number <= int(count) ? table[number - 1] : otherwise;
}

} // namespace

EKelvoProjects TKelvoFileControlWidget::GetKelvoProjectForItemToManage(EItemToManage item) const
{
    return EntryFromOne(PROJECTS_OF_ITEMS, item, ePrescriptionMaps);
}

EItemToManage TKelvoFileControlWidget::GetItemToManageForKelvoProject(EKelvoProjects project) const
{
    return EntryFromOne(ITEMS_OF_PROJECTS, project, eManagePrescriptionMaps);
}

EItemToManage TKelvoFileControlWidget::ChosenItem() const
{
    return EItemToManage(int(m_categorySelector->GetNumericalValue()));
}

int TKelvoFileControlWidget::ChosenLocation() const
{
    return int(m_locationSelector->GetNumericalValue());
}

// ---- The selectors. A value between two numbers equals no choice, so it does not move.

void TKelvoFileControlWidget::UpdateFileSystemList()
{
    const bool isLoggedIn = KelvoInterface->IsKelvoLoggedIn();
    m_locationItem.optionsEnabled.Set(eKelvoService, isLoggedIn);
    if (!isLoggedIn && m_locationSelector->GetNumericalValue() == double(eKelvoService)) {
        m_locationSelector->SetNumericalValue(eFilesToUpload);
    }
    m_locationItem.value = m_locationSelector->GetNumericalValue();
    m_locationSelector->SetProperties(m_locationItem);
}

// Prescription maps are only downloaded, job reports are only uploaded.
void TKelvoFileControlWidget::UpdateItemToManageList()
{
    const bool isUpload = ChosenLocation() == eFilesToUpload;
    m_categoryItem.optionsEnabled.Set(eManagePrescriptionMaps, !isUpload);
    m_categoryItem.optionsEnabled.Set(eManageJobReports, isUpload);
    const double chosen = m_categorySelector->GetNumericalValue();
    if (!isUpload && chosen == double(eManageJobReports)) {
        m_categorySelector->SetNumericalValue(eManagePrescriptionMaps);
    } else if (isUpload && chosen == double(eManagePrescriptionMaps)) {
        m_categorySelector->SetNumericalValue(eManageJobReports);
    }
    m_categoryItem.value = m_categorySelector->GetNumericalValue();
    m_categorySelector->SetProperties(m_categoryItem);
}

// ---- The names. If a location does not have a category, the folder's path stays empty, which
// means the working directory. The selectors never offer such a pair.

QStringList TKelvoFileControlWidget::GetKelvoUploadableFileListForItem(EItemToManage item)
{
    QDir folder{QString()};
    if (item != eManagePrescriptionMaps) {
        folder.setPath(KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(
            GetKelvoProjectForItemToManage(item)));
    }
    return folder.entryList({QStringLiteral("*%1").arg(TSystemSettings::ZIPExtension)},
                            QDir::Files | QDir::NoSymLinks, QDir::Name);
}

// Downloaded archives may be unpacked into folders, so folders are listed too.
QStringList TKelvoFileControlWidget::GetKelvoDownloadedFileListForItem(EItemToManage item)
{
    QDir folder{QString()};
    if (item != eManageJobReports) {
        folder.setPath(KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(
            GetKelvoProjectForItemToManage(item)));
    }
    return folder.entryList(
        QDir::Files | QDir::AllDirs | QDir::NoSymLinks | QDir::NoDot | QDir::NoDotDot, QDir::Name);
}

QStringList TKelvoFileControlWidget::GetKelvoDownloadableFileListForItem(EItemToManage item)
{
    if (item == eManageJobReports) {
        return {};
    }
    return KelvoInterface->GetKelvoProjectFilesList(GetKelvoProjectForItemToManage(item)).fileNames;
}

void TKelvoFileControlWidget::UpdateFileListWidget(bool isSelectionKept)
{
    const struct
    {
        int location;
        QStringList (TKelvoFileControlWidget::*namesOf)(EItemToManage);
    } sources[] = {
        {eKelvoService, &TKelvoFileControlWidget::GetKelvoDownloadableFileListForItem},
        {eFilesToUpload, &TKelvoFileControlWidget::GetKelvoUploadableFileListForItem},
        {eDownloadedFiles, &TKelvoFileControlWidget::GetKelvoDownloadedFileListForItem},
    };
    const EItemToManage item = ChosenItem();
    const int location = ChosenLocation();
    const QStringList selected =
        isSelectionKept ? m_fileList->GetSelectedTextItems() : QStringList();
    m_fileList->clear();
    QStringList names;
    for (const auto& source : sources) {
        if (source.location == location) {
            names = (this->*source.namesOf)(item);
        }
    }
    for (const QString& name : qAsConst(names)) {
        m_fileList->AddString(name, ENTRY_TEXT_SIZE, ENTRY_DATA, QIcon());
    }
    m_fileList->SelectItems(selected);
}

// ---- The buttons. Deletions of local files need neither a login nor an idle worker.

void TKelvoFileControlWidget::UpdateFileActionButtons()
{
    const int location = ChosenLocation();
    const bool isSelected = !m_fileList->GetSelectedTextItems().isEmpty();
    const bool isReady = KelvoInterface->IsKelvoLoggedIn() && isSelected &&
                         !KelvoInterface->IsKelvoFileOperationInProgress();
    m_downloadButton->setVisible(location == eKelvoService);
    m_uploadButton->setVisible(location == eFilesToUpload);
    m_downloadButton->setEnabled(isReady);
    m_uploadButton->setEnabled(isReady);
    m_deleteButton->setEnabled(location == eKelvoService ? isReady : isSelected);
}
