// ASCII character tests and case folding, independent of the C locale. Names, keys and
// search words are folded this way everywhere, so that bytes >= 0x80 (UTF-8) are never
// changed and the SQL lower(), which folds ASCII only, agrees with the code.
#pragma once

#include <string>
#include <string_view>

namespace qv::ascii {

constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isAlnum(char c) { return isUpper(c) || isLower(c) || isDigit(c); }
constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr char lower(char c) { return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr char upper(char c) { return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c; }

inline std::string lowered(std::string_view text)
{
    std::string result(text);
    for (char& c : result) c = lower(c);
    return result;
}

} // namespace qv::ascii
