// A connection's own FTS5 tokenizer, so that code outside SQLite can split a text into
// exactly the tokens a full-text table of that connection holds or searches for.
// One thread at a time (under the database mutex).
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

class Connection;

class FullTextTokenizer {
public:
    // Null when the connection has no FTS5 or no tokenizer of that name.
    static std::unique_ptr<FullTextTokenizer> find(Connection& db, const char* name);
    ~FullTextTokenizer();
    FullTextTokenizer(const FullTextTokenizer&) = delete;
    FullTextTokenizer& operator=(const FullTextTokenizer&) = delete;

    // Document: as a row's text is indexed. QueryPrefix: as a quoted phrase ending in a
    // prefix token is parsed.
    enum class Mode { Document, QueryPrefix };

    // The tokens of `text`, folded as the tokenizer folds them, into the first `count`
    // entries of `tokens` (reused between calls, so that a row costs no allocation).
    // False when the tokenizer fails (out of memory).
    bool tokenize(std::string_view text, Mode mode, std::vector<std::string>& tokens, std::size_t& count);

private:
    struct Api;
    explicit FullTextTokenizer(std::unique_ptr<Api> api);
    std::unique_ptr<Api> _api;
};

} // namespace qv
