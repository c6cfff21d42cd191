// A new data folder of the console for one test.
#pragma once

#include "hostimpl/Folders.h"
#include "support/TempFolder.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

namespace kelvo::test {

// Creates all of the console's folders in it. The destructor restores the former data folder.
// Needs kelvo::consolehost_setup.
class TTempDataFolder
{
public:
    TTempDataFolder() : m_former(hostimpl::DataFolder())
    {
        QString errorText;
        m_isValid = hostimpl::SetDataFolder(Path()) && hostimpl::CreateFolders(errorText);
    }
    ~TTempDataFolder() { hostimpl::SetDataFolder(m_former); }
    TTempDataFolder(const TTempDataFolder&) = delete;
    TTempDataFolder& operator=(const TTempDataFolder&) = delete;

    bool IsValid() const { return m_isValid; }
    QString Path() const { return QFile::decodeName(m_folder.Path().c_str()); }
    QString Path(const QString& name) const { return QDir(Path()).filePath(name); }

private:
    const QString m_former;
    const TempFolder m_folder;
    bool m_isValid = false;
};

} // namespace kelvo::test
