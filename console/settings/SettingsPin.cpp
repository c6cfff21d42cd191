// The part of TSettingsPage for the installer's PIN.
#include "console/settings/SettingRows.h"
#include "console/settings/TSettingNote.h"
#include "console/settings/TSettingsPage.h"
#include "host/TPropertyWidget.h"

#include <QtWidgets/QLineEdit>
#include <QtWidgets/QVBoxLayout>

namespace console {

void TSettingsPage::AddPinRow(QVBoxLayout& column)
{
    m_pin = MakeRow("lock", tr("Installer's PIN"));
    m_pin->SetPropertyType(TPropertyWidget::eText, nullptr);
    m_pin->setAllowHideText(true);
    m_pinNote = new TSettingNote;
    connect(m_pin, &TPropertyWidget::ValueChanged, this, &TSettingsPage::TakePin);
    if (auto* const edit = m_pin->findChild<QLineEdit*>()) {
        edit->setInputMethodHints(edit->inputMethodHints() | Qt::ImhDigitsOnly);
        connect(edit, &QLineEdit::editingFinished, this, &TSettingsPage::CheckPin);
    }
    column.addWidget(m_pin);
    column.addWidget(m_pinNote);
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
    m_pinNote->Tell({}, IsLocked()
                            ? tr("Enter the PIN to change what is off.")
                            : tr("4 to 8 digits. Without a PIN, everyone can change everything."));
}

// The right PIN unlocks at its last digit.
void TSettingsPage::TakePin()
{
    if (IsLocked() && m_pin->GetTextValue() == m_shown.pin) {
        m_isUnlocked = true;
        ShowLock();
    }
    ShowButtons();
}

void TSettingsPage::CheckPin()
{
    const bool isWrong = IsLocked() && !m_pin->GetTextValue().isEmpty();
    const QString fault =
        isWrong ? tr("The PIN is wrong.") : FaultOf(Entered(), &TStoredSettings::pin);
    if (!fault.isEmpty()) {
        m_pinNote->Tell(fault, {});
    } else {
        ShowLock();
    }
}

QString TSettingsPage::PinNote() const
{
    return m_pinNote->Text();
}

} // namespace console
