#include "scan/scan_summary.h"

#include <cstdio>

namespace qv {

void accumulate(ScanStats& total, const ScanStats& one)
{
    total.unchanged += one.unchanged;
    total.added += one.added;
    total.updated += one.updated;
    total.removed += one.removed;
    total.emptySkipped += one.emptySkipped;
    total.moved.insert(total.moved.end(), one.moved.begin(), one.moved.end());
}

std::string scanCompleteMessage(const ScanStats& total, bool force)
{
    char text[256];
    std::snprintf(text, sizeof text,
                  "%s  \xE2\x80\xA2  %llu new  \xE2\x80\xA2  %llu updated  \xE2\x80\xA2  %llu unchanged  \xE2\x80\xA2  "
                  "%llu missing",
                  force ? "Full Scan complete" : "Scan complete", static_cast<unsigned long long>(total.added),
                  static_cast<unsigned long long>(total.updated), static_cast<unsigned long long>(total.unchanged),
                  static_cast<unsigned long long>(total.removed));
    return text;
}

std::string scanAttentionMessage(const std::string& errors)
{
    return "Scan needs attention: " + errors;
}

} // namespace qv
