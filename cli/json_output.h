// JSON forms of the core's records for `quorvalinder-cli --json`.
//
// Field names are those of the records. Text is UTF-8; a text that is not valid UTF-8
// (file names on Linux are bytes) is written with each invalid byte replaced by U+FFFD,
// and the exact bytes are added under the same key with the suffix "Base64", so that no
// path is lost: {"path": "/x/\uFFFD.wav", "pathBase64": "L3gv/y53YXY="}.
#pragma once

#include "db/database.h"
#include "sample.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qv::cli {

bool isValidUtf8(std::string_view text);

// Sets object[key] to the text, adding key + "Base64" when the text is not UTF-8.
void putText(nlohmann::ordered_json& object, const std::string& key, std::string_view text);

// Arrays of texts and of text pairs follow the same rule: key + "Base64" holds an array of
// the same shape with the exact bytes where a text is not UTF-8 and null elsewhere.
void putTexts(nlohmann::ordered_json& object, const std::string& key, const std::vector<std::string>& texts);
void putPairs(nlohmann::ordered_json& object, const std::string& key,
              const std::vector<std::pair<std::string, std::string>>& pairs);

nlohmann::ordered_json toJson(const Sample& sample);
nlohmann::ordered_json toJson(const ScanStats& stats);
// `available`: false while the library's folder is offline (its samples hidden).
nlohmann::ordered_json toJson(const Library& library, bool available);

} // namespace qv::cli
