// Any byte string as a file name and a search text (split at the first NUL byte; without
// one, the same bytes serve as both): the tokeniser must give non-empty tokens of token
// bytes only, and the rank must stay in its bands and agree with what the tokens say.
#include "search/search_rank.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Tokens = std::vector<std::string>;

void require(bool condition)
{
    if (!condition) std::abort();
}

bool tokenByte(unsigned char byte)
{
    return byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '#';
}

std::string upperAscii(std::string_view text)
{
    std::string out(text);
    for (char& c : out) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return out;
}

std::string lowerAscii(std::string_view text)
{
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

Tokens checkedTokens(std::string_view text)
{
    const Tokens tokens = qv::searchTokens(text);
    // Each token is a maximal run of token bytes, found in order in the lower-cased text.
    const std::string lowered = lowerAscii(text);
    std::size_t from = 0;
    for (const auto& token : tokens) {
        require(!token.empty());
        require(std::all_of(token.begin(), token.end(), [](char c) { return tokenByte(static_cast<unsigned char>(c)); }));
        const auto at = lowered.find(token, from);
        require(at != std::string::npos);
        require(at == 0 || !tokenByte(static_cast<unsigned char>(lowered[at - 1])));
        from = at + token.size();
        require(from == lowered.size() || !tokenByte(static_cast<unsigned char>(lowered[from])));
    }
    // Upper case and any other separator byte give the same tokens.
    require(qv::searchTokens(upperAscii(text)) == tokens);
    std::string joined;
    for (const auto& token : tokens) joined += token + "\x01";
    require(qv::searchTokens(joined) == tokens);
    return tokens;
}

bool anyPrefixedBy(const Tokens& stem, const std::string& token, bool prefix)
{
    return std::any_of(stem.begin(), stem.end(), [&](const std::string& s) {
        return prefix ? s.starts_with(token) : s == token;
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto nul = input.find('\0');
    const std::string_view filename = input.substr(0, nul);
    const std::string_view query = nul == std::string_view::npos ? input : input.substr(nul + 1);
    // A file name is one path component; longer ones cannot exist on disk.
    if (filename.size() > 255) return 0;

    const auto dot = filename.rfind('.');
    const Tokens stem = checkedTokens(dot == std::string_view::npos ? filename : filename.substr(0, dot));
    const Tokens wanted = checkedTokens(query);

    const std::string expression = qv::ftsQuery(query);
    require(expression.empty() == wanted.empty());

    const int rank = qv::filenameSearchRank(filename, query);
    require((rank == 0) == (!stem.empty() && stem == wanted));
    if (stem.empty() || wanted.empty()) require(rank == qv::kNoMatchRank);
    require(qv::filenameSearchRank(upperAscii(filename), upperAscii(query)) == rank);

    if (rank != 0 && rank != qv::kNoMatchRank) {
        // Six bands of 100000; what a band adds counts the stem's tokens beyond the query's.
        require(rank >= 100000 && rank < 700000);
        require(stem.size() >= wanted.size());
        const int band = rank / 100000;
        require(static_cast<std::size_t>(rank % 100000) <= stem.size() - wanted.size());
        // Exact bands need every query token whole in the stem, prefix bands its start.
        const bool prefix = band >= 4;
        for (const auto& token : wanted) require(anyPrefixedBy(stem, token, prefix));
        if (band == 1) require(rank % 100000 == static_cast<int>(stem.size() - wanted.size()));
    }

    // The query's tokens as a run in the stem always rank as a phrase.
    if (!wanted.empty() && stem != wanted
        && std::search(stem.begin(), stem.end(), wanted.begin(), wanted.end()) != stem.end()) {
        require(rank == 100000 + static_cast<int>(stem.size() - wanted.size()));
    }
    // A query token that starts no stem token cannot match at all.
    if (!std::all_of(wanted.begin(), wanted.end(), [&](const auto& token) { return anyPrefixedBy(stem, token, true); })) {
        require(rank == qv::kNoMatchRank);
    }
    return 0;
}
