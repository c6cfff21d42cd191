// The page on which the operator sets up the console.
#pragma once

#include "console/settings/StoredSettings.h"

#include <QtCore/QList>
#include <QtWidgets/QWidget>

class QLabel;
class QVBoxLayout;
class TPropertyWidget;
class TPushButton;

namespace console {

// Nothing changes before the operator saves. Values that make no sense are refused with a text.
//
// Thread: main.
class TSettingsPage : public QWidget
{
    Q_OBJECT

public:
    explicit TSettingsPage(QWidget* parent = nullptr);
    ~TSettingsPage() override;

    // Shows what is set up; forgets what was entered.
    void Show(const TStoredSettings& settings);
    // Only what is shown now, as far as it goes.
    TStoredSettings Entered() const;

    // What became of the last attempt to save, plain text.
    void SetMessage(const QString& text);
    QString Message() const;

    // By its place in the page, top down.
    TPropertyWidget* Row(int row) const { return m_rows.at(row); }
    int RowCount() const { return m_rows.size(); }
    TPushButton* SaveButton() const { return m_save; }
    TPushButton* DiscardButton() const { return m_discard; }

Q_SIGNALS:
    // They make sense.
    void SaveWanted(const console::TStoredSettings& settings);

private:
    void AddTextRows(QVBoxLayout& column);
    void AddChoiceRows(QVBoxLayout& column);
    void Save();

    QList<TPropertyWidget*> m_rows;
    QLabel* m_message;
    TPushButton* m_save = nullptr;
    TPushButton* m_discard = nullptr;
    TStoredSettings m_shown;
};

} // namespace console
