// The values that the file controller's sources share.
#pragma once

// The location selector's values.
enum EFileLocation : int {
    eKelvoService = 0,
    eFilesToUpload = 1,
    eDownloadedFiles = 2,
};

// The ids of the action buttons.
enum EFileAction : int {
    eDownloadAction = 0,
    eUploadAction = 1,
    eDeleteAction = 2,
};
