// The paths of the console's folders, relative to the data folder.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace hostimpl {

enum class EFolder : std::uint8_t {
    eDownloadToConsole,
    eDownloadABLines,
    eDownloadCurves,
    eDownloadPivots,
    eDownloadOptimalLines,
    eDownloadProjectLines,
    eUploadFromConsole,
    eUploadABLines,
    eUploadCurves,
    eUploadPivots,
    eUploadOptimalLines,
    eUploadProjectLines,
    eTempDownload,
};

enum class EFolderUse : std::uint8_t { eDownload, eUpload, eTemporary };

struct TFolderRow
{
    EFolder folder;
    EFolderUse use;
    const char* path; // Latin 1
};

// One row for each folder, in the order of EFolder. The temporary folder's path has one level, so
// that its parent, the data folder, exists. Its path ends in a separator because callers append
// file names.
constexpr std::array<TFolderRow, 13> FOLDER_TABLE = {{
    {EFolder::eDownloadToConsole, EFolderUse::eDownload, "from-service/prescriptions"},
    {EFolder::eDownloadABLines, EFolderUse::eDownload, "from-service/ab-lines"},
    {EFolder::eDownloadCurves, EFolderUse::eDownload, "from-service/curves"},
    {EFolder::eDownloadPivots, EFolderUse::eDownload, "from-service/pivots"},
    {EFolder::eDownloadOptimalLines, EFolderUse::eDownload, "from-service/optimal-lines"},
    {EFolder::eDownloadProjectLines, EFolderUse::eDownload, "from-service/project-lines"},
    {EFolder::eUploadFromConsole, EFolderUse::eUpload, "to-service/job-reports"},
    {EFolder::eUploadABLines, EFolderUse::eUpload, "to-service/ab-lines"},
    {EFolder::eUploadCurves, EFolderUse::eUpload, "to-service/curves"},
    {EFolder::eUploadPivots, EFolderUse::eUpload, "to-service/pivots"},
    {EFolder::eUploadOptimalLines, EFolderUse::eUpload, "to-service/optimal-lines"},
    {EFolder::eUploadProjectLines, EFolderUse::eUpload, "to-service/project-lines"},
    {EFolder::eTempDownload, EFolderUse::eTemporary, "incoming/"},
}};

constexpr bool IsInEnumOrder()
{
    for (std::size_t row = 0; row < FOLDER_TABLE.size(); ++row) {
        if (static_cast<std::size_t>(FOLDER_TABLE[row].folder) != row) {
            return false;
        }
    }
    return true;
}
static_assert(IsInEnumOrder());

} // namespace hostimpl
