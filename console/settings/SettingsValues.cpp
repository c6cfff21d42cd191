// The part of TSettingsPage for the values on the page.
#include "console/settings/Languages.h"
#include "console/settings/SettingRows.h"
#include "console/settings/TSettingsPage.h"
#include "host/TPropertyWidget.h"

#include <QtCore/QSignalBlocker>

namespace {

// Shows the value. The operator did not choose it.
void ShowChoice(TPropertyWidget& row, int option)
{
    const QSignalBlocker blocker(&row);
    row.SetNumericalValue(option);
}

} // namespace

namespace console {

void TSettingsPage::Show(const TStoredSettings& settings)
{
    m_shown = settings;
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        m_rows.at(int(row))->SetTextValue(settings.*textRows.at(row).value);
    }
    ShowChoice(*m_rows.at(languageRow), LanguageRow(settings.language));
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        ShowChoice(*m_rows.at(firstFlagRow + int(row)), settings.*flagRows.at(row).value ? 1 : 0);
    }
    for (int row = 0; row < m_notes.size(); ++row) {
        ShowNote(row, {});
    }
    m_pin->SetTextValue({});
    ShowChoice(*m_pinRemoval, 0);
    ShowLock();
    ShowReceiver();
    ShowButtons();
    SetMessage({});
}

void TSettingsPage::ShowDisplay(const TStoredSettings& settings)
{
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        if (flagRows.at(row).isAtOnce) {
            const bool isOn = settings.*flagRows.at(row).value;
            m_shown.*flagRows.at(row).value = isOn;
            ShowChoice(*m_rows.at(firstFlagRow + int(row)), isOn ? 1 : 0);
        }
    }
}

void TSettingsPage::TakeDisplay()
{
    const TStoredSettings entered = Entered();
    for (const TFlagRow& row : flagRows) {
        if (row.isAtOnce && entered.*row.value != m_shown.*row.value) {
            ShowDisplay(entered);
            Q_EMIT DisplayChosen(entered);
            return;
        }
    }
}

TStoredSettings TSettingsPage::Entered() const
{
    TStoredSettings settings = m_shown;
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        settings.*textRows.at(row).value = m_rows.at(int(row))->GetTextValue().trimmed();
    }
    settings.pin = EnteredPin();
    const auto language = static_cast<std::size_t>(m_rows.at(languageRow)->GetNumericalValue());
    settings.language = QLatin1String(languages.at(language).code);
    for (std::size_t row = 0; row < flagRows.size(); ++row) {
        settings.*flagRows.at(row).value =
            m_rows.at(firstFlagRow + int(row))->GetNumericalValue() > 0.5;
    }
    return settings;
}

} // namespace console
