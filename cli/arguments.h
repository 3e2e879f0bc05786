// Turning command-line words into the values the core expects, with the caller's
// mistakes reported as UserError before the index is touched.
#pragma once

#include "db/database.h"
#include "sample.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qv::cli {

// Absolute, lexically normal, no trailing "/": the core compares folders as path
// prefixes, so "Drums/", "./Drums" and "/abs/Drums" must all become the same text.
// The folder need not exist (an unplugged library's folders can still be edited).
std::string folderArgument(const std::string& text);

// Exactly one of the type texts the core stores; anything else is refused rather than
// silently becoming "Unknown".
SampleType typeArgument(const std::string& text);

// A type, or "auto" (no value) for dropping the user's override.
std::optional<SampleType> typeOrAutoArgument(const std::string& text);

Playlist findPlaylist(Database& db, std::int64_t id, Counts counts = Counts::Included);

// The core ignores unknown sample ids for some edits; a typo must not look like success.
void requireSample(Database& db, std::int64_t id);

} // namespace qv::cli
