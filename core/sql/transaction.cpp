#include "sql/transaction.h"

#include "sql/connection.h"

#include <exception>
#include <string>

namespace qv {

namespace {

void quietly(Connection& db, const std::string& sql)
{
    try {
        db.exec(sql);
    } catch (const std::exception&) {
        // The error that brought us here is the one worth reporting.
    }
}

} // namespace

Transaction::Transaction(Connection& db)
    : _db(db)
{
    _db.exec("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (_open && _db.inTransaction()) quietly(_db, "ROLLBACK");
}

void Transaction::commit()
{
    _db.exec("COMMIT");
    _open = false;
}

bool Transaction::stillOpen() const
{
    return _open && _db.inTransaction();
}

Savepoint::Savepoint(Connection& db, const char* name)
    : _db(db)
    , _name(name)
{
    _db.exec(std::string("SAVEPOINT ") + _name);
}

Savepoint::~Savepoint()
{
    if (_open) quietly(_db, std::string("ROLLBACK TO ") + _name + "; RELEASE " + _name);
}

void Savepoint::release()
{
    _db.exec(std::string("RELEASE ") + _name);
    _open = false;
}

ReadTransaction::ReadTransaction(Connection& db)
    : _db(db)
    , _own(!db.inTransaction())
{
    if (_own) _db.exec("BEGIN");
}

ReadTransaction::~ReadTransaction()
{
    if (!_own || !_db.inTransaction()) return;
    try {
        _db.exec("COMMIT");
    } catch (const std::exception&) {
        quietly(_db, "ROLLBACK");
    }
}

} // namespace qv
