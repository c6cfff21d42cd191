// The column of buttons that open the pages.
#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtWidgets/QWidget>

class QVBoxLayout;

namespace console {

class TIconButton;

// Home is at the top, then a button for each page of a plug-in, then the console's own buttons. The
// column scrolls if its buttons do not fit.
//
// Thread: main.
class TLauncherBar : public QWidget
{
    Q_OBJECT

public:
    explicit TLauncherBar(QWidget* parent = nullptr);

    // The bar does not own `page`. OpenPage() is emitted with it.
    void AddPage(QWidget* page, const QString& iconName, const QString& title,
                 const QString& toolTip);
    // Does nothing for an unknown page.
    void RemovePage(QWidget* page);
    void SetPageLooks(QWidget* page, const QString& iconName, const QString& title);
    void SetPageToolTip(QWidget* page, const QString& toolTip);
    // Shows the number of new files on each button of a plug-in's page; 0 shows none.
    void SetBadge(int newFiles);
    // Marks the button of the shown page; null marks home.
    void SetCurrentPage(QWidget* page);
    void SetNight(bool isNight);

    TIconButton* PageButton(QWidget* page) const { return m_pages.value(page); }
    TIconButton* HomeButton() const { return m_home; }
    TIconButton* SettingsButton() const { return m_settings; }
    TIconButton* LightButton() const { return m_light; }

Q_SIGNALS:
    void OpenHome();
    void OpenPage(QWidget* page);
    void OpenSettings();
    void ToggleLight();

protected:
    void changeEvent(QEvent* event) override;

private:
    void FitWidth();

    TIconButton* m_home;
    TIconButton* m_settings;
    TIconButton* m_light;
    QVBoxLayout* m_pageButtons = nullptr;
    QHash<QWidget*, TIconButton*> m_pages;
    int m_newFiles = 0;
};

} // namespace console
