// A farm's projects, inboxes and files, as one user may see them.
#pragma once

#include "service/api/Documents.h"
#include "service/store/Database.h"

#include <optional>
#include <vector>

namespace kelvo::api {

/** Read in one transaction, so its parts are consistent. */
class Snapshot
{
public:
    Snapshot(soci::session& sql, const store::User& user);

    /** The id of the newest event that the snapshot includes. */
    store::Id cursor() const { return cursor_; }

    /** The projects, with "resources". */
    Json projects() const;

    /** The inboxes of one project. */
    Json inboxesOf(store::Id project) const;

    const std::vector<store::Project>& projectList() const { return projects_; }

private:
    Json inbox(const store::Inbox& inbox) const;

    store::User user_;
    store::Id cursor_ = 0;
    std::vector<store::Project> projects_;
    std::vector<store::Inbox> inboxes_;
    std::vector<store::File> files_; // only files that the user may see
};

} // namespace kelvo::api
