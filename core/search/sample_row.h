// The columns a search reads for each sample of a page, and the record made from them.
#pragma once

#include "sample.h"

namespace qv {

class Statement;

// "s.id,s.path,s.filename,s.type,s.genre,s.instrument,s.bpm,s.musical_key,s.duration,
// s.file_size,s.modified_at,s.favorite,l.path", over samples s joined to libraries l.
inline constexpr const char* kSampleColumns = "s.id,s.path,s.filename,s.type,s.genre,s.instrument,s.bpm,"
                                              "s.musical_key,s.duration,s.file_size,s.modified_at,s.favorite,l.path";

Sample sampleFromRow(const Statement& st);

} // namespace qv
