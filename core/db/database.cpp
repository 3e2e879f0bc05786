#include "db/database.h"

#include "db/scan_group.h"
#include "db/schema.h"
#include "search/indexed_plan.h"
#include "search/search_rank.h"
#include "sql/connection.h"
#include "sql/statement_cache.h"

namespace qv {

namespace {

std::unique_ptr<Connection> open(const std::filesystem::path& path)
{
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
    return std::make_unique<Connection>(path);
}

} // namespace

Database::Database(const std::filesystem::path& path, const OpenProgress& progress)
    : _connection(open(path))
    , _statements(std::make_unique<StatementCache>())
    , _group(std::make_unique<ScanGroup>())
{
    _connection->defineFunction("qv_filename_search_rank", 2, &searchRankSql);
    _indexed = std::make_unique<IndexedPlan>(*_connection, *_statements);
    // Checkpointing the log less often writes each hot index page of a scan to the file
    // once per few thousand commits instead of once per few hundred.
    exec("PRAGMA journal_mode=WAL; PRAGMA foreign_keys=ON; PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=8000;");
    migrate(progress);
    schema::createSupportObjects(*_connection, progress);
}

Database::~Database() = default;

void Database::exec(const char* sql)
{
    _connection->exec(sql);
}

Database::ScanBatch::ScanBatch(Database& db)
    : _db(db)
{
    std::lock_guard lock(_db._mutex);
    ++_db._group->batches;
}

Database::ScanBatch::~ScanBatch()
{
    if (_finished) return;
    std::lock_guard lock(_db._mutex);
    if (--_db._group->batches > 0) return;
    try {
        _db.commitScanGroup();
    } catch (const std::exception&) {
        // Leaving after a failure: that failure is the one reported.
    }
}

void Database::ScanBatch::finish()
{
    std::lock_guard lock(_db._mutex);
    _finished = true;
    if (--_db._group->batches == 0) _db.commitScanGroup();
}

std::unique_lock<std::mutex> Database::settledLock() const
{
    std::unique_lock lock(_mutex);
    commitScanGroup();
    return lock;
}

void Database::commitScanGroup() const
{
    if (!_group->transaction) return;
    const std::unique_ptr<Transaction> transaction = std::move(_group->transaction);
    // An I/O or full-disk error may already have rolled the group back.
    if (transaction->stillOpen()) transaction->commit();
}

void Database::beginGroupedWrite()
{
    if (_group->batches == 0 || _group->transaction) return;
    _group->transaction = std::make_unique<Transaction>(*_connection);
    _group->writes = 0;
    _group->began = std::chrono::steady_clock::now();
}

void Database::endGroupedWrite()
{
    if (_group->transaction) ++_group->writes;
    commitScanGroupWhenDue();
}

void Database::commitScanGroupWhenDue() const
{
    if (_group->due()) commitScanGroup();
}

} // namespace qv
