// A line of text below a setting.
#pragma once

#include <QtWidgets/QLabel>

namespace console {

// Thread: main.
class TSettingNote : public QLabel
{
    Q_OBJECT

public:
    explicit TSettingNote(QWidget* parent = nullptr);
    ~TSettingNote() override;

    // Shows the fault as a fault, with a sign. If there is no fault, shows the hint.
    void Tell(const QString& fault, const QString& hint);
    bool HasFault() const;
    // The shown text, plain.
    QString Text() const;
};

} // namespace console
