// The worker with its protected operations made public for tests.
#pragma once

#include "worker/TKelvoThreadObject.h"

class TOpenWorker final : public TKelvoThreadObject
{
public:
    using TKelvoThreadObject::CheckKelvoAccountSetup;
    using TKelvoThreadObject::CleanupKESDK;
    using TKelvoThreadObject::CreateUserInbox;
    using TKelvoThreadObject::EndLocationSharing;
    using TKelvoThreadObject::Finalize;
    using TKelvoThreadObject::GetProjectInboxId;
    using TKelvoThreadObject::GetToConsoleProjectUserInboxId;
    using TKelvoThreadObject::Initialize;
    using TKelvoThreadObject::IsFileNameDownloadable;
    using TKelvoThreadObject::ManageKelvoDownloads;
    using TKelvoThreadObject::PrepareForLocationSharing;
    using TKelvoThreadObject::RecreateKESDKInstance;
    using TKelvoThreadObject::RefreshToConsoleFileList;
    using TKelvoThreadObject::SetupKelvoUserInboxes;
    using TKelvoThreadObject::TKelvoThreadObject;
};
