// A row that shows a named value which the operator cannot change.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtWidgets/QWidget>

class QLabel;

// Main thread.
class CONSOLEHOST_EXPORT TProperty : public QWidget
{
    Q_OBJECT

public:
    explicit TProperty(QWidget* parent = nullptr);
    ~TProperty() override;

    void SetPropertyName(const QString& name);
    void SetValue(const QString& value);
    QString GetValue() const;
    // Of name and value together, pixels.
    void SetCombinedHeight(int height);

private:
    QLabel* m_name;
    QLabel* m_value;
};
