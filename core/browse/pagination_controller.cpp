#include "browse/pagination_controller.h"

#include <algorithm>

namespace qv {

bool PaginationController::requestDelta(std::int32_t delta)
{
    std::lock_guard lock(_mutex);
    // Widened so that a large delta cannot wrap around before the clamp.
    return requestLocked(std::int64_t{_requestedPage} + delta);
}

bool PaginationController::requestPage(std::int32_t page)
{
    std::lock_guard lock(_mutex);
    return requestLocked(page);
}

bool PaginationController::requestLocked(std::int64_t target)
{
    const std::int64_t last = std::max(_pageCount - 1, 0);
    _requestedPage = static_cast<std::int32_t>(std::clamp<std::int64_t>(target, 0, last));
    ++_metrics.requests;
    if (_pending) {
        ++_metrics.coalesced;
        return false;
    }
    _pending = true;
    // One pending slot: the peak can only ever reach 1.
    _metrics.peakPending = std::max<std::uint64_t>(_metrics.peakPending, 1);
    return true;
}

std::optional<std::int32_t> PaginationController::consumeLatest()
{
    std::lock_guard lock(_mutex);
    if (!_pending) {
        return std::nullopt;
    }
    _pending = false;
    ++_metrics.consumed;
    return _requestedPage;
}

void PaginationController::synchronize(std::int32_t currentPage, std::int32_t pageCount)
{
    std::lock_guard lock(_mutex);
    _pageCount = std::max(pageCount, 1);
    const auto count = static_cast<std::uint32_t>(_pageCount);
    if (_pending) {
        if (static_cast<std::uint32_t>(_requestedPage) >= count) {
            _requestedPage = _pageCount - 1;
        }
        if (_requestedPage < 0) {
            _requestedPage = 0;
        }
    } else if (currentPage < 0) {
        _requestedPage = 0;
    } else {
        _requestedPage = static_cast<std::int32_t>(std::min(count - 1, static_cast<std::uint32_t>(currentPage)));
    }
}

void PaginationController::reset(std::int32_t page, std::int32_t pageCount)
{
    std::lock_guard lock(_mutex);
    _pageCount = std::max(pageCount, 1);
    _requestedPage = page < 0 ? 0 : std::min(_pageCount - 1, page);
    _pending = false;
}

PaginationMetrics PaginationController::metrics() const
{
    std::lock_guard lock(_mutex);
    return _metrics;
}

std::int32_t PaginationController::requestedPage() const
{
    std::lock_guard lock(_mutex);
    return _requestedPage;
}

} // namespace qv
