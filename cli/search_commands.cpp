// `search [TEXT] [filters] [--sort ...] [--page N]` and `values FIELD [filters]`: the result
// browser's query, page by page, and the values its filter menus would offer.
#include "arguments.h"
#include "cli_context.h"
#include "commands.h"
#include "json_output.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iomanip>
#include <memory>
#include <ostream>

namespace qv::cli {

namespace {

struct FilterOptions {
    std::string text;
    std::string type;
    std::string instrument;
    std::optional<std::int32_t> bpm;
    std::string key;
    std::vector<std::string> genres;
    std::string folder;
    std::optional<std::int64_t> playlistId;
    bool favorites = false;
    bool noMidi = false;
};

struct SearchOptions {
    FilterOptions filters;
    std::string sort;
    bool descending = false;
    std::int64_t page = 1;
    std::int32_t pageSize = 50;
};

struct ValuesOptions {
    FilterOptions filters;
    std::string field;
};

void addFilterOptions(CLI::App* command, FilterOptions& filters)
{
    command->add_option("TEXT", filters.text,
                        "Search text: each word matches the start of a word in the path, type, genre, "
                        "instrument or key");
    command->add_option("--type", filters.type, "Loop, \"One Shot\", MIDI or Unknown");
    command->add_option("--instrument", filters.instrument, "Instrument, e.g. Kick (spellings like hi-hat are folded)");
    command->add_option("--bpm", filters.bpm, "Tempo within 10 BPM of this; closest first unless --sort");
    command->add_option("--key", filters.key, "Musical key, e.g. Am, \"A minor\", C");
    // One word per --genre, so that a search text after it is not taken for a second genre.
    command->add_option("--genre", filters.genres, "Genre; repeat for any of several")->allow_extra_args(false);
    command->add_option("--folder", filters.folder, "Only samples below this folder");
    command->add_option("--playlist", filters.playlistId, "Only members of this playlist (id)");
    command->add_flag("--favorites", filters.favorites, "Only favorites");
    command->add_flag("--no-midi", filters.noMidi, "Leave out MIDI files");
}

// Validates the arguments that the index cannot judge, before the index is opened.
SearchQuery toQuery(const FilterOptions& filters)
{
    SearchQuery query;
    query.text = filters.text;
    if (!filters.type.empty()) query.type = toString(typeArgument(filters.type));
    query.instrument = filters.instrument;
    query.bpm = filters.bpm;
    query.key = filters.key;
    query.genres = filters.genres;
    if (!filters.folder.empty()) query.folder = folderArgument(filters.folder);
    query.playlistId = filters.playlistId;
    query.favoritesOnly = filters.favorites;
    query.excludeMidi = filters.noMidi;
    return query;
}

// An unknown playlist would just match nothing; say so instead.
void checkPlaylist(CliContext& context, const SearchQuery& query)
{
    // Only that it exists: counting every playlist's members costs a search's time.
    if (query.playlistId) findPlaylist(context.database(), *query.playlistId, Counts::Skipped);
}

// Number of UTF-8 characters, counting each lead byte, so that accented names pad right.
std::size_t characters(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// Cut to `width` characters (never inside a UTF-8 sequence) with "…" marking the cut.
std::string fitted(const std::string& text, std::size_t width)
{
    if (characters(text) <= width) return text;
    std::size_t kept = 0;
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        if ((static_cast<unsigned char>(text[end]) & 0xC0) != 0x80 && kept++ == width - 1) break;
    }
    return text.substr(0, end) + "\xE2\x80\xA6";
}

std::string column(const std::string& text, std::size_t width)
{
    std::string cell = fitted(text.empty() ? "-" : text, width);
    cell.append(width - characters(cell) + 2, ' ');
    return cell;
}

void printTable(std::ostream& out, const std::vector<Sample>& rows)
{
    out << std::setw(7) << "ID" << "  " << column("TYPE", 8) << std::setw(3) << "BPM" << "  " << column("KEY", 8)
        << column("INSTRUMENT", 12) << "FILENAME\n";
    for (const auto& sample : rows) {
        const std::string key = sample.musicalKey == "None" ? std::string() : sample.musicalKey;
        out << std::setw(7) << sample.id << "  " << column(toString(sample.type), 8) << std::setw(3)
            << (sample.bpm ? std::to_string(*sample.bpm) : "-") << "  " << column(key, 8)
            << column(sample.instrument, 12) << fitted(sample.filename, 60) << '\n';
    }
}

void runSearch(CliContext& context, const SearchOptions& options)
{
    if (options.page < 1) throw UserError("Pages are numbered from 1");
    SearchQuery query = toQuery(options.filters);
    const bool descending = options.descending;
    if (options.sort == "filename") {
        query.sortByFilename = true;
        query.filenameDescending = descending;
    } else if (options.sort == "duration") {
        query.sortByDuration = true;
        query.durationDescending = descending;
    } else if (options.sort == "bpm") {
        query.sortByBpm = true;
        query.bpmDescending = descending;
    }

    Database& db = context.database();
    checkPlaylist(context, query);
    const std::int64_t count = db.countMatching(query);
    const std::int64_t pageCount = std::max<std::int64_t>(1, (count + options.pageSize - 1) / options.pageSize);
    // A page past the end is empty rather than an error, so that a loop over pages can stop
    // on it. Checked before multiplying: the page number is the caller's and may be huge.
    std::vector<Sample> rows;
    if (count > 0 && options.page <= pageCount) {
        const std::int64_t offset = (options.page - 1) * options.pageSize;
        query.limit = options.pageSize;
        query.offset = static_cast<std::int32_t>(offset);
        rows = db.search(query);
    }

    if (context.json) {
        nlohmann::ordered_json document;
        document["count"] = count;
        document["page"] = options.page;
        document["pageCount"] = pageCount;
        auto records = nlohmann::ordered_json::array();
        for (const auto& sample : rows) records.push_back(toJson(sample));
        document["rows"] = std::move(records);
        context.printJson(document);
        return;
    }
    context.out << count << (count == 1 ? " sample" : " samples") << ", page " << options.page << " of "
                << pageCount << '\n';
    if (!rows.empty()) printTable(context.out, rows);
}

void runValues(CliContext& context, const ValuesOptions& options)
{
    const SearchQuery query = toQuery(options.filters);
    checkPlaylist(context, query);
    // "None" and "Unknown" stand for no value; the application's menus leave them out too.
    auto values = context.database().distinctFilterValues(options.field, query);
    std::erase_if(values, [](const std::string& value) { return value == "None" || value == "Unknown"; });
    if (context.json) {
        nlohmann::ordered_json document;
        document["field"] = options.field;
        putTexts(document, "values", values);
        context.printJson(document);
        return;
    }
    for (const auto& value : values) context.out << value << '\n';
}

} // namespace

void addSearchCommands(CLI::App& app, CliContext& context)
{
    auto search = std::make_shared<SearchOptions>();
    auto* searchCommand = app.add_subcommand("search", "Find samples by text and filters, one page at a time");
    addFilterOptions(searchCommand, search->filters);
    auto* sort = searchCommand->add_option("--sort", search->sort, "Order by filename, duration or bpm")
                     ->check(CLI::IsMember({"filename", "duration", "bpm"}));
    searchCommand->add_flag("--desc", search->descending, "Reverse the --sort order")->needs(sort);
    searchCommand->add_option("--page", search->page, "Page to show, counting from 1 (default 1)");
    searchCommand->add_option("--page-size", search->pageSize, "Samples per page (default 50)")
        ->check(CLI::Range(1, 100000));
    searchCommand->callback([&context, search] { runSearch(context, *search); });

    auto values = std::make_shared<ValuesOptions>();
    auto* valuesCommand = app.add_subcommand(
        "values", "List the distinct instruments, genres or keys among the samples the filters match");
    valuesCommand->add_option("FIELD", values->field, "instrument, genre or key")
        ->required()
        ->check(CLI::IsMember({"instrument", "genre", "key"}));
    addFilterOptions(valuesCommand, values->filters);
    valuesCommand->callback([&context, values] { runValues(context, *values); });
}

} // namespace qv::cli
