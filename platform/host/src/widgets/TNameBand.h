// Shows a name in full, on as many lines as it takes.
#pragma once

#include <QtGui/QTextDocument>
#include <QtWidgets/QWidget>

// Breaks between words, or anywhere: names of files need not have blanks. A touch takes it away
// from what is below. Main thread.
class TNameBand : public QWidget
{
    Q_OBJECT

public:
    explicit TNameBand(QWidget* parent = nullptr);
    ~TNameBand() override;

    void SetName(const QString& name);
    QString Name() const { return m_text.toPlainText(); }

    // Pixels.
    int heightForWidth(int width) const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QTextDocument m_text;
};
