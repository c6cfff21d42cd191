// The column of buttons that open what the console has.
#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtWidgets/QWidget>

class QVBoxLayout;

namespace console {

class TIconButton;

// Home on top, then a button for each page that a plug-in brings, below them the console's own.
// More than fits can be scrolled to.
//
// Thread: main.
class TLauncherBar : public QWidget
{
    Q_OBJECT

public:
    explicit TLauncherBar(QWidget* parent = nullptr);

    // `page` is not owned; it is what OpenPage() tells.
    void AddPage(QWidget* page, const QString& iconName, const QString& title,
                 const QString& toolTip);
    // Nothing happens for one that is not there.
    void RemovePage(QWidget* page);
    void SetPageLooks(QWidget* page, const QString& iconName, const QString& title);
    void SetPageToolTip(QWidget* page, const QString& toolTip);
    // Marks what is shown; null for home.
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

private:
    TIconButton* m_home;
    TIconButton* m_settings;
    TIconButton* m_light;
    QVBoxLayout* m_pageButtons = nullptr;
    QHash<QWidget*, TIconButton*> m_pages;
};

} // namespace console
