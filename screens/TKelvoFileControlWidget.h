// The file controller: lists the files of a category at a location and acts on those selected.
#pragma once

#include "core/KelvoRecords.h"
#include "host/TEditItem.h"
#include "host/TMessageDialog.h"
#include "host/TWindow.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

class QHBoxLayout;
class QVBoxLayout;
class TListWidget;
class TPropertyWidget;
class TPushButton;

// The category selector's values. The numbers are those of EKelvoProjects.
enum EItemToManage : int {
    eManagePrescriptionMaps = 0,
    eManageJobReports = 1,
    eManageABLines = 2,
    eManageCurves = 3,
    eManagePivots = 4,
    eManageOptimalLines = 5,
    eManageProjectLines = 6,
};

// Two selectors (category and location), a list of names, and three buttons. It caches no lists:
// after each change it computes the list and the buttons from the selectors, the disk and the hub.
// Transfers and deletions on the service go through the hub; a progress dialog follows them:
//
//   running ──completion──► finished
//      └──cancel──► cancelling ──completion──► finished
//
// Thread: main. Ownership: the widgets are Qt children; the dialogs and the edit items are members.
// The parent of the dialogs is the controller's parent. Errors: the completion's message shows
// failed transfers. Failed local deletions are not reported: the files are still in the list.
//
// The order of the virtual operations, the members and the slots is part of the contract.
class TKelvoFileControlWidget : public TWindow
{
    Q_OBJECT

public:
    explicit TKelvoFileControlWidget(QWidget* parent);
    ~TKelvoFileControlWidget() override;

protected:
    // Does not update the login state: the hub's signals do.
    void showEvent(QShowEvent* event) override;

public:
    // Builds the content and connects it. A second call does nothing.
    void Setup() override;
    // The number is ignored.
    virtual void SetTitle(const QString& title, int number);
    using TWindow::SetTitle;

    // Other values give prescription maps.
    EKelvoProjects GetKelvoProjectForItemToManage(EItemToManage item) const;
    EItemToManage GetItemToManageForKelvoProject(EKelvoProjects project) const;

    // Names without a path. A missing folder gives an empty list.
    QStringList GetKelvoUploadableFileListForItem(EItemToManage item);
    QStringList GetKelvoDownloadedFileListForItem(EItemToManage item);
    QStringList GetKelvoDownloadableFileListForItem(EItemToManage item);

    // Does not change the buttons.
    void UpdateFileListWidget(bool isSelectionKept);
    // Offers the service as a location only while logged in.
    void UpdateFileSystemList();
    // Offers only the categories of the chosen location.
    void UpdateItemToManageList();

    void DownloadFilesFromKelvo(EItemToManage item, const QStringList& names);
    void UploadFilesToKelvo(EItemToManage item, const QStringList& names);
    void DeletedFilesDownloadableFromKelvo(EItemToManage item, const QStringList& names);
    void DeleteFilesPendingUploadToKelvo(EItemToManage item, const QStringList& names);
    void DeleteFilesDownloadedFromKelvo(EItemToManage item, const QStringList& names);

public Q_SLOTS:
    void OnItemToManageChanged();
    void OnFileSystemChanged();
    void OnFileActionButtonClicked(int buttonId);
    void UpdateFileActionButtons();
    void OnKelvoLoginStatusChanged();
    void OnShowDownloadProgress(int project, QString name);
    void OnKelvoDownloadComplete(int project, KelvoFileTransferErrorDetailsList errors);
    void OnShowUploadProgress(int project, QString name);
    void OnKelvoUploadComplete(int project, KelvoFileTransferErrorDetailsList errors);
    void OnShowDeleteDownloadableFilesProgress(int project, QString name);
    void OnKelvoDeleteDownloadableFilesComplete(int project,
                                                KelvoFileTransferErrorDetailsList errors);
    void OnFileTransferCanceled();
    void OnDeleteDownloadableFilesCanceled();
    void OnDeleteFilesConfirmed();
    // Reads the list from the hub: both arguments are ignored, and the location too.
    void OnNewKelvoProjectFilesList(int project, KelvoFileInfoList list);

private:
    void CreateCategorySelector();
    void CreateActionButtons();
    void CreateLocationSelector();
    void ArrangeContent();
    void SetUpOperationDialogs();
    void MakeConnections();
    EItemToManage ChosenItem() const;
    int ChosenLocation() const;

    QVBoxLayout* m_outerLayout = nullptr;
    QHBoxLayout* m_listRow = nullptr;
    QVBoxLayout* m_buttonColumn = nullptr;
    TPropertyWidget* m_categorySelector = nullptr;
    TPropertyWidget* m_locationSelector = nullptr;
    TListWidget* m_fileList = nullptr;
    TPushButton* m_downloadButton = nullptr;
    TPushButton* m_uploadButton = nullptr;
    TPushButton* m_deleteButton = nullptr;
    TEditItem m_categoryItem;
    TEditItem m_locationItem;
    TMessageDialog m_noSelectionDialog;
    TMessageDialog m_fileTransferDialog; // uploads and downloads
    TMessageDialog m_deleteConfirmationDialog;
    TMessageDialog m_deleteProgressDialog; // deletions on the service
};
