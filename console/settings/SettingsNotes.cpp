// The part of TSettingsPage for the notes and for the choice of a receiver.
#include "console/position/GpsSetting.h"
#include "console/position/SerialPort.h"
#include "console/settings/SettingRows.h"
#include "console/settings/TSettingNote.h"
#include "console/settings/TSettingsPage.h"
#include "host/TPropertyWidget.h"

#include <QtCore/QFile>

namespace {

// The position source in its normal form: two texts for the same source become equal.
QString InFull(const QString& source)
{
    console::TGpsSetting gps;
    QString errorText;
    return console::ParseGpsSetting(source, gps, errorText) ? console::ToText(gps) : source;
}

// The device of a serial source if the device does not exist; otherwise empty. The device may
// appear later.
QString MissingDevice(const QString& source)
{
    console::TGpsSetting gps;
    QString errorText;
    const bool isMissing = console::ParseGpsSetting(source, gps, errorText) &&
                           gps.kind == console::EGpsKind::eSerial && !QFile::exists(gps.path);
    return isMissing ? gps.path : QString();
}

} // namespace

namespace console {

void TSettingsPage::SetInUse(const TStoredSettings& settings)
{
    m_inUse = settings;
    for (int row = 0; row < m_notes.size(); ++row) {
        ShowNote(row, {});
    }
}

void TSettingsPage::SetGiven(const QVector<TTextSetting>& settings)
{
    m_given = settings;
    for (int row = 0; row < m_notes.size(); ++row) {
        ShowNote(row, {});
    }
}

void TSettingsPage::CheckRow(int row)
{
    ShowNote(row, FaultOf(Entered(), textRows.at(std::size_t(row)).value));
}

void TSettingsPage::ShowNote(int row, const QString& fault)
{
    m_notes.at(row)->Tell(fault, Hint(row));
}

QString TSettingsPage::Hint(int row) const
{
    const TTextRow& text = textRows.at(std::size_t(row));
    const bool isPosition = text.value == &TStoredSettings::positionSource;
    const QString stored = m_shown.*text.value;
    const QString device = MissingDevice(m_rows.at(row)->GetTextValue());
    const QString inUse = m_inUse ? *m_inUse.*text.value : stored;
    const bool isStoredInUse = inUse == stored || inUse == InFull(stored);
    const QString inUseName = inUse.isEmpty() ? tr(text.whenEmpty) : inUse;
    if (isPosition && !device.isEmpty()) {
        return tr("There is no %1 now.").arg(device);
    }
    if (m_given.contains(text.value)) {
        return isPosition && isStoredInUse
                   ? tr("At the next start the command line sets the source again.")
                   : tr("The command line sets %1. A restart does not change this.").arg(inUseName);
    }
    return isStoredInUse ? tr(text.hint) : tr("In use: %1").arg(inUseName);
}

QString TSettingsPage::Note(int row) const
{
    return m_notes.at(row)->Text();
}

// The choices: no source, gpsd, each port. The last choice is shown for another source; the
// operator cannot choose it.
void TSettingsPage::ShowReceiver()
{
    const QString entered = InFull(Entered().positionSource);
    const int rate = entered.lastIndexOf(QLatin1Char('@'));
    TEditItem item;
    m_sources = QStringList{QString(), InFull(QStringLiteral("gpsd"))};
    item.options.Append(tr("None"));
    item.options.Append(tr("gpsd on this console"));
    const QStringList ports = SerialPorts();
    for (const QString& port : ports) {
        const QString source = QStringLiteral("serial:") + port;
        // A chosen port keeps its rate.
        m_sources << (entered.left(rate) == source ? entered : InFull(source));
        item.options.Append(port.section(QLatin1Char('/'), -1));
    }
    item.options.Append(tr("Another, as entered below"));
    item.optionsEnabled.Set(m_sources.size(), false);
    item.maximum = m_sources.size();
    const int place = m_sources.indexOf(entered);
    item.value = place < 0 ? m_sources.size() : place;
    m_receiver->SetPropertyType(TPropertyWidget::eChoice, &item);
}

void TSettingsPage::TakeReceiver()
{
    const QString source = m_sources.value(int(m_receiver->GetNumericalValue()));
    for (std::size_t row = 0; row < textRows.size(); ++row) {
        if (textRows.at(row).value == &TStoredSettings::positionSource) {
            m_rows.at(int(row))->SetTextValue(source);
            CheckRow(int(row));
        }
    }
}

} // namespace console
