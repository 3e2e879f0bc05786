#include "sql/sql_text.h"

#include <cstdio>

namespace qv {

std::string sqlNumber(std::int64_t value)
{
    return value < 0 ? "(" + std::to_string(value) + ")" : std::to_string(value);
}

std::string sqlNumber(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return value < 0 ? "(" + std::string(text) + ")" : text;
}

std::string sqlList(const std::vector<std::int64_t>& values)
{
    std::string list = "(";
    for (const std::int64_t value : values) {
        if (list.size() > 1) list += ',';
        list += sqlNumber(value);
    }
    return list + ")";
}

} // namespace qv
