// The file controller in a window, with a hub.
#pragma once

#include "tests/screens/Dialogs.h"
#include "tests/screens/THubFixture.h"

#include "core/KelvoHelperFunctions.h"
#include "host/TListWidget.h"
#include "host/TPropertyWidget.h"
#include "screens/TKelvoFileControlWidget.h"

// Categories and locations are the numbers of the selectors.
class TControllerFixture : public THubFixture
{
public:
    enum ELocation : int { eService = 0, eToUpload = 1, eDownloaded = 2 };

    TControllerFixture()
    {
        controller = new TKelvoFileControlWidget(&window);
        m_dialogs = window.findChildren<TMessageDialog*>();
    }
    // The window deletes the controller before the hub is deleted.

    // Logs in before the set-up, so that the service is offered at once.
    void SetUp(bool isLoggedIn)
    {
        if (isLoggedIn)
            Hub().OnLoggedIntoKelvo();
        controller->Setup();
    }
    void Show()
    {
        window.resize(1000, 700);
        controller->resize(1000, 700);
        window.show();
    }
    void Choose(int category, int location)
    {
        Location().SetNumericalValue(location);
        Category().SetNumericalValue(category);
    }
    // Selects only these names.
    void Select(const QStringList& names)
    {
        List().clearSelection();
        List().SelectItems(names);
    }
    void Search(const QString& text)
    {
        QCoreApplication::processEvents(); // the list's head follows a change after the change
        QTest::keyClicks(&List(), text);
    }

    TPropertyWidget& Category() const { return *Selectors().at(0); }
    TPropertyWidget& Location() const { return *Selectors().at(1); }
    TListWidget& List() const { return *controller->findChild<TListWidget*>(); }
    QStringList Names() const
    {
        QStringList names;
        for (int row = 0; row < List().count(); ++row)
            names << List().item(row)->text();
        return names;
    }
    QStringList Selected() const { return List().GetSelectedTextItems(); }
    TPushButton& Button(int id) const
    {
        for (auto* button :
             controller->findChildren<TPushButton*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (button->Id() == id)
                return *button;
        }
        qFatal("no button %d", id);
    }
    // The buttons as "D U X": download, upload, delete. A + follows an enabled button. Hidden
    // buttons are in brackets.
    QString Buttons() const
    {
        QStringList texts;
        for (int id = 0; id < 3; ++id) {
            const QString letter(QLatin1Char("DUX"[id]));
            const QString state = Button(id).isEnabled() ? letter + QLatin1Char('+') : letter;
            texts << (Button(id).isHidden() ? QStringLiteral("(%1)").arg(state) : state);
        }
        return texts.join(QLatin1Char(' '));
    }

    TMessageDialog& Transfer() const { return Dialog("File Transfer"); }
    TMessageDialog& Deletion() const { return Dialog("Delete"); }
    TMessageDialog& Confirmation() const { return Dialog("Delete Warning"); }
    TMessageDialog& NoSelection() const { return Dialog("Error "); }
    // "running", "cancelling" or "finished".
    static QString StateOf(const TMessageDialog& dialog)
    {
        const bool canCancel = IsEnabled(dialog, TMessageDialog::eButton1);
        const bool canClose = IsEnabled(dialog, TMessageDialog::eButton0);
        if (canCancel)
            return canClose ? QStringLiteral("both") : QStringLiteral("running");
        return canClose ? QStringLiteral("finished") : QStringLiteral("cancelling");
    }

    static QString UploadPath(int category, const QString& name = QString())
    {
        return KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(
                   EKelvoProjects(category)) +
               QLatin1Char('/') + name;
    }
    static QString DownloadPath(int category, const QString& name = QString())
    {
        return KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(
                   EKelvoProjects(category)) +
               QLatin1Char('/') + name;
    }

    QWidget window;
    TKelvoFileControlWidget* controller = nullptr;

private:
    QList<TPropertyWidget*> Selectors() const
    {
        return controller->findChildren<TPropertyWidget*>(QString(), Qt::FindDirectChildrenOnly);
    }
    TMessageDialog& Dialog(const char* title) const
    {
        for (auto* dialog : m_dialogs) {
            if (dialog->Title() == QLatin1String(title))
                return *dialog;
        }
        qFatal("no dialog %s", title);
    }

    QList<TMessageDialog*> m_dialogs; // an open dialog has another parent
};
