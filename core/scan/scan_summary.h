// The texts that close a scan, shared by the window's status line and the terminal tool,
// and the running total over several roots.
#pragma once

#include "sample.h"

#include <string>

namespace qv {

// Adds the counters of `one` to `total` and appends its moved pairs.
void accumulate(ScanStats& total, const ScanStats& one);

// "Scan complete  •  N new  •  N updated  •  N unchanged  •  N missing", or the
// "Full Scan complete" form when `force` was set.
std::string scanCompleteMessage(const ScanStats& total, bool force);

// "Scan needs attention: " followed by the failures, one per line.
std::string scanAttentionMessage(const std::string& errors);

} // namespace qv
