// The file controller's construction, its connections, and the reactions that only refresh it.
#include "screens/TKelvoFileControlWidget.h"

#include "core/TKelvoInterface.h"
#include "host/TListWidget.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "screens/FileController.h"

#include <QtGui/QPixmap>
#include <QtWidgets/QBoxLayout>

namespace {

// Pixels.
constexpr int TOP_MARGIN = 8;
constexpr int LIST_LEFT_MARGIN = 5;

constexpr int LIST_STRETCH = 10;

constexpr const char* CATEGORY_LABELS[] = {
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Prescription Maps"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Job Reports"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "AB Lines"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Curves"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Pivots"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Optimal Lines"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Project Lines"),
};

constexpr const char* LOCATION_LABELS[] = {
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "KELVO"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Files to Upload"),
    QT_TRANSLATE_NOOP("TKelvoFileControlWidget", "Downloaded Files"),
};

// A choice of labels, numbered from 0.
template <std::size_t count>
TEditItem ChoiceOf(const char* const (&labels)[count], bool doesWrap)
{
    TEditItem item;
    item.value = 0.0;
    item.minimum = 0.0;
    item.maximum = static_cast<double>(count - 1);
    item.step = 1.0;
    for (const char* label : labels) {
        item.options.Append(TKelvoFileControlWidget::tr(label));
    }
    item.doesWrap = doesWrap;
    return item;
}

} // namespace

TKelvoFileControlWidget::TKelvoFileControlWidget(QWidget* parent)
    : TWindow(parent),
      m_noSelectionDialog(parent, tr("Error "), tr("No files selected"),
                          TMessageDialog::eAcknowledge, false, QPixmap()),
      m_fileTransferDialog(parent, tr("File Transfer"), QString(), TMessageDialog::eOperation,
                           false, QPixmap()),
      m_deleteConfirmationDialog(parent, tr("Delete Warning"),
                                 tr("Are you sure you want to delete the selected files?"),
                                 TMessageDialog::eQuestion, false, QPixmap()),
      m_deleteProgressDialog(parent, tr("Delete"), QString(), TMessageDialog::eOperation, false,
                             QPixmap())
{
    if (parent == nullptr) {
        return;
    }
    // The dialogs are members, so the parent must not delete them. They leave the parent before it
    // deletes its children.
    connect(parent, &QObject::destroyed, this, [this] {
        for (TMessageDialog* dialog : {&m_noSelectionDialog, &m_fileTransferDialog,
                                       &m_deleteConfirmationDialog, &m_deleteProgressDialog}) {
            dialog->setParent(nullptr, dialog->windowFlags());
        }
    });
}

TKelvoFileControlWidget::~TKelvoFileControlWidget() = default;

void TKelvoFileControlWidget::SetTitle(const QString& title, int)
{
    TWindow::SetTitle(title);
}

// ---- Construction. The order is part of the contract: of widgets among their siblings, and of
// connections to one signal.

void TKelvoFileControlWidget::Setup()
{
    TWindow::Setup();
    if (m_outerLayout != nullptr) { // a second call would double every connection
        return;
    }
    CreateCategorySelector();
    m_fileList = new TListWidget();
    m_fileList->setSelectionMode(QAbstractItemView::MultiSelection);
    CreateActionButtons();
    CreateLocationSelector();
    ArrangeContent();
    SetUpOperationDialogs();
    UpdateFileSystemList();
    UpdateItemToManageList();
    MakeConnections();
}

void TKelvoFileControlWidget::CreateCategorySelector()
{
    m_categorySelector = new TPropertyWidget(this, -1);
    m_categorySelector->SetPropertyIcon(QStringLiteral("Select"));
    m_categorySelector->SetPropertyName(tr("Category"));
    m_categorySelector->SetToolTip(tr("Select the type of items to manage", "ToolTip"));
    m_categorySelector->setFixedHeight(PROPERTY_WIDGET_HEIGHT);
    m_categoryItem = ChoiceOf(CATEGORY_LABELS, true);
    m_categorySelector->SetPropertyType(TPropertyWidget::eChoice, &m_categoryItem);
}

// The captions are not translated, unlike all other texts of the screen.
void TKelvoFileControlWidget::CreateActionButtons()
{
    const struct
    {
        EFileAction id;
        TPushButton*& button;
        QString caption;
        QString toolTip;
    } buttons[] = {
        {eDownloadAction, m_downloadButton, QStringLiteral("Download"),
         tr("Download selected files", "ToolTip")},
        {eUploadAction, m_uploadButton, QStringLiteral("Upload"),
         tr("Upload selected files", "ToolTip")},
        {eDeleteAction, m_deleteButton, QStringLiteral("Delete"),
         tr("Delete selected files", "ToolTip")},
    };
    m_buttonColumn = new QVBoxLayout();
    m_buttonColumn->setContentsMargins(0, 0, 0, 0);
    m_buttonColumn->setAlignment(Qt::AlignTop);
    for (const auto& row : buttons) {
        row.button =
            new TPushButton(ContentWidget(), row.caption, QStringLiteral("NewStandardButton"),
                            QStringLiteral("NewStandardButtonSelected"), row.id, row.toolTip);
        connect(row.button, SIGNAL(Clicked(int)), this, SLOT(OnFileActionButtonClicked(int)));
        m_buttonColumn->addWidget(row.button);
    }
}

void TKelvoFileControlWidget::CreateLocationSelector()
{
    m_locationSelector = new TPropertyWidget(this, -1);
    m_locationSelector->SetPropertyIcon(QStringLiteral("save"));
    m_locationSelector->SetPropertyName(tr("Browse"));
    m_locationSelector->SetToolTip(tr("Select the location of files to view", "ToolTip"));
    m_locationSelector->setFixedHeight(PROPERTY_WIDGET_HEIGHT);
    m_locationItem = ChoiceOf(LOCATION_LABELS, false);
    m_locationSelector->SetPropertyType(TPropertyWidget::eChoice, &m_locationItem);
}

void TKelvoFileControlWidget::ArrangeContent()
{
    m_listRow = new QHBoxLayout();
    m_listRow->setContentsMargins(LIST_LEFT_MARGIN, 0, 0, 0);
    m_listRow->addWidget(m_fileList);
    m_listRow->addLayout(m_buttonColumn);

    auto* const locationRow = new QHBoxLayout();
    locationRow->setContentsMargins(0, 0, 0, 0);
    locationRow->addWidget(m_locationSelector);
    locationRow->addSpacing(SYSTEM_TOOLBAR_BUTTON_WIDTH);

    m_outerLayout = new QVBoxLayout();
    m_outerLayout->setContentsMargins(0, TOP_MARGIN, 0, 0);
    m_outerLayout->addWidget(m_categorySelector, 0);
    m_outerLayout->addLayout(m_listRow, LIST_STRETCH);
    m_outerLayout->addLayout(locationRow, 0);
    setLayout(m_outerLayout);
}

void TKelvoFileControlWidget::SetUpOperationDialogs()
{
    for (TMessageDialog* dialog : {&m_fileTransferDialog, &m_deleteProgressDialog}) {
        dialog->SetupIfRequired();
        for (const auto button : {TMessageDialog::eButton0, TMessageDialog::eButton1}) {
            dialog->GetMessageDialogButton(button)->SetDisabledBackground(
                QStringLiteral("NewDisabledButton"));
        }
    }
}

// The Cancel() connections are queued, so that the dialog has finished its signal before its
// message and its buttons change.
void TKelvoFileControlWidget::MakeConnections()
{
    const Qt::ConnectionType direct = Qt::AutoConnection;
    const Qt::ConnectionType queued = Qt::QueuedConnection;
    const struct
    {
        QObject* sender;
        const char* sent;
        const char* slot;
        Qt::ConnectionType type;
    } connections[] = {
        {m_categorySelector, SIGNAL(ValueChanged()), SLOT(OnItemToManageChanged()), direct},
        {m_locationSelector, SIGNAL(ValueChanged()), SLOT(OnFileSystemChanged()), direct},
        {m_fileList, SIGNAL(itemSelectionChanged()), SLOT(UpdateFileActionButtons()), direct},
        {&m_fileTransferDialog, SIGNAL(Cancel()), SLOT(OnFileTransferCanceled()), queued},
        {&m_deleteProgressDialog, SIGNAL(Cancel()), SLOT(OnDeleteDownloadableFilesCanceled()),
         queued},
        {&m_deleteConfirmationDialog, SIGNAL(Yes()), SLOT(OnDeleteFilesConfirmed()), direct},
        {KelvoInterface, SIGNAL(KelvoLoggedIn()), SLOT(OnKelvoLoginStatusChanged()), direct},
        {KelvoInterface, SIGNAL(KelvoLoggedOut()), SLOT(OnKelvoLoginStatusChanged()), direct},
        {KelvoInterface, SIGNAL(KelvoDownloadingFile(int, QString)),
         SLOT(OnShowDownloadProgress(int, QString)), direct},
        {KelvoInterface, SIGNAL(KelvoDownloadComplete(int, KelvoFileTransferErrorDetailsList)),
         SLOT(OnKelvoDownloadComplete(int, KelvoFileTransferErrorDetailsList)), direct},
        {KelvoInterface, SIGNAL(KelvoUploadingFile(int, QString)),
         SLOT(OnShowUploadProgress(int, QString)), direct},
        {KelvoInterface, SIGNAL(KelvoUploadComplete(int, KelvoFileTransferErrorDetailsList)),
         SLOT(OnKelvoUploadComplete(int, KelvoFileTransferErrorDetailsList)), direct},
        {KelvoInterface, SIGNAL(NewKelvoProjectFilesList(int, KelvoFileInfoList)),
         SLOT(OnNewKelvoProjectFilesList(int, KelvoFileInfoList)), direct},
        {KelvoInterface, SIGNAL(KelvoDeletingFile(int, QString)),
         SLOT(OnShowDeleteDownloadableFilesProgress(int, QString)), direct},
        {KelvoInterface, SIGNAL(KelvoDeleteComplete(int, KelvoFileTransferErrorDetailsList)),
         SLOT(OnKelvoDeleteDownloadableFilesComplete(int, KelvoFileTransferErrorDetailsList)),
         direct},
        {KelvoInterface, SIGNAL(KelvoFileOperationInProgress()), SLOT(UpdateFileActionButtons()),
         direct},
        {KelvoInterface, SIGNAL(KelvoFileOperationComplete()), SLOT(UpdateFileActionButtons()),
         direct},
    };
    for (const auto& connection : connections) {
        connect(connection.sender, connection.sent, this, connection.slot, connection.type);
    }
}

// ---- Reactions that only refresh the screen.

void TKelvoFileControlWidget::showEvent(QShowEvent* event)
{
    TWindow::showEvent(event);
    if (m_outerLayout == nullptr) { // shown before Setup()
        return;
    }
    UpdateItemToManageList();
    UpdateFileListWidget(false);
    UpdateFileActionButtons();
}

void TKelvoFileControlWidget::OnItemToManageChanged()
{
    UpdateFileListWidget(false);
    UpdateFileActionButtons();
}

void TKelvoFileControlWidget::OnFileSystemChanged()
{
    UpdateItemToManageList();
    UpdateFileListWidget(false);
    UpdateFileActionButtons();
}

void TKelvoFileControlWidget::OnKelvoLoginStatusChanged()
{
    UpdateFileSystemList();
    UpdateItemToManageList();
    UpdateFileListWidget(false);
    UpdateFileActionButtons();
}

void TKelvoFileControlWidget::OnNewKelvoProjectFilesList(int project, KelvoFileInfoList)
{
    const EItemToManage item = GetItemToManageForKelvoProject(EKelvoProjects(project));
    if (isVisible() && m_categorySelector->GetNumericalValue() == double(item)) {
        UpdateFileListWidget(true);
    }
}
