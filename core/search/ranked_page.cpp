// A page ranked by text among many full-text matches, without ranking them all.
#include "search/indexed_plan.h"

#include "ascii.h"
#include "db/schema.h"
#include "search/name_order.h"
#include "search/plan_sql.h"
#include "search/search_rank.h"
#include "sql/connection.h"
#include "sql/sql_text.h"
#include "sql/statement.h"

#include <algorithm>
#include <array>
#include <queue>

namespace qv {

// The rows whose name holds every query token as a word, among others: the full-text
// words of a name include each of its ASCII letter-and-digit tokens. Null when a token
// has other bytes, which the full-text table may split or fold differently.
const std::vector<std::int64_t>* IndexedPlan::exactNameMatches(const std::vector<std::string>& tokens)
{
    std::string expression;
    for (const auto& token : tokens) {
        const bool plain = std::all_of(token.begin(), token.end(), [](char c) { return ascii::isAlnum(c); });
        if (!plain) return nullptr;
        if (!expression.empty()) expression += " AND ";
        expression += "filename : \"" + token + "\"";
    }
    return &state().exact.get(expression, [&] {
        return sortedIds(_db, "SELECT rowid FROM sample_search WHERE sample_search MATCH ?", {expression});
    });
}

namespace {

// Past this many names read for a page, most matches hold a token only in their folder (a
// short prefix such as "k"): listing the names that hold every token costs less.
constexpr std::size_t kNamedCandidatesAfter = 2048;

// The rows whose file name holds a word starting with each query token, among others: a
// name can rank only if every token starts one of its stem's words, and each such word
// starts a full-text word of the name. Nothing when a token has other bytes than ASCII
// letters and digits, which the full-text table may split or fold differently.
std::optional<std::vector<std::int64_t>> namedCandidates(Connection& db, const std::vector<std::string>& tokens)
{
    std::string expression;
    for (const auto& token : tokens) {
        const bool plain = std::all_of(token.begin(), token.end(), [](char c) { return ascii::isAlnum(c); });
        if (!plain || token.empty()) return std::nullopt;
        if (!expression.empty()) expression += " AND ";
        expression += "filename : \"" + token + "\"*";
    }
    return sortedIds(db, "SELECT rowid FROM sample_search WHERE sample_search MATCH ?", {expression});
}

// The least rank a name can have for a query of `q` tokens, from its stem's token count
// and whether it holds every query token as a word; groups of matches are read in this
// order. A key per bound: [0, 256) exact words, [256, 512) prefixes only, 512 no match.
constexpr int kRankGroups = 513;

int rankGroup(int words, int q, bool exact)
{
    if (words < q) return kRankGroups - 1; // too few tokens to hold the query's
    return (exact ? 0 : 256) + words - q;
}

int leastRank(int group)
{
    if (group == 0) return 0;
    if (group < 256) return 100000 + group;
    if (group < 512) return 400000 + group - 256;
    return kNoMatchRank;
}

} // namespace

// A page ranked by text among many full-text matches, without ranking them all. The
// matches are grouped by the least rank they could have; groups are read best first,
// each in name order, until every row the page needs is known to be read: rows ranked
// below the next group's least rank, or enough rows of the group's own least rank,
// which come before the group's unread rows by name. SQLite then orders the rows read.
// Nothing when the name order cannot serve. One-letter tokens are first looked for among
// the names by their initials alone, so that the first key typed does not list most of
// the index.
std::optional<std::vector<std::int64_t>> IndexedPlan::rankedPageIds(const SearchQuery& query)
{
    const PlanState& current = state();
    const std::vector<std::string> tokens = searchTokens(query.text);
    const int q = static_cast<int>(tokens.size());
    const Window window = windowOf(query);
    const NameOrder* ready = window.limit < 0 || q >= NameOrder::kMaxWords ? nullptr : nameOrder();
    if (!ready) return std::nullopt;
    const NameOrder& order = *ready;
    const std::int64_t need = window.offset + window.limit;
    const std::vector<std::int64_t>* exact = exactNameMatches(tokens);
    // Names without a word starting as each token does cannot rank: they are never read
    // group by group. For one-letter tokens that is about all the names query would tell.
    std::uint32_t initials = 0;
    bool initialsSuffice = true;
    for (const std::string& token : tokens) {
        initials |= tokenInitialBit(token);
        initialsSuffice = initialsSuffice && token.size() == 1 && ascii::isAlnum(token.front());
    }
    // Each attempt reads groups afresh; names lacking an initial, and with `named` those
    // not holding every token, go with the names that cannot rank.
    struct Attempt {
        std::optional<std::vector<std::int64_t>> ids;
        bool wholeRanking = false; // one statement ranking every match costs less
        bool namesFirst = false;   // try again with the names holding the tokens
    };
    // Without `matches`, the rows grouped are the names holding every initial, which for
    // one-letter tokens all match, and the page is found only if they fill it.
    const auto attempt = [&](const std::vector<std::int64_t>* matches, const std::vector<std::int64_t>* named) -> Attempt {
        std::vector<std::int64_t> holding;
        if (!matches) holding = order.holding(initials);
        const std::vector<std::int64_t>& source = matches ? *matches : holding;
        // Rows by group; rows written since the order was read are ranked up front.
        std::vector<std::int64_t> touched;
        std::vector<int> groupOf(source.size(), -1);
        std::array<std::size_t, kRankGroups + 1> starts{};
        auto exactAt = exact ? exact->begin() : std::vector<std::int64_t>::const_iterator();
        auto namedAt = named ? named->begin() : std::vector<std::int64_t>::const_iterator();
        for (std::size_t i = 0; i < source.size(); ++i) {
            const std::int64_t id = source[i];
            if (order.touched(id)) {
                touched.push_back(id);
            } else if (order.place(id) != NameOrder::kAbsent) {
                bool isExact = true;
                if (exact) {
                    exactAt = std::lower_bound(exactAt, exact->end(), id);
                    isExact = exactAt != exact->end() && *exactAt == id;
                }
                bool isNamed = (order.initials(id) & initials) == initials;
                if (isNamed && named) {
                    namedAt = std::lower_bound(namedAt, named->end(), id);
                    isNamed = namedAt != named->end() && *namedAt == id;
                }
                groupOf[i] = isNamed ? rankGroup(order.words(id), q, isExact) : kRankGroups - 1;
                ++starts[static_cast<std::size_t>(groupOf[i]) + 1];
            }
        }
        for (std::size_t g = 1; g < starts.size(); ++g) starts[g] += starts[g - 1];
        std::vector<std::int64_t> grouped(starts.back());
        {
            auto next = starts;
            for (std::size_t i = 0; i < source.size(); ++i) {
                if (groupOf[i] >= 0) grouped[next[static_cast<std::size_t>(groupOf[i])]++] = source[i];
            }
        }

        struct Ranked {
            std::int64_t id;
            int rank;
        };
        std::vector<Ranked> known;
        std::priority_queue<int, std::vector<int>, std::greater<>> unsettled; // ranks not yet below a bound
        std::int64_t below = 0;
        using Ids = std::vector<std::int64_t>;
        const auto rankRows = [&](Ids::const_iterator first, Ids::const_iterator last) {
            if (first == last) return;
            Statement st(_db, std::string("SELECT s.id,s.filename FROM samples s INDEXED BY ") + schema::kVisibleIdIndex
                                 + " WHERE s.id IN " + sqlList({first, last}) + " AND " + schema::kVisibleSample
                                 + onlineScope(current.online));
            while (st.step()) {
                known.push_back({st.columnInt64(0), filenameSearchRank(st.columnView(1), query.text)});
                unsettled.push(known.back().rank);
            }
        };
        const auto page = [&](int bound) {
            std::vector<std::int64_t> ids;
            for (const Ranked& row : known) {
                if (row.rank <= bound) ids.push_back(row.id);
            }
            return pageAmong(query, ids);
        };

        rankRows(touched.begin(), touched.end());
        for (int group = 0; group < kRankGroups; ++group) {
            const auto first = grouped.begin() + static_cast<std::ptrdiff_t>(starts[static_cast<std::size_t>(group)]);
            const auto last = grouped.begin() + static_cast<std::ptrdiff_t>(starts[static_cast<std::size_t>(group) + 1]);
            if (first == last) continue;
            if (!matches && group == kRankGroups - 1) return Attempt{}; // the names did not fill it
            const int least = leastRank(group);
            while (!unsettled.empty() && unsettled.top() < least) {
                unsettled.pop();
                ++below;
            }
            if (below >= need) return Attempt{.ids = page(least - 1)};

            std::sort(first, last, [&](std::int64_t a, std::int64_t b) { return order.place(a) < order.place(b); });
            const std::int64_t wanted = need - below;
            std::int64_t found = 0;
            std::ptrdiff_t chunk = 64;
            for (auto from = first; from != last; chunk = std::min<std::ptrdiff_t>(chunk * 2, 4096)) {
                const auto to = last - from > chunk ? from + chunk : last;
                const std::size_t read = known.size();
                rankRows(from, to);
                for (std::size_t i = read; i < known.size(); ++i) found += known[i].rank == least;
                if (found >= wanted) return Attempt{.ids = page(least)};
                // Few matches rank well (a word most names have only in their folder): one
                // statement ranking them all costs less than reading them group by group.
                if (matches && known.size() * 4 > matches->size()) return Attempt{.ids = std::nullopt, .wholeRanking = true};
                // Many names read, few holding the tokens: only those that do are read again.
                if (!named && !initialsSuffice && known.size() > kNamedCandidatesAfter) {
                    return Attempt{.ids = std::nullopt, .namesFirst = true};
                }
                from = to;
            }
        }
        if (!matches) return Attempt{};
        return Attempt{.ids = page(kNoMatchRank)};
    };
    if (initialsSuffice) {
        // The first keys typed: the names alone usually fill the page, with no list of
        // every match, which a one-letter prefix makes long.
        if (Attempt early = attempt(nullptr, nullptr); early.ids) return early.ids;
    }
    const std::vector<std::int64_t>& matches = fullTextMatches(query);
    Attempt result = attempt(&matches, nullptr);
    if (result.namesFirst) {
        const std::optional<std::vector<std::int64_t>> named = namedCandidates(_db, tokens);
        result = named ? attempt(&matches, &*named) : Attempt{.ids = std::nullopt, .wholeRanking = true};
    }
    return result.ids;
}

} // namespace qv
