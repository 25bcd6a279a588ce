#include "order/locale.h"

#include "coll/rules.h"
#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qbgl::compiler {

namespace {

constexpr int LONGEST_CHARACTER = 4;
constexpr int BY_TABLES = 1; // a kind of collation

// The object that the library finds in the place of the default one.
std::string object_to_load;
FILE *open_object(const char *name, const char *mode) {
    return std::fopen(std::string_view(name).ends_with("/default.lco") ? object_to_load.c_str() : name, mode);
}

gl_locale *load(const std::filesystem::path &object) {
    gl_locale *locale = nullptr;
    object_to_load = object.string();
    gl_setextfunc(nullptr, GL_EXT_FOPEN, reinterpret_cast<gl_extfunc>(open_object));
    const int result = gl_createlocale2_4(&locale, "/");
    gl_setextfunc(nullptr, GL_EXT_FOPEN, nullptr);
    if (result == 0) return locale;
    const int error = locale->error;
    gl_lc_unload(locale);
    // A damaged table can ask for more memory than there is.
    const char *const otherwise = error == GL_ENOMEM ? "too large for the memory" : "no locale object of this version";
    throw DataError(fmt::format("{}: damaged, or {} (error {})", object.string(), otherwise, error));
}

void sort_unique(std::vector<std::string> &texts) {
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
}

// Tries all byte sequences, longer ones only behind bytes that begin a character.
void add_characters(const gl_multi &table, std::string &bytes, std::vector<std::string> &characters) {
    bytes.push_back('\0');
    for (int byte = 0; byte < 256; ++byte) {
        bytes.back() = static_cast<char>(byte);
        struct {
            int32_t error;
        } context{0};
        const void *entry = _gl_retrieve_text_multi_limit_nl(bytes.data(), &table, static_cast<int>(bytes.size()), &context);
        const bool is_nul = bytes.find_first_not_of('\0') == std::string::npos;
        if (entry != nullptr && !is_nul) characters.push_back(bytes);
        if (entry == nullptr && context.error == GL_EINVAL && bytes.size() < LONGEST_CHARACTER)
            add_characters(table, bytes, characters);
    }
    bytes.pop_back();
}

} // namespace

OrderLocale::OrderLocale(const std::filesystem::path &object) : handle_(load(object), gl_lc_unload) {}

bool OrderLocale::by_tables() const { return rules().kind == BY_TABLES && !by_code_values(); }

std::vector<std::string> OrderLocale::characters() const {
    std::vector<std::string> result;
    std::string bytes;
    add_characters(*handle_->ctype.codeset_table, bytes, result);
    sort_unique(result);
    return result;
}

std::string OrderLocale::encoded(const gl_wchar *chars, int32_t count) const {
    std::string text;
    char bytes[LONGEST_CHARACTER];
    for (int32_t i = 0; i < count; ++i) {
        const int length = gl_full_wctomb(handle_.get(), bytes, chars[i]);
        if (length < 1) return "";
        text.append(bytes, static_cast<size_t>(length));
    }
    return is_text(text) ? text : "";
}

std::vector<std::string> OrderLocale::elements() const {
    std::vector<std::string> result;
    const gl_collating_element *const first = rules().elements, *const end = first + rules().element_count;
    const auto begins = [](const gl_collating_element &a, const gl_collating_element &b) {
        return a.count <= b.count && std::equal(a.chars, a.chars + a.count, b.chars);
    };
    for (const gl_collating_element *element = first; element != end; ++element) {
        const bool hidden = std::any_of(first, element, [&](const auto &earlier) { return begins(earlier, *element); });
        if (std::string text = encoded(element->chars, element->count); !hidden && !text.empty()) result.push_back(std::move(text));
    }
    sort_unique(result);
    return result;
}

std::vector<std::string> OrderLocale::expansions() const {
    std::vector<std::string> result;
    for (int32_t row = 0; rules().pass_count > 0 && row <= rules().row_count; ++row) {
        const uint16_t weight = rules().weights[0][row];
        if (!is_expansion(weight)) continue;
        const gl_expansion &expansion = rules().expansions[weight & WEIGHT_VALUE];
        if (std::string text = encoded(expansion.chars, expansion.count); !text.empty()) result.push_back(std::move(text));
    }
    sort_unique(result);
    return result;
}

size_t OrderLocale::character_length(std::string_view text) const {
    struct {
        int32_t error;
    } context{0};
    int length = 0;
    const int limit = static_cast<int>(std::min<size_t>(text.size(), LONGEST_CHARACTER));
    const void *entry = _gl_retrieve_text_multi_limit(text.data(), handle_->ctype.codeset_table, limit, &length, &context);
    return entry != nullptr ? static_cast<size_t>(length) : 0;
}

bool OrderLocale::is_text(std::string_view text) const {
    while (!text.empty()) {
        const size_t length = character_length(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

int OrderLocale::compare(const std::string &a, const std::string &b) const {
    handle_->error = 0;
    const int result = gl_mbfscoll(handle_.get(), a.c_str(), static_cast<int>(a.size()), b.c_str(), static_cast<int>(b.size()));
    if (handle_->error != 0) throw SystemError(fmt::format("texts cannot be compared (error {})", handle_->error));
    return result;
}

std::string OrderLocale::key(const std::string &text) const {
    const std::string terminated = text + std::string(LONGEST_CHARACTER, '\0');
    const int length = gl_mbsxfrm(handle_.get(), nullptr, terminated.c_str(), 0);
    if (length < 0) throw SystemError(fmt::format("a text has no sort key (error {})", handle_->error));
    std::string result(static_cast<size_t>(length) + 1, '\0');
    gl_mbsxfrm(handle_.get(), result.data(), terminated.c_str(), length + 1);
    result.resize(static_cast<size_t>(length));
    return result;
}

} // namespace qbgl::compiler
