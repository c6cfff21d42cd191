// The store's records as the API's JSON.
#pragma once

#include "service/store/FetchTable.h"
#include "service/store/Records.h"
#include "service/store/SessionTable.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace kelvo::api {

using Json = nlohmann::ordered_json;

/** The document as text. Bytes that are not UTF-8 become replacement characters. */
std::string dump(const Json& document);

Json toJson(const store::Farm& farm);
Json toJson(const store::User& user);
Json toJson(const store::File& file);
Json toJson(const store::BinnedFile& file);

/** Appends the text of toJson(file) without an object in between: an answer may have many files. */
void appendJson(std::string& text, const store::File& file);

/** Adds the members of a fetch to the record of its file. */
void addFetch(Json& file, const store::Fetch& fetch);

/** `currentTokenHash`: the session of the request. */
Json toJson(const store::SessionInfo& session, const std::string& currentTokenHash);

/** Without the member "resources". */
Json toJson(const store::Project& project);

/** Without the member "entries". */
Json toJson(const store::Inbox& inbox);

/** The entity tag of a content. */
std::string etagOf(const store::File& file);

/** Returns a member that must be a string. Throws Problem (malformed-request). */
std::string requireString(const nlohmann::json& document, const char* member);

/**
 * Returns the name of a farm or user without blanks at its ends: 1 to 64 characters without control
 * characters (service/base/Names.h). Throws Problem (unprocessable).
 */
std::string requireName(const nlohmann::json& document, const char* member);

/** Whether the name can be a file name on any console. */
bool isFileName(std::string_view name);

/** Whether the text can be the note of a file: at most 200 printable characters. */
bool isNote(std::string_view note);

/** Counts the characters of valid UTF-8. */
std::size_t countCharacters(std::string_view utf8);

} // namespace kelvo::api
