#include "files/FolderName.h"

#include "files/TStagingFolder.h"

namespace {

constexpr char SUFFIX[] = ".zip";
constexpr int SUFFIX_BYTES = sizeof SUFFIX - 1;

bool HasSuffixOfAnyCase(const QByteArray& name)
{
    return name.toLower().endsWith(SUFFIX);
}

} // namespace

namespace hostimpl {

QByteArray StemOf(const QByteArray& archiveName)
{
    return HasSuffixOfAnyCase(archiveName) ? archiveName.chopped(SUFFIX_BYTES) : archiveName;
}

QByteArray FolderNameOf(const QByteArray& archiveName)
{
    const QByteArray name =
        archiveName.endsWith(SUFFIX) ? archiveName.chopped(SUFFIX_BYTES) : QByteArray();
    const bool isUsable = !name.isEmpty() && name != "." && name != ".." && name != STAGING_NAME &&
                          !HasSuffixOfAnyCase(name);
    return isUsable ? name : archiveName;
}

QByteArray ChooseFolderName(const QByteArray& archiveName, const QVector<QByteArray>& names,
                            const std::function<bool(const QByteArray& name)>& exists)
{
    const auto isAnothers = [&](const QByteArray& name) {
        return name == STAGING_NAME || (!names.contains(name) && exists(name));
    };
    QByteArray name = FolderNameOf(archiveName);
    if (!isAnothers(name) && (names.contains(name) || !names.contains(archiveName))) {
        return name;
    }
    return isAnothers(archiveName) ? QByteArray() : archiveName;
}

} // namespace hostimpl
