// Numbers the program writes into SQL text (limits, ids, tempo bounds). User values are
// always bound; these are not, because the plan's statements are told apart and cached
// by their text. Each is written so that it reads as one term whatever its value: a
// negative number after a minus sign would otherwise start a "--" comment.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qv {

// "120", "(-5)".
std::string sqlNumber(std::int64_t value);
// A stored real, written back so that SQLite reads the same value.
std::string sqlNumber(double value);
// "(1,2,3)"; "()" for none.
std::string sqlList(const std::vector<std::int64_t>& values);

} // namespace qv
