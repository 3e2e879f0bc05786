// A fixture with a fresh index in its own temporary folder, and a second plain connection
// to the same file for looking at what the core wrote.
#pragma once

#include "db/database.h"
#include "raw_db.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

namespace qv::test {

class IndexTest : public ::testing::Test {
protected:
    testkit::TempDir _dir;
    std::filesystem::path _dbFile = _dir / "index/quorvalinder.db";
    Database _db{_dbFile};
    testkit::RawDb _raw{_dbFile};
};

} // namespace qv::test
