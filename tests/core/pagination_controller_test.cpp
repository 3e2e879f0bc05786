#include "browse/pagination_controller.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>
#include <vector>

namespace {

TEST(PaginationController, RapidRequestsCollapseIntoOneConsumeOfTheClampedPage)
{
    qv::PaginationController pages;
    pages.reset(0, 2);
    EXPECT_TRUE(pages.requestDelta(1));
    EXPECT_FALSE(pages.requestDelta(1));
    EXPECT_FALSE(pages.requestDelta(1));
    EXPECT_EQ(pages.consumeLatest(), 1);
    EXPECT_EQ(pages.consumeLatest(), std::nullopt);
    EXPECT_EQ(pages.metrics(), (qv::PaginationMetrics{3, 2, 1, 1}));

    // Counters outlive a reset; the pending request does not.
    EXPECT_TRUE(pages.requestPage(1));
    pages.reset(5, 3);
    EXPECT_EQ(pages.requestedPage(), 2);
    EXPECT_EQ(pages.consumeLatest(), std::nullopt);
    EXPECT_EQ(pages.metrics(), (qv::PaginationMetrics{4, 2, 1, 1}));
}

TEST(PaginationController, RequestsStayWithinTheKnownPages)
{
    qv::PaginationController pages; // one page until told otherwise
    pages.requestDelta(1);
    EXPECT_EQ(pages.requestedPage(), 0);

    pages.reset(0, 4);
    pages.requestPage(-5);
    EXPECT_EQ(pages.requestedPage(), 0);
    pages.requestPage(99);
    EXPECT_EQ(pages.requestedPage(), 3);
    pages.requestDelta(-10);
    EXPECT_EQ(pages.requestedPage(), 0);

    pages.reset(3, qv::kOpenEndedPageCount);
    pages.requestDelta(INT_MAX);
    EXPECT_EQ(pages.requestedPage(), qv::kOpenEndedPageCount - 1);
    pages.reset(-1, 0);
    EXPECT_EQ(pages.requestedPage(), 0);
}

TEST(PaginationController, SynchronizeKeepsAPendingRequestAndOtherwiseFollowsTheScreen)
{
    qv::PaginationController pages;
    pages.reset(0, 10);
    pages.requestPage(7);
    pages.synchronize(0, 5);
    EXPECT_EQ(pages.requestedPage(), 4);
    pages.synchronize(0, 10);
    EXPECT_EQ(pages.requestedPage(), 4);
    EXPECT_EQ(pages.consumeLatest(), 4);

    pages.synchronize(2, 5);
    EXPECT_EQ(pages.requestedPage(), 2);
    pages.synchronize(8, 5);
    EXPECT_EQ(pages.requestedPage(), 4);
    pages.synchronize(-3, 5);
    EXPECT_EQ(pages.requestedPage(), 0);
    pages.synchronize(3, 0);
    EXPECT_EQ(pages.requestedPage(), 0);
}

TEST(PaginationController, CountersStayConsistentUnderConcurrentUse)
{
    qv::PaginationController pages;
    pages.reset(0, 20);
    std::atomic<std::uint64_t> accepted{0};
    std::atomic<std::uint64_t> consumed{0};
    std::atomic<bool> go{false}; // start together, or the threads barely overlap
    constexpr int kThreads = 4;
    constexpr int kRounds = 100000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            while (!go) {
            }
            for (int i = 0; i < kRounds; ++i) {
                const bool fresh = (i + t) % 3 == 0 ? pages.requestPage(i % 25 - 2) : pages.requestDelta(t % 2 ? 3 : -2);
                accepted += fresh ? 1 : 0;
                if (i % 4 == t % 4 && pages.consumeLatest()) {
                    ++consumed;
                }
            }
        });
    }
    go = true;
    for (auto& thread : threads) {
        thread.join();
    }
    const auto m = pages.metrics();
    EXPECT_EQ(m.requests, std::uint64_t{kThreads} * kRounds);
    EXPECT_EQ(m.requests, m.coalesced + accepted);
    EXPECT_EQ(m.consumed, consumed);
    EXPECT_LE(m.consumed, accepted);
    EXPECT_EQ(m.peakPending, 1u);
    // Every accepted request is either consumed or still the one pending.
    EXPECT_EQ(accepted - consumed, pages.consumeLatest() ? 1u : 0u);
}

} // namespace
