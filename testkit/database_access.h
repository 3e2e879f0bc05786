// What only tests and the benchmark filler may do to a Database: run SQL text on its own
// connection (a bulk load inside one transaction, a checkpoint, a probe of a function
// the connection registered). Not for the application: it bypasses the mutex.
#pragma once

#include "db/database.h"

namespace qv {

class DatabaseTestAccess {
public:
    static void exec(Database& db, const char* sql) { db.exec(sql); }
};

} // namespace qv
