// The page on which the operator changes the console's settings.
#pragma once

#include "console/settings/StoredSettings.h"

#include <QtCore/QList>
#include <QtCore/QVector>
#include <QtWidgets/QWidget>

#include <optional>

class QLabel;
class QLineEdit;
class QScrollArea;
class QVBoxLayout;
class TPropertyWidget;
class TPushButton;

namespace console {

class TSettingNote;

// The display's settings (colours, size of the window and of the texts) change at once, all other
// settings when the operator saves. The page refuses invalid values with a message. If there is a
// PIN, the installer's rows are off until the operator enters the PIN. Then the row of the PIN is
// empty and takes a new PIN. Below each text is a note: why the text is invalid, or which value is
// in use, or what to enter.
//
// Thread: main.
class TSettingsPage : public QWidget
{
    Q_OBJECT

public:
    explicit TSettingsPage(QWidget* parent = nullptr);
    ~TSettingsPage() override;

    // Shows `settings` and drops the entered values.
    void Show(const TStoredSettings& settings);
    // Asks for the PIN again. Call it before the operator opens the page.
    void Lock();
    // The settings that the console works with. They differ from the stored settings until the next
    // start, or if the command line names others. Without this call the notes do not show them.
    void SetInUse(const TStoredSettings& settings);
    // The settings that the command line names. Each start uses the command line's values.
    void SetGiven(const QVector<TTextSetting>& settings);
    // Shows the display's settings, and keeps the entered values.
    void ShowDisplay(const TStoredSettings& settings);
    // Shows a button for a new start while there are no unsaved changes.
    void OfferRestart(bool isOffered);
    // The values on the page, valid or not.
    TStoredSettings Entered() const;
    // Whether there are entered values that are not saved.
    bool HasChanges() const { return !(Entered() == m_shown); }

    // The result of the last attempt to save, plain text.
    void SetMessage(const QString& text);
    QString Message() const;

    // By the place in the page, from the top.
    TPropertyWidget* Row(int row) const { return m_rows.at(row); }
    int RowCount() const { return m_rows.size(); }
    // A choice of position sources that fills the row with the position source.
    TPropertyWidget* Receiver() const { return m_receiver; }
    // The row of the PIN, and the note below it.
    TPropertyWidget* Pin() const { return m_pin; }
    QString PinNote() const;
    // The choice to remove the PIN. Visible if there is a PIN and the page is unlocked.
    TPropertyWidget* PinRemoval() const { return m_pinRemoval; }
    // The note below a row with a text, plain text.
    QString Note(int row) const;
    TPushButton* AboutButton() const { return m_about; }
    TPushButton* SaveButton() const { return m_save; }
    TPushButton* DiscardButton() const { return m_discard; }
    TPushButton* RestartButton() const { return m_restart; }

Q_SIGNALS:
    // Emitted with valid settings only.
    void SaveRequested(const console::TStoredSettings& settings);
    void AboutRequested();
    void RestartRequested();
    // The operator chose another of the display's settings. Only these settings count.
    void DisplayChosen(const console::TStoredSettings& settings);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void AddTextRows(QVBoxLayout& column);
    void AddChoiceRows(QVBoxLayout& column);
    void AddPinRow(QVBoxLayout& column);
    bool IsLocked() const { return !m_isUnlocked && !m_shown.pin.isEmpty(); }
    void ShowLock();
    QString PinHint() const;
    bool IsPinRemoved() const;
    QString EnteredPin() const;
    void TakePin();
    void TakePinRemoval();
    // Returns the fault.
    QString CheckPin();
    void ShowButtons();
    void TakeDisplay();
    void ShowReceiver();
    void TakeReceiver();
    void CheckRow(int row);
    void ShowNote(int row, const QString& fault);
    QString Hint(int row) const;
    void Save();
    void FitMessage();

    QList<TPropertyWidget*> m_rows;
    QList<TSettingNote*> m_notes; // one for each row with a text
    TPropertyWidget* m_receiver = nullptr;
    TPropertyWidget* m_pin = nullptr;
    QLineEdit* m_pinEdit = nullptr;
    TSettingNote* m_pinNote = nullptr;
    TPropertyWidget* m_pinRemoval = nullptr;
    bool m_isUnlocked = false; // the operator has entered the PIN
    QStringList m_sources;     // the sources that m_receiver offers
    QLabel* m_message;
    QScrollArea* m_messageArea = nullptr;
    TPushButton* m_about = nullptr;
    TPushButton* m_save = nullptr;
    TPushButton* m_discard = nullptr;
    TPushButton* m_restart = nullptr;
    bool m_isRestartOffered = false;
    TStoredSettings m_shown;
    std::optional<TStoredSettings> m_inUse;
    QVector<TTextSetting> m_given;
};

} // namespace console
