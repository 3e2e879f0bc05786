// The selection rules of a page of rows, as a table of click sequences.
#include "row_selection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

struct Click {
    int row;
    bool ctrl = false;
    bool shift = false;
};

struct Case {
    const char* name;
    std::vector<Click> clicks;
    std::vector<int> selected;
};

TEST(RowSelection, ClicksFollowTheDesktopRules)
{
    const std::vector<Case> cases{
        {"plain click selects only that row", {{2}, {4}}, {4}},
        {"ctrl adds and removes single rows", {{1}, {3, true}, {5, true}, {3, true}}, {1, 5}},
        {"ctrl on the only selected row leaves none", {{2}, {2, true}}, {}},
        {"shift selects from the anchor, upwards too", {{4}, {1, false, true}}, {1, 2, 3, 4}},
        {"a second shift re-ranges from the same anchor", {{3}, {5, false, true}, {1, false, true}}, {1, 2, 3}},
        {"shift replaces; ctrl moved the anchor", {{0}, {2, true}, {5, false, true}}, {2, 3, 4, 5}},
        {"ctrl+shift adds the range", {{0}, {3, true}, {5, true, true}}, {0, 3, 4, 5}},
        {"shift with no anchor selects just that row", {{4, false, true}}, {4}},
        {"rows off the page are ignored", {{2}, {-1}, {6}, {9, false, true}, {-3, true}}, {2}},
    };
    for (const Case& c : cases) {
        qv::RowSelection selection;
        selection.setRowCount(6);
        for (const Click& click : c.clicks) selection.click(click.row, click.ctrl, click.shift);
        EXPECT_EQ(selection.selectedRows(), c.selected) << c.name;
        EXPECT_EQ(selection.firstSelected(), c.selected.empty() ? -1 : c.selected.front()) << c.name;
        for (int row = -1; row <= 6; ++row) {
            const bool expected = std::find(c.selected.begin(), c.selected.end(), row) != c.selected.end();
            EXPECT_EQ(selection.isSelected(row), expected) << c.name << ", row " << row;
        }
    }
}

TEST(RowSelection, ANewRowCountForgetsSelectionAndAnchor)
{
    qv::RowSelection selection;
    selection.setRowCount(10);
    selection.click(7, false, false);
    selection.click(9, false, true);
    ASSERT_EQ(selection.selectedRows(), (std::vector<int>{7, 8, 9}));

    selection.setRowCount(4);
    EXPECT_TRUE(selection.selectedRows().empty());
    EXPECT_FALSE(selection.isSelected(3));
    selection.click(2, false, true); // no anchor survives the page change
    EXPECT_EQ(selection.selectedRows(), (std::vector<int>{2}));
    selection.click(7, false, false); // nor does the old row count
    EXPECT_EQ(selection.selectedRows(), (std::vector<int>{2}));
}

TEST(RowSelection, ExtendingMovesOnlyTheFreeEnd)
{
    qv::RowSelection selection;
    selection.setRowCount(8);
    selection.selectOnly(3);
    selection.extendTo(5);
    EXPECT_EQ(selection.selectedRows(), (std::vector<int>{3, 4, 5}));
    selection.extendTo(1);
    EXPECT_EQ(selection.selectedRows(), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(selection.current(), 1);
    selection.extendTo(8);
    EXPECT_EQ(selection.selectedRows(), (std::vector<int>{1, 2, 3}));

    selection.clear();
    EXPECT_EQ(selection.firstSelected(), -1);
    selection.extendTo(6);
    EXPECT_EQ(selection.selectedRows(), (std::vector<int>{6}));
}

} // namespace
