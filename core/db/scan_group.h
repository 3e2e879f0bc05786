// The scanner's open group of writes (see Database::ScanBatch): one write transaction
// kept open across upserts and relinks, committed after kWrites writes or kTime, or
// before any other operation of the database runs. Used under the database mutex.
#pragma once

#include "db/database.h"
#include "sql/transaction.h"

#include <chrono>
#include <memory>

namespace qv {

class Database::ScanGroup {
public:
    // Long enough that a scan writes each hot page once per group, short enough that
    // other connections see a scan's progress and a crash costs little.
    static constexpr int kWrites = 256;
    static constexpr auto kTime = std::chrono::milliseconds(250);

    int batches = 0; // ScanBatch objects alive
    std::unique_ptr<Transaction> transaction;
    int writes = 0;
    std::chrono::steady_clock::time_point began;

    bool due() const
    {
        return transaction && (writes >= kWrites || std::chrono::steady_clock::now() - began >= kTime);
    }
};

} // namespace qv
