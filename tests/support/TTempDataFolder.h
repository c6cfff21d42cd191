// The console's data folder for the length of a test.
#pragma once

#include "hostimpl/Folders.h"

#include <QtCore/QTemporaryDir>

namespace kelvo::test {

// A new, empty data folder with all the console's folders in it; gone when this goes. Needs
// kelvo::consolehost_setup.
class TTempDataFolder
{
public:
    TTempDataFolder() : m_former(hostimpl::DataFolder())
    {
        QString errorText;
        m_isValid = m_folder.isValid() && hostimpl::SetDataFolder(m_folder.path()) &&
                    hostimpl::CreateFolders(errorText);
    }
    ~TTempDataFolder() { hostimpl::SetDataFolder(m_former); }
    TTempDataFolder(const TTempDataFolder&) = delete;
    TTempDataFolder& operator=(const TTempDataFolder&) = delete;

    bool IsValid() const { return m_isValid; }
    QString Path() const { return m_folder.path(); }
    QString Path(const QString& name) const { return m_folder.filePath(name); }

private:
    const QString m_former;
    const QTemporaryDir m_folder;
    bool m_isValid = false;
};

} // namespace kelvo::test
