#pragma once
// Which rows of a page of N rows are selected, by the usual desktop rules: a plain click
// selects only that row and moves the anchor there, Ctrl toggles one row (and moves the
// anchor), Shift selects from the anchor to the row, Ctrl+Shift adds that range to what
// is selected. `extendTo` is Shift+arrow: the range from the anchor to the moving end.
//
// Invariants: every selected row is in 0..N-1; the anchor and the moving end are -1 or
// in range. Rows outside the page are ignored by every call.
// Plain values, no threads.

#include <vector>

namespace qv {

class RowSelection {
public:
    // A new page: nothing selected, no anchor.
    void setRowCount(int count);
    int rowCount() const { return static_cast<int>(_selected.size()); }

    void click(int row, bool toggleModifier, bool rangeModifier);
    void selectOnly(int row);
    void selectAll();
    void clear();
    // Selects anchor..row (only row when there is no anchor yet) and moves the end to row.
    void extendTo(int row);

    std::vector<int> selectedRows() const; // ascending
    int firstSelected() const;             // -1 when none
    bool isSelected(int row) const;
    int anchor() const { return _anchor; }
    // The row the last click or extension ended on: where Shift+arrow moves from.
    int current() const { return _current; }

private:
    bool inRange(int row) const { return row >= 0 && row < rowCount(); }
    void selectRange(int from, int to);

    std::vector<bool> _selected;
    int _anchor = -1;
    int _current = -1;
};

} // namespace qv
