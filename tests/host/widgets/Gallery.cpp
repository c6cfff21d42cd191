// Draws every widget and dialog of the console by day and by night, for a check by eye.
//
// Usage: widget_gallery FOLDER
#include "host/TListWidget.h"
#include "host/TMessageDialog.h"
#include "host/TProgressDialog.h"
#include "host/TProperty.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "host/TWindow.h"
#include "hostimpl/Outcome.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"
#include "widgets/TChoicePopup.h"

#include <QtCore/QDir>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

#include <memory>

namespace {

TEditItem Categories()
{
    TEditItem item;
    item.maximum = 6;
    const char* const labels[] = {
        "Prescription Maps", "Job Reports",  "AB Lines", "Curves", "Pivots",
        "Optimal Lines",     "Project Lines"};
    for (const char* const label : labels) {
        item.options.Append(QString::fromLatin1(label));
    }
    item.optionsEnabled.Set(1, false);
    return item;
}

void FillList(TListWidget& list)
{
    list.setSelectionMode(QAbstractItemView::MultiSelection);
    for (int index = 1; index <= 20; ++index) {
        const QString name = QStringLiteral("Field %1 north of the river, spring wheat").arg(index);
        list.AddString(index % 3 == 0 ? name + QStringLiteral(", variable rate nitrogen, second ") +
                                            QStringLiteral("pass, prepared by the office.zip")
                                      : QStringLiteral("Field %1.zip").arg(index),
                       30, 0, QIcon());
    }
    list.SelectItems({QStringLiteral("Field 2.zip")});
    list.setCurrentRow(2, QItemSelectionModel::Select);
}

TPropertyWidget* NewRow(QWidget& parent, const char* name, const char* icon = "")
{
    auto* const row = new TPropertyWidget(&parent, -1);
    row->setFixedHeight(PROPERTY_WIDGET_HEIGHT);
    row->SetPropertyName(QString::fromLatin1(name));
    row->SetPropertyIcon(QString::fromLatin1(icon));
    return row;
}

TPushButton* NewButton(QWidget& parent, const char* caption)
{
    return new TPushButton(&parent, QString::fromLatin1(caption),
                           QStringLiteral("NewStandardButton"),
                           QStringLiteral("NewStandardButtonSelected"), 0, QString());
}

void AddFormTo(QVBoxLayout& column, QWidget& parent)
{
    TPropertyWidget* const user = NewRow(parent, "USERNAME");
    user->SetTextValue(QStringLiteral("operator@farm.example"));
    column.addWidget(user);
    TPropertyWidget* const password = NewRow(parent, "PASSWORD");
    password->setAllowHideText(true);
    password->SetTextValue(QStringLiteral("secret"));
    column.addWidget(password);
    TPropertyWidget* const off = NewRow(parent, "USERNAME");
    off->SetTextValue(QStringLiteral("operator@farm.example"));
    off->setEnabled(false);
    column.addWidget(off);
    auto* const status = new TProperty(&parent);
    status->SetPropertyName(QStringLiteral("STATUS"));
    status->SetValue(QStringLiteral("Logged in"));
    status->SetCombinedHeight(36);
    column.addWidget(status);
    auto* const login =
        new TPushButton(&parent, QString(), QSize(220, 73), QPoint(0, 0), 0, QString());
    login->SetCaption(QStringLiteral("Processing, please wait"), QString());
    login->setEnabled(false);
    column.addWidget(login);
    column.addStretch(1);
}

// A screen similar to the console's screens.
QWidget* NewScreen()
{
    auto* const screen = new TWindow;
    screen->resize(1280, 800);
    auto* const across = new QHBoxLayout(screen);
    auto* const form = new QVBoxLayout;
    AddFormTo(*form, *screen);
    across->addLayout(form, 3);
    auto* const column = new QVBoxLayout;
    TPropertyWidget* const category = NewRow(*screen, "Category", "Select");
    const TEditItem item = Categories();
    category->SetPropertyType(TPropertyWidget::eChoice, &item);
    column->addWidget(category);
    auto* const list = new TListWidget(screen);
    FillList(*list);
    column->addWidget(list, 1);
    auto* const row = new QHBoxLayout;
    TPushButton* const focused = NewButton(*screen, "Download");
    row->addWidget(focused);
    row->addWidget(NewButton(*screen, "Upload"));
    TPushButton* const off = NewButton(*screen, "Delete");
    off->setEnabled(false);
    row->addWidget(off);
    column->addLayout(row);
    across->addLayout(column, 5);
    focused->setFocus();
    return screen;
}

class TIconSheet : public QWidget
{
protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), hostimpl::ThemeColour(hostimpl::EColour::eWindow));
        painter.setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
        int index = 0;
        for (const QString& name : hostimpl::ThemeIconNames() + QStringList(QStringLiteral("?"))) {
            const QRect place(20 + index % 8 * 155, 20 + index / 8 * 150, 80, 80);
            hostimpl::ThemeIcon(name).paint(&painter, place);
            painter.setPen(hostimpl::ThemeColour(hostimpl::EColour::eText));
            painter.drawText(place.x(), place.bottom() + 30, name);
            ++index;
        }
    }
};

class TGallery
{
public:
    explicit TGallery(const QString& folder) : m_folder(folder) {}

    void Save(QWidget& widget, const QString& name)
    {
        QCoreApplication::processEvents();
        const QString night = hostimpl::CurrentTheme() == hostimpl::ETheme::eNight
                                  ? QStringLiteral("night")
                                  : QStringLiteral("day");
        widget.grab().save(m_folder + QStringLiteral("/%1-%2.png").arg(name, night));
    }

    void SaveDialog(TPopupWindow& dialog, const QString& name)
    {
        dialog.ShowWindow(true);
        Save(dialog, name);
        dialog.CloseWindow();
    }

    void SaveDialogs(QWidget& screen)
    {
        TMessageDialog error(nullptr, QStringLiteral("KELVO Login Error"),
                             QStringLiteral("Please enter a valid username and password."),
                             TMessageDialog::eAcknowledge, false, QPixmap());
        SaveDialog(error, QStringLiteral("message"));
        TMessageDialog transfer(&screen, QStringLiteral("File Transfer"), QString(),
                                TMessageDialog::eOperation, false, QPixmap());
        transfer.SetMessage(QStringLiteral("Uploading Field 12.zip"));
        transfer.EnableButton(TMessageDialog::eButton0, false);
        SaveDialog(transfer, QStringLiteral("transfer"));
        QString failures;
        for (int index = 0; index < 12; ++index) {
            failures += QStringLiteral("Field %1.zip failed to upload.\n<b>The service said "
                                       "no.</b><br>Try again later.\n\n")
                            .arg(index);
        }
        transfer.SetMessage(failures);
        transfer.EnableButton(TMessageDialog::eButton0, true);
        transfer.EnableButton(TMessageDialog::eButton1, false);
        hostimpl::SetOutcome(hostimpl::EOutcomeOf::eFiles, hostimpl::EOutcome::eFailed);
        SaveDialog(transfer, QStringLiteral("failures"));
        transfer.SetMessage(QStringLiteral("Upload complete."));
        hostimpl::SetOutcome(hostimpl::EOutcomeOf::eFiles, hostimpl::EOutcome::eGood);
        SaveDialog(transfer, QStringLiteral("success"));
        TMessageDialog question(&screen, QStringLiteral("Delete Warning"),
                                QStringLiteral("Are you sure you want to delete the selected "
                                               "files?"),
                                TMessageDialog::eQuestion, false, QPixmap());
        SaveDialog(question, QStringLiteral("question"));
        TProgressDialog progress(nullptr, QStringLiteral("Configure Kelvo Account"),
                                 TProgressDialog::ePercentage, true);
        progress.SetMessage(QStringLiteral("Configuring Kelvo Account"), true);
        progress.SetBottomMessage(QStringLiteral("You will be automatically logged out of Kelvo "
                                                 "once completed"),
                                  true);
        progress.SetProgress(43);
        SaveDialog(progress, QStringLiteral("progress"));
        progress.SetMessage(QStringLiteral("Configuration complete"), true);
        progress.SetProgress(100);
        hostimpl::SetOutcome(hostimpl::EOutcomeOf::eSetUp, hostimpl::EOutcome::eGood);
        SaveDialog(progress, QStringLiteral("progress-end"));
        auto* const choices = new TChoicePopup(&screen, QStringLiteral("Category"), Categories());
        SaveDialog(*choices, QStringLiteral("choices"));
    }

private:
    QString m_folder;
};

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2 || !QDir().mkpath(arguments.at(1))) {
        qCritical("usage: widget_gallery FOLDER");
        return 2;
    }
    TGallery gallery(arguments.at(1));
    const std::unique_ptr<QWidget> screen(NewScreen());
    TIconSheet icons;
    icons.resize(1280, 640);
    hostimpl::SetPopupHost(screen.get());
    screen->show();
    for (const auto theme : {hostimpl::ETheme::eDay, hostimpl::ETheme::eNight}) {
        hostimpl::SetTheme(theme);
        gallery.Save(*screen, QStringLiteral("screen"));
        auto* const list = screen->findChild<TListWidget*>();
        screen->activateWindow();
        list->setFocus();
        gallery.Save(*screen, QStringLiteral("screen-list"));
        list->OnWheelPressed();
        list->OnWheelTurned(1);
        gallery.Save(*screen, QStringLiteral("screen-hand"));
        list->OnBackPressed();
        gallery.Save(icons, QStringLiteral("icons"));
        gallery.SaveDialogs(*screen);
    }
    return 0;
}
