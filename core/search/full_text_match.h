// The full-text match of a search text, tested from one row's own column values instead
// of asking the full-text table for every match. Driving a query from a narrow filter
// index and testing the few rows it yields costs far less than listing the hundreds of
// thousands of samples a common word like "loop" matches.
//
// The result is exactly the full-text table's: the row is tokenised by the connection's
// own FTS5 "unicode61" tokenizer (the table's), and each token of the text is a prefix
// phrase that must occur within one column, as in ftsQuery's "tok"* AND "tok"*.
#pragma once

#include <cstdint>

namespace qv {

class Connection;

// Registers "qv_full_text_match"(text, counted, column...) on the connection: 1 when the
// columns given, taken together, match the text. Calls with `counted` nonzero spend the
// connection's FullTextRowBudget and fail once it is spent, so that a caller trying the
// row test gives up on it when it reads more rows than the full-text table would cost.
class FullTextRowBudget;
FullTextRowBudget* registerFullTextMatch(Connection& db);

// The calls left before the full test fails with an error; owned by the connection.
class FullTextRowBudget {
public:
    // Negative: no limit.
    void limit(std::int64_t calls)
    {
        _left = calls;
        _exhausted = false;
    }
    bool exhausted() const { return _exhausted; }
    // False, and marks the budget spent, when no call is left.
    bool spend()
    {
        if (_left < 0) return true;
        if (_left == 0) {
            _exhausted = true;
            return false;
        }
        --_left;
        return true;
    }

private:
    std::int64_t _left = -1;
    bool _exhausted = false;
};

} // namespace qv
