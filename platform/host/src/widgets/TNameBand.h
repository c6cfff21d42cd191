// Shows a name in full, on as many lines as it takes.
#pragma once

#include <QtWidgets/QWidget>

// Breaks anywhere: names of files need not have blanks. Main thread.
class TNameBand : public QWidget
{
    Q_OBJECT

public:
    explicit TNameBand(QWidget* parent = nullptr);
    ~TNameBand() override;

    void SetName(const QString& name);
    const QString& Name() const { return m_name; }

    // Pixels.
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_name;
};
