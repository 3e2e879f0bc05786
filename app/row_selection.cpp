#include "row_selection.h"

#include <algorithm>

namespace qv {

void RowSelection::setRowCount(int count)
{
    _selected.assign(static_cast<std::size_t>(std::max(count, 0)), false);
    _anchor = -1;
    _current = -1;
}

void RowSelection::click(int row, bool toggleModifier, bool rangeModifier)
{
    if (!inRange(row)) return;
    if (rangeModifier) {
        if (_anchor < 0) _anchor = row;
        if (!toggleModifier) std::fill(_selected.begin(), _selected.end(), false);
        selectRange(_anchor, row);
        _current = row;
        return;
    }
    if (toggleModifier) {
        _selected[static_cast<std::size_t>(row)] = !_selected[static_cast<std::size_t>(row)];
        _anchor = row;
        _current = row;
        return;
    }
    selectOnly(row);
}

void RowSelection::selectOnly(int row)
{
    if (!inRange(row)) return;
    std::fill(_selected.begin(), _selected.end(), false);
    _selected[static_cast<std::size_t>(row)] = true;
    _anchor = row;
    _current = row;
}

void RowSelection::selectAll()
{
    std::fill(_selected.begin(), _selected.end(), true);
    // The anchor stays: Shift+click after Ctrl+A still ranges from the last clicked row.
}

void RowSelection::clear()
{
    std::fill(_selected.begin(), _selected.end(), false);
    _anchor = -1;
    _current = -1;
}

void RowSelection::extendTo(int row)
{
    if (!inRange(row)) return;
    if (_anchor < 0) _anchor = row;
    std::fill(_selected.begin(), _selected.end(), false);
    selectRange(_anchor, row);
    _current = row;
}

void RowSelection::selectRange(int from, int to)
{
    const auto [low, high] = std::minmax(from, to);
    for (int i = low; i <= high; ++i) _selected[static_cast<std::size_t>(i)] = true;
}

std::vector<int> RowSelection::selectedRows() const
{
    std::vector<int> rows;
    for (int i = 0; i < rowCount(); ++i) {
        if (_selected[static_cast<std::size_t>(i)]) rows.push_back(i);
    }
    return rows;
}

int RowSelection::firstSelected() const
{
    const auto it = std::find(_selected.begin(), _selected.end(), true);
    return it == _selected.end() ? -1 : static_cast<int>(it - _selected.begin());
}

bool RowSelection::isSelected(int row) const
{
    return inRange(row) && _selected[static_cast<std::size_t>(row)];
}

} // namespace qv
