// The head of a list of names: the count of the selected names, "All", and the search.
#pragma once

#include <QtCore/QStringList>
#include <QtWidgets/QWidget>

class QLabel;
class QLineEdit;
class TPushButton;

// While the operator types, the entry field takes the place of the count and of "All". Only the
// number of the hidden selected names stays. Main thread.
class TListHead : public QWidget
{
    Q_OBJECT

public:
    struct TCounts
    {
        int names = 0;
        int selected = 0;       // of the found names
        int found = 0;          // by the search; `names` without a search
        int selectedHidden = 0; // selected names that the search hides
    };

    explicit TListHead(QWidget* parent);
    ~TListHead() override;

    // In pixels.
    static int Height();

    // Call it when the size of the texts has changed.
    void FitFonts();
    // The wheel visits the head's buttons just before `widget`.
    void SetFocusBefore(QWidget& widget);
    void Show(const TCounts& counts);
    // Empty: there is no search.
    QString Wanted() const;
    bool IsTyping() const;
    // Shows the entry field with `text` and gives it the focus.
    void StartSearch(const QString& text);
    // Shows all names again. The focus stays where it is.
    void EndSearch();

Q_SIGNALS:
    // The operator wants all shown names selected, or no name.
    void AllWanted(bool isAll);
    void WantedChanged();
    // The operator ended the search by its button.
    void SearchLeft();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void FitText();
    bool IsTextInFull() const;
    void ShowParts();
    QStringList Texts() const;

    QLabel* m_text;
    QLineEdit* m_edit;
    TPushButton* m_all;
    TPushButton* m_search;
    TCounts m_counts;
    bool m_isTyping = false;
};
