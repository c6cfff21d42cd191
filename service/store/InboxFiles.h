// The files of one inbox after another.
#pragma once

#include "service/store/Records.h"

#include <soci/soci.h>

#include <functional>
#include <map>
#include <string>

namespace kelvo::store {

/** Prepares its statement once, for all inboxes of a farm. The session outlives it. */
class InboxFiles
{
public:
    InboxFiles(soci::session& sql, Id farm);
    InboxFiles(const InboxFiles&) = delete;
    InboxFiles& operator=(const InboxFiles&) = delete;

    /** Visits the files of an inbox in the order of their ids, without a copy of all. */
    void each(Id inbox, const std::function<void(const File&)>& visit);

private:
    const std::string& senderName(Id sender);

    soci::session& sql_;
    Id farm_;
    Id inbox_ = 0;
    File row_;
    soci::statement query_; // reads farm_ and inbox_, writes row_
    std::map<Id, std::string> senderNames_;
};

} // namespace kelvo::store
