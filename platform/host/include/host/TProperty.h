// A row that shows a name and a value. The operator cannot change the value.
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
    // The height of name and value together, in pixels.
    void SetCombinedHeight(int height);

private:
    QLabel* m_name;
    QLabel* m_value;
};
