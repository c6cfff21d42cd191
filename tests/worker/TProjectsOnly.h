// A farm without inboxes: each test adds its own.
#pragma once

#include "tests/worker/TWorkerFixture.h"

// A farm with the seven projects, without inboxes.
class TProjectsOnly : public TWorkerFixture
{
public:
    TProjectsOnly()
    {
        Sdk().Reset();
        userId = Farm().AddUser(L"olga", L"secret");
        Farm().AddTheSevenProjects();
    }
    // Adds an inbox of olga with the given id.
    void AddRawInbox(const wchar_t* project, std::int64_t id)
    {
        kesdk::api::EnterpriseResource inbox;
        inbox.id = id;
        inbox.kind = kesdk::api::eUserInboxResource;
        inbox.ownerUserId = userId;
        Farm().AddRawInbox(Farm().ProjectId(project), inbox);
    }
};
