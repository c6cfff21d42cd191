// Shows a whole name, on as many lines as needed.
#pragma once

#include <QtGui/QTextDocument>
#include <QtWidgets/QWidget>

// Lines break between words, or anywhere if a name has no blanks. A touch hides the band, so that
// the operator reaches the rows below. Main thread.
class TNameBand : public QWidget
{
    Q_OBJECT

public:
    explicit TNameBand(QWidget* parent = nullptr);
    ~TNameBand() override;

    void SetName(const QString& name);
    QString Name() const { return m_text.toPlainText(); }

    // In pixels.
    int heightForWidth(int width) const override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QTextDocument m_text;
};
