// The transaction guards, the only way the core begins and ends transactions.
//
// Transaction: "BEGIN IMMEDIATE" now, "ROLLBACK" on destruction unless committed; for
// writes of several rows, all or nothing.
// Savepoint: a named savepoint that nests inside any transaction, or opens one; rolled
// back to and released on destruction unless released.
// ReadTransaction: "BEGIN" (deferred) unless the connection is already inside a
// transaction, so that several reads see one state of the file; ended on destruction.
//
// A failing rollback is swallowed so that the first error is the one that propagates.
#pragma once

namespace qv {

class Connection;

class Transaction {
public:
    explicit Transaction(Connection& db);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // Throws when the commit fails; the destructor then rolls back.
    void commit();
    // Whether SQLite still holds it open: an I/O or full-disk error may roll a
    // transaction back behind the guard's back.
    bool stillOpen() const;

private:
    Connection& _db;
    bool _open = true;
};

class Savepoint {
public:
    Savepoint(Connection& db, const char* name); // name: a plain SQL identifier
    ~Savepoint();
    Savepoint(const Savepoint&) = delete;
    Savepoint& operator=(const Savepoint&) = delete;

    void release();

private:
    Connection& _db;
    const char* _name;
    bool _open = true;
};

class ReadTransaction {
public:
    explicit ReadTransaction(Connection& db);
    ~ReadTransaction();
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

private:
    Connection& _db;
    bool _own;
};

} // namespace qv
