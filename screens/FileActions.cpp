// The actions of the file controller's buttons, and the dialogs of an operation until its
// completion.
#include "screens/TKelvoFileControlWidget.h"

#include "core/KelvoHelperFunctions.h"
#include "core/TKelvoInterface.h"
#include "host/TFileSystemHelper.h"
#include "host/TListWidget.h"
#include "host/TPropertyWidget.h"
#include "screens/FileController.h"

#include <QtCore/QDir>

namespace {

// The state of an operation: whether button 1 can cancel it, and whether button 0 can close its
// dialog.
struct TOperationState
{
    bool canCancel;
    bool canClose;
};

constexpr TOperationState RUNNING{true, false};
constexpr TOperationState CANCELLING{false, false};
constexpr TOperationState FINISHED{false, true};

void Report(TMessageDialog& dialog, const QString& message, const TOperationState& state)
{
    dialog.SetMessage(message);
    dialog.ShowWindow(true);
    dialog.EnableButton(TMessageDialog::eButton1, state.canCancel);
    dialog.EnableButton(TMessageDialog::eButton0, state.canClose);
}

// The success text, or one block for each failure.
QString OutcomeOf(const KelvoFileTransferErrorDetailsList& errors, const QString& success,
                  const QString& failureLine)
{
    if (errors.isEmpty()) {
        return success;
    }
    QString message;
    for (const KelvoFileTransferErrorDetails& error : errors) {
        message += failureLine.arg(error.fileName) + QLatin1Char('\n') + error.errorMsg +
                   QStringLiteral("\n\n");
    }
    return message;
}

} // namespace

// ---- The buttons.

void TKelvoFileControlWidget::OnFileActionButtonClicked(int buttonId)
{
    const QStringList names = m_fileList->GetSelectedTextItems();
    if (names.isEmpty()) {
        m_noSelectionDialog.ShowWindow(true);
        return;
    }
    const EItemToManage item = ChosenItem();
    if (buttonId == eDownloadAction) {
        DownloadFilesFromKelvo(item, names);
    } else if (buttonId == eUploadAction) {
        UploadFilesToKelvo(item, names);
    } else if (buttonId == eDeleteAction) {
        m_deleteConfirmationDialog.ShowWindow(true);
    }
}

// Reads the selection again: it may have changed since the question was shown.
void TKelvoFileControlWidget::OnDeleteFilesConfirmed()
{
    const struct
    {
        int location;
        void (TKelvoFileControlWidget::*deleteFiles)(EItemToManage, const QStringList&);
    } deletions[] = {
        {eKelvoService, &TKelvoFileControlWidget::DeletedFilesDownloadableFromKelvo},
        {eFilesToUpload, &TKelvoFileControlWidget::DeleteFilesPendingUploadToKelvo},
        {eDownloadedFiles, &TKelvoFileControlWidget::DeleteFilesDownloadedFromKelvo},
    };
    const QStringList names = m_fileList->GetSelectedTextItems();
    const int location = ChosenLocation();
    const EItemToManage item = ChosenItem();
    for (const auto& deletion : deletions) {
        if (deletion.location == location) {
            (this->*deletion.deleteFiles)(item, names);
        }
    }
}

// ---- Requests to the service.

void TKelvoFileControlWidget::DownloadFilesFromKelvo(EItemToManage item, const QStringList& names)
{
    if (item == eManageJobReports) {
        return;
    }
    Report(m_fileTransferDialog, tr("Download started"), RUNNING);
    KelvoInterface->OnDownloadFromKelvoRequested(GetKelvoProjectForItemToManage(item), names);
}

void TKelvoFileControlWidget::UploadFilesToKelvo(EItemToManage item, const QStringList& names)
{
    if (item == eManagePrescriptionMaps) {
        return;
    }
    if (!m_categoryItem.optionsEnabled.At(eManagePrescriptionMaps) &&
        m_categoryItem.value == double(eManagePrescriptionMaps)) {
        m_categorySelector->SetNumericalValue(eManageJobReports);
    }
    m_categoryItem.value = m_categorySelector->GetNumericalValue();
    m_categorySelector->SetProperties(m_categoryItem);

    Report(m_fileTransferDialog, tr("Upload started"), RUNNING);
    KelvoInterface->OnUploadToKelvoRequested(GetKelvoProjectForItemToManage(item), names);
}

void TKelvoFileControlWidget::DeletedFilesDownloadableFromKelvo(EItemToManage item,
                                                                const QStringList& names)
{
    Report(m_deleteProgressDialog, tr("Delete started"), RUNNING);
    KelvoInterface->OnDeleteFilesRequested(GetKelvoProjectForItemToManage(item), names);
}

// ---- Local deletions. Failures are not reported; the list still shows the files.

void TKelvoFileControlWidget::DeleteFilesPendingUploadToKelvo(EItemToManage item,
                                                              const QStringList& names)
{
    QDir folder(KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(
        GetKelvoProjectForItemToManage(item)));
    for (const QString& name : names) {
        folder.remove(name);
    }
    UpdateFileListWidget(false);
}

void TKelvoFileControlWidget::DeleteFilesDownloadedFromKelvo(EItemToManage item,
                                                             const QStringList& names)
{
    QDir folder(KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(
        GetKelvoProjectForItemToManage(item)));
    for (const QString& name : names) {
        const QString path = folder.absoluteFilePath(name);
        if (QDir(path).exists()) {
            TFileSystemHelper::DeleteDirGeneric(path, true, true);
        } else {
            folder.remove(name);
        }
    }
    UpdateFileListWidget(false);
}

// ---- Progress. Changes only the text, also while the dialog is hidden.

void TKelvoFileControlWidget::OnShowDownloadProgress(int, QString name)
{
    m_fileTransferDialog.SetMessage(tr("Downloading %1").arg(name));
}

void TKelvoFileControlWidget::OnShowUploadProgress(int, QString name)
{
    m_fileTransferDialog.SetMessage(tr("Uploading %1").arg(name));
}

void TKelvoFileControlWidget::OnShowDeleteDownloadableFilesProgress(int, QString name)
{
    m_deleteProgressDialog.SetMessage(tr("Deleting %1").arg(name));
}

// ---- Completion. After a download or a deletion on the service, the worker's next listing
// refreshes the list.

void TKelvoFileControlWidget::OnKelvoDownloadComplete(int, KelvoFileTransferErrorDetailsList errors)
{
    Report(m_fileTransferDialog,
           OutcomeOf(errors, tr("Download complete."),
                     tr("A problem occurred with: %1",
                        "%1 is a filename that failed to download correctly")),
           FINISHED);
}

void TKelvoFileControlWidget::OnKelvoUploadComplete(int, KelvoFileTransferErrorDetailsList errors)
{
    Report(m_fileTransferDialog,
           OutcomeOf(errors, tr("Upload complete."), tr("%1 failed to upload.")), FINISHED);
    UpdateFileListWidget(false);
}

void TKelvoFileControlWidget::OnKelvoDeleteDownloadableFilesComplete(
    int, KelvoFileTransferErrorDetailsList errors)
{
    Report(m_deleteProgressDialog,
           OutcomeOf(errors, tr("Delete complete."), tr("%1 failed to delete.")), FINISHED);
}

// ---- Cancelling. The completion ends this state. A cancel that arrives after the completion does
// nothing: no completion would follow, and the dialog would keep both buttons disabled.

// The text is translated once and reused for the life of the process.
void TKelvoFileControlWidget::OnFileTransferCanceled()
{
    if (!KelvoInterface->IsKelvoFileOperationInProgress()) {
        return;
    }
    static const QString message = tr("Cancelling file operation ...");
    Report(m_fileTransferDialog, message, CANCELLING);
    KelvoInterface->OnCancelCurrentOperationRequested();
}

void TKelvoFileControlWidget::OnDeleteDownloadableFilesCanceled()
{
    if (!KelvoInterface->IsKelvoFileOperationInProgress()) {
        return;
    }
    Report(m_deleteProgressDialog, tr("Cancelling delete operation ..."), CANCELLING);
    KelvoInterface->OnCancelCurrentOperationRequested();
}
