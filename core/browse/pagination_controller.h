// The page the result browser should show next. Rapid next/previous presses between two
// runs of the main queue collapse into one pending request, so only the latest page is
// fetched. Locked so that diagnostics may read it from any thread.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

namespace qv {

inline constexpr std::int32_t kResultsPageSize = 50;
// The page count assumed while more pages are known to exist but not how many.
inline constexpr std::int32_t kOpenEndedPageCount = 1000000;

struct PaginationMetrics {
    std::uint64_t requests = 0;
    std::uint64_t coalesced = 0;
    std::uint64_t consumed = 0;
    std::uint64_t peakPending = 0;

    bool operator==(const PaginationMetrics&) const = default;
};

class PaginationController {
public:
    // Both clamp the target to the known pages. True: the caller must schedule a consumer.
    // False: the consumer already scheduled will pick this request up.
    bool requestDelta(std::int32_t delta);
    bool requestPage(std::int32_t page);

    // The latest requested page, once per pending request.
    std::optional<std::int32_t> consumeLatest();

    // Takes on the page count after a refresh. A pending request keeps its page (clamped);
    // otherwise the requested page follows the page on screen.
    void synchronize(std::int32_t currentPage, std::int32_t pageCount);

    // Drops any pending request; the counters keep running.
    void reset(std::int32_t page, std::int32_t pageCount);

    PaginationMetrics metrics() const;
    std::int32_t requestedPage() const;

private:
    bool requestLocked(std::int64_t target);

    mutable std::mutex _mutex;
    std::int32_t _requestedPage = 0;
    std::int32_t _pageCount = 1;
    bool _pending = false;
    PaginationMetrics _metrics;
};

} // namespace qv
