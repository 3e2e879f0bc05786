#include "browse/pagination_controller.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>
#include <vector>

namespace {

TEST(PaginationController, RapidRequestsCollapseIntoOneConsumeOfTheLatestPage)
{
    qv::PaginationController pages;
    pages.reset(0, 5);
    EXPECT_TRUE(pages.requestDelta(1));
    EXPECT_FALSE(pages.requestDelta(1));
    EXPECT_FALSE(pages.requestPage(4));
    EXPECT_FALSE(pages.requestDelta(-1));
    EXPECT_EQ(pages.consumeLatest(), 3);
    EXPECT_EQ(pages.consumeLatest(), std::nullopt);
    EXPECT_TRUE(pages.requestDelta(1));

    // A reset drops the pending request and clamps its page.
    pages.reset(5, 3);
    EXPECT_EQ(pages.consumeLatest(), std::nullopt);
    EXPECT_EQ(pages.requestedPage(), 2);
}

TEST(PaginationController, RequestsAndRefreshesStayWithinTheKnownPages)
{
    qv::PaginationController pages; // one page until told otherwise
    pages.requestDelta(1);
    EXPECT_EQ(pages.requestedPage(), 0);

    pages.reset(0, 4);
    for (const auto& [page, expected] : std::vector<std::pair<int, int>>{{-5, 0}, {99, 3}, {2, 2}}) {
        pages.requestPage(page);
        EXPECT_EQ(pages.requestedPage(), expected) << page;
    }
    pages.requestDelta(-10);
    EXPECT_EQ(pages.requestedPage(), 0);
    pages.reset(3, qv::kOpenEndedPageCount);
    pages.requestDelta(INT_MAX); // no wrap-around before the clamp
    EXPECT_EQ(pages.requestedPage(), qv::kOpenEndedPageCount - 1);
    pages.reset(-1, 0);
    EXPECT_EQ(pages.requestedPage(), 0);

    // A refresh keeps a pending request (clamped); otherwise it follows the screen.
    pages.reset(0, 10);
    pages.requestPage(7);
    pages.synchronize(0, 5);
    pages.synchronize(0, 10);
    EXPECT_EQ(pages.consumeLatest(), 4);
    for (const auto& [current, expected] : std::vector<std::pair<int, int>>{{2, 2}, {8, 4}, {-3, 0}}) {
        pages.synchronize(current, 5);
        EXPECT_EQ(pages.requestedPage(), expected) << current;
    }
}

// Under ThreadSanitizer too: every accepted request is consumed once or still pending.
TEST(PaginationController, EachAcceptedRequestIsConsumedOnceUnderConcurrentUse)
{
    qv::PaginationController pages;
    pages.reset(0, 20);
    std::atomic<int> accepted{0};
    std::atomic<int> consumed{0};
    std::atomic<bool> go{false}; // start together, or the threads barely overlap
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            while (!go) {
            }
            for (int i = 0; i < 100000; ++i) {
                accepted += (i + t) % 3 == 0 ? pages.requestPage(i % 25 - 2) : pages.requestDelta(t % 2 ? 3 : -2);
                if (i % 4 == t % 4 && pages.consumeLatest()) ++consumed;
            }
        });
    }
    go = true;
    for (auto& thread : threads) thread.join();
    EXPECT_GT(consumed, 0);
    EXPECT_EQ(accepted - consumed, pages.consumeLatest() ? 1 : 0);
}

} // namespace
