#include "sql/full_text_tokenizer.h"

#include "sql/connection.h"

#include <sqlite3.h>

#include <algorithm>

namespace qv {

namespace {

// FTS5 cuts longer tokens to this many bytes, in documents and queries alike.
constexpr int kMaxTokenBytes = 32768;

fts5_api* fts5Of(sqlite3* db)
{
    fts5_api* api = nullptr;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT fts5(?1)", -1, &st, nullptr) != SQLITE_OK) return nullptr;
    sqlite3_bind_pointer(st, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(st);
    sqlite3_finalize(st);
    return api;
}

} // namespace

struct FullTextTokenizer::Api {
    fts5_tokenizer calls{};
    ::Fts5Tokenizer* instance = nullptr;
};

FullTextTokenizer::FullTextTokenizer(std::unique_ptr<Api> api)
    : _api(std::move(api))
{
}

FullTextTokenizer::~FullTextTokenizer()
{
    _api->calls.xDelete(_api->instance);
}

std::unique_ptr<FullTextTokenizer> FullTextTokenizer::find(Connection& db, const char* name)
{
    fts5_api* fts5 = fts5Of(db._db);
    void* userData = nullptr;
    auto api = std::make_unique<Api>();
    if (!fts5 || fts5->xFindTokenizer(fts5, name, &userData, &api->calls) != SQLITE_OK) return nullptr;
    ::Fts5Tokenizer* instance = nullptr;
    if (api->calls.xCreate(userData, nullptr, 0, &instance) != SQLITE_OK) return nullptr;
    api->instance = instance;
    return std::unique_ptr<FullTextTokenizer>(new FullTextTokenizer(std::move(api)));
}

bool FullTextTokenizer::tokenize(std::string_view text, Mode mode, std::vector<std::string>& tokens, std::size_t& count)
{
    count = 0;
    struct Sink {
        std::vector<std::string>* tokens;
        std::size_t* count;
    } sink{&tokens, &count};
    const auto each = [](void* context, int, const char* token, int bytes, int, int) {
        auto* s = static_cast<Sink*>(context);
        if (*s->count == s->tokens->size()) s->tokens->emplace_back();
        (*s->tokens)[(*s->count)++].assign(token, static_cast<std::size_t>(std::min(bytes, kMaxTokenBytes)));
        return SQLITE_OK;
    };
    const int flags = mode == Mode::Document ? FTS5_TOKENIZE_DOCUMENT : FTS5_TOKENIZE_QUERY | FTS5_TOKENIZE_PREFIX;
    return _api->calls.xTokenize(_api->instance, &sink, flags, text.data(),
                                 static_cast<int>(text.size()), each)
        == SQLITE_OK;
}

} // namespace qv
