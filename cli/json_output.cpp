#include "json_output.h"

#include <array>

namespace qv::cli {

namespace {

// Length of the valid UTF-8 sequence starting at text[i], or 0 when it is invalid
// (overlong forms, surrogates and code points above U+10FFFF included).
std::size_t sequenceLength(std::string_view text, std::size_t i)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    if (lead < 0x80) return 1;
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (i + length > text.size()) return 0;
    if (byte(i + 1) < low || byte(i + 1) > high) return 0;
    for (std::size_t k = 2; k < length; ++k) {
        if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
    }
    return length;
}

std::string replaceInvalid(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = sequenceLength(text, i);
        if (length == 0) {
            out += "\xEF\xBF\xBD";
            ++i;
        } else {
            out.append(text.substr(i, length));
            i += length;
        }
    }
    return out;
}

std::string base64(std::string_view bytes)
{
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        const unsigned v = (static_cast<unsigned char>(bytes[i]) << 16) | (static_cast<unsigned char>(bytes[i + 1]) << 8)
            | static_cast<unsigned char>(bytes[i + 2]);
        for (int shift : {18, 12, 6, 0}) out += kAlphabet[(v >> shift) & 0x3F];
    }
    if (i < bytes.size()) {
        unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        if (i + 1 < bytes.size()) v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        out += kAlphabet[(v >> 18) & 0x3F];
        out += kAlphabet[(v >> 12) & 0x3F];
        out += i + 1 < bytes.size() ? kAlphabet[(v >> 6) & 0x3F] : '=';
        out += '=';
    }
    return out;
}

} // namespace

bool isValidUtf8(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = sequenceLength(text, i);
        if (length == 0) return false;
        i += length;
    }
    return true;
}

void putText(nlohmann::ordered_json& object, const std::string& key, std::string_view text)
{
    if (isValidUtf8(text)) {
        object[key] = std::string(text);
        return;
    }
    object[key] = replaceInvalid(text);
    object[key + "Base64"] = base64(text);
}

void putTexts(nlohmann::ordered_json& object, const std::string& key, const std::vector<std::string>& texts)
{
    auto values = nlohmann::ordered_json::array();
    auto exact = nlohmann::ordered_json::array();
    bool lossy = false;
    for (const auto& text : texts) {
        const bool valid = isValidUtf8(text);
        lossy = lossy || !valid;
        values.push_back(valid ? std::string(text) : replaceInvalid(text));
        exact.push_back(valid ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(base64(text)));
    }
    object[key] = std::move(values);
    if (lossy) object[key + "Base64"] = std::move(exact);
}

void putPairs(nlohmann::ordered_json& object, const std::string& key,
              const std::vector<std::pair<std::string, std::string>>& pairs)
{
    auto values = nlohmann::ordered_json::array();
    auto exact = nlohmann::ordered_json::array();
    bool lossy = false;
    for (const auto& [first, second] : pairs) {
        auto value = nlohmann::ordered_json::array();
        auto bytes = nlohmann::ordered_json::array();
        for (const std::string* text : {&first, &second}) {
            const bool valid = isValidUtf8(*text);
            lossy = lossy || !valid;
            value.push_back(valid ? *text : replaceInvalid(*text));
            bytes.push_back(valid ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(base64(*text)));
        }
        values.push_back(std::move(value));
        exact.push_back(std::move(bytes));
    }
    object[key] = std::move(values);
    if (lossy) object[key + "Base64"] = std::move(exact);
}

nlohmann::ordered_json toJson(const Sample& sample)
{
    nlohmann::ordered_json j;
    j["id"] = sample.id;
    putText(j, "path", sample.path);
    putText(j, "filename", sample.filename);
    putText(j, "libraryName", sample.libraryName);
    j["type"] = toString(sample.type);
    j["bpm"] = sample.bpm ? nlohmann::ordered_json(*sample.bpm) : nlohmann::ordered_json(nullptr);
    putText(j, "musicalKey", sample.musicalKey);
    putText(j, "instrument", sample.instrument);
    putText(j, "genre", sample.genre);
    putTexts(j, "genres", sample.genres);
    j["duration"] = sample.duration ? nlohmann::ordered_json(*sample.duration) : nlohmann::ordered_json(nullptr);
    j["fileSize"] = sample.fileSize;
    j["modifiedAt"] = sample.modifiedAt;
    j["favorite"] = sample.favorite;
    return j;
}

nlohmann::ordered_json toJson(const ScanStats& stats)
{
    nlohmann::ordered_json j;
    j["unchanged"] = stats.unchanged;
    j["added"] = stats.added;
    j["updated"] = stats.updated;
    j["removed"] = stats.removed;
    j["emptySkipped"] = stats.emptySkipped;
    putPairs(j, "moved", stats.moved);
    return j;
}

nlohmann::ordered_json toJson(const Library& library, bool available)
{
    nlohmann::ordered_json j;
    j["id"] = library.id;
    putText(j, "path", library.path);
    j["sampleCount"] = library.sampleCount;
    putText(j, "displayLabel", library.displayLabel);
    j["available"] = available;
    return j;
}

} // namespace qv::cli
