// The part of TSettingsPage for the installer's PIN.
#include "console/settings/SettingRows.h"
#include "console/settings/TSettingNote.h"
#include "console/settings/TSettingsPage.h"
#include "host/TPropertyWidget.h"

#include <QtWidgets/QLineEdit>
#include <QtWidgets/QVBoxLayout>

#include <initializer_list>

namespace console {

// The rows are above the last row: Return after a text presses a button that follows the text.
void TSettingsPage::AddPinRow(QVBoxLayout& column)
{
    m_pin = MakeRow("lock", QString());
    m_pin->SetPropertyType(TPropertyWidget::eText, nullptr);
    m_pin->setAllowHideText(true);
    m_pinNote = new TSettingNote;
    connect(m_pin, &TPropertyWidget::ValueChanged, this, &TSettingsPage::TakePin);
    m_pinEdit = m_pin->findChild<QLineEdit*>();
    m_pinEdit->setInputMethodHints(m_pinEdit->inputMethodHints() | Qt::ImhDigitsOnly);
    connect(m_pinEdit, &QLineEdit::editingFinished, this, &TSettingsPage::CheckPin);
    TEditItem removal;
    removal.options.Append(tr("No"));
    removal.options.Append(tr("Yes"));
    removal.maximum = 1.0;
    m_pinRemoval = MakeRow("lock", tr("Remove the PIN"));
    m_pinRemoval->SetPropertyType(TPropertyWidget::eChoice, &removal);
    connect(m_pinRemoval, &TPropertyWidget::ValueChanged, this, &TSettingsPage::TakePinRemoval);
    for (QWidget* const row : std::initializer_list<QWidget*>{m_pin, m_pinNote, m_pinRemoval}) {
        column.insertWidget(column.count() - 1, row);
    }
    ShowLock();
}

void TSettingsPage::Lock()
{
    m_isUnlocked = false;
}

// Switches the installer's rows on or off.
void TSettingsPage::ShowLock()
{
    m_receiver->setEnabled(!IsLocked());
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        m_rows.at(int(row))->setEnabled(!IsLocked());
    }
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        m_rows.at(firstFlagRow + int(row))
            ->setEnabled(!flagRows.at(row).isForInstaller || !IsLocked());
    }
    const bool hasPin = !m_shown.pin.isEmpty();
    m_pin->SetPropertyName(hasPin && !IsLocked() ? tr("New installer's PIN")
                                                 : tr("Installer's PIN"));
    m_pin->setEnabled(!IsPinRemoved());
    m_pinEdit->setPlaceholderText(!hasPin || IsPinRemoved() ? tr("None")
                                  : IsLocked()              ? QString()
                                                            : tr("Unchanged"));
    m_pinRemoval->setVisible(hasPin && !IsLocked());
    m_pinNote->Tell({}, PinHint());
}

QString TSettingsPage::PinHint() const
{
    if (IsLocked()) {
        return tr("Enter the PIN to change what is off.");
    }
    if (IsPinRemoved()) {
        return tr("After Save, everyone can change everything.");
    }
    return m_shown.pin.isEmpty()
               ? tr("4 to 8 digits. Without a PIN, everyone can change everything.")
               : tr("The settings are unlocked. To change the PIN, enter 4 to 8 digits.");
}

bool TSettingsPage::IsPinRemoved() const
{
    return m_pinRemoval->GetNumericalValue() > 0.5;
}

// The PIN after Save. The row holds no new PIN while it is empty or the page is locked.
QString TSettingsPage::EnteredPin() const
{
    if (IsPinRemoved()) {
        return {};
    }
    const QString entered = m_pin->GetTextValue().trimmed();
    return IsLocked() || entered.isEmpty() ? m_shown.pin : entered;
}

// A fault is no longer shown when the operator types on.
void TSettingsPage::TakePin()
{
    if (m_pinNote->HasFault()) {
        m_pinNote->Tell(IsLocked() ? QString() : FaultOf(Entered(), &TStoredSettings::pin),
                        PinHint());
    }
    ShowButtons();
}

void TSettingsPage::TakePinRemoval()
{
    if (IsPinRemoved()) {
        m_pin->SetTextValue({});
    }
    ShowLock();
    ShowButtons();
}

// The entry is complete. The right PIN unlocks the page and leaves the row empty for a new PIN.
QString TSettingsPage::CheckPin()
{
    const QString entered = m_pin->GetTextValue().trimmed();
    if (IsLocked() && entered == m_shown.pin) {
        m_isUnlocked = true;
        m_pin->SetTextValue({});
    }
    const bool isWrong = IsLocked() && !entered.isEmpty();
    const QString fault =
        isWrong ? tr("The PIN is wrong.") : FaultOf(Entered(), &TStoredSettings::pin);
    ShowLock();
    m_pinNote->Tell(fault, PinHint());
    return fault;
}

QString TSettingsPage::PinNote() const
{
    return m_pinNote->Text();
}

} // namespace console
