#include "coll/rules.h"
#include "order/parts.h"
#include "order/say.h"

#include <string.h>

namespace qbgl {

namespace {

constexpr uint32_t ASCII = 128, FIRST_PAGE = 64, FIRST_PAGES = 0x10000 / FIRST_PAGE;

// By row, what the further passes have of it.
void write_quiet(const gl_collate_info &rules, const OrderParts &parts, const gl_order_maps &maps, uint16_t *quiet) {
    const uint32_t unknown = maps.maps->unknown;
    memset(quiet, 0, (unknown + 2) * sizeof *quiet);
    for (int pass = 1; pass < rules.pass_count; ++pass) {
        const auto common = static_cast<uint16_t>(1U << pass), none = static_cast<uint16_t>(0x100U << pass);
        const uint16_t *const weights = rules.weights[pass];
        const OrderToken *const tokens = maps.passes[pass].tokens;
        for (uint32_t row = 0; row < unknown; ++row) {
            const uint16_t weight = weights[row];
            if (weight == WEIGHT_IGNORED)
                quiet[row] |= none;
            else if (is_ordinary(weight) && weight < parts.token_counts[pass] &&
                     (tokens[weight].flags & (TOKEN_COMMON | TOKEN_BREAKS)) == TOKEN_COMMON)
                quiet[row] |= common;
        }
    }
}

// Whether a character is an element by itself.
bool is_element(const gl_collate_info &rules, uint32_t scalar) {
    const gl_wchar wc = utf8_character(scalar);
    return std::any_of(rules.elements, rules.elements + rules.element_count,
                       [wc](const gl_collating_element &element) { return element.count == 1 && element.chars[0] == wc; });
}

// What the first pass says of a character that is one alone; the passes behind it are left out.
OrderFirst first_of(const gl_order_maps &made, uint32_t scalar, uint32_t row) {
    const gl_collation_maps &maps = *made.maps;
    const uint16_t of_row = row < maps.unknown ? maps.code_of(row, 0) : 0;
    if (of_row == WEIGHT_IGNORED) return {};
    if (!is_ordinary(of_row) && !is_special(of_row)) return {{}, OrderFirst::GENERAL, 0};
    const OrderToken token = made.passes[0].tokens[of_row & WEIGHT_VALUE];
    if (token.length != 0) return {{token.bytes[0], token.bytes[1]}, token.length, 0};
    const OrderSpecial &special = made.passes[0].specials[token.bytes[0] | token.bytes[1] << 8];
    if (special.form != CodeForm::LISTED) return {{}, OrderFirst::GENERAL, 0};
    const uint32_t place = special.bytes + listed_place(made, special, scalar);
    return {{static_cast<uint8_t>(place >> 8), static_cast<uint8_t>(place)}, 2, 0};
}

// Numbers the pages of characters, but for those of which the general way has to tell all. Returns how many there are, with that of
// those others.
uint32_t number_first_pages(const gl_collation_maps &maps, const OrderParts &parts, uint16_t *pages) {
    const auto is_told = [&](uint32_t row) {
        if (row >= maps.unknown) return false;
        const uint16_t code = maps.code_of(row, 0);
        if (!is_special(code)) return code == WEIGHT_IGNORED || is_ordinary(code);
        const OrderToken token = parts.tokens[parts.tokens_at[0] + (code & WEIGHT_VALUE)];
        if (token.length != 0) return true; // an object may say so
        return parts.specials[parts.specials_at[0] + (token.bytes[0] | uint32_t{token.bytes[1]} << 8)].form == CodeForm::LISTED;
    };
    uint32_t count = 1;
    for (uint32_t page = OrderEntries::COUNT / FIRST_PAGE; page < FIRST_PAGES; ++page) {
        bool told = false;
        for (uint32_t i = 0; !told && i < FIRST_PAGE; ++i) told = is_told(maps.row_of(utf8_character(page * FIRST_PAGE + i)));
        pages[page] = static_cast<uint16_t>(told ? count++ : 0);
    }
    return count;
}

void write_firsts(const gl_order_maps &made, OrderFirst *firsts) {
    std::fill_n(firsts, FIRST_PAGE, OrderFirst{{}, OrderFirst::GENERAL, 0});
    for (uint32_t scalar = OrderEntries::COUNT; scalar < FIRST_PAGES * FIRST_PAGE; ++scalar) {
        const uint32_t page = made.first_pages[scalar / FIRST_PAGE];
        if (page == 0) continue;
        const uint32_t row = made.maps->row_of(utf8_character(scalar));
        OrderFirst &first = firsts[page * FIRST_PAGE + scalar % FIRST_PAGE];
        first = first_of(made, scalar, row);
        if (first.length == OrderFirst::GENERAL) continue;
        const unsigned quiet = made.quiet[row];
        first.further = static_cast<uint8_t>((quiet >> 1 & 0xF) | said_passes(quiet, made.pass_count) << 3);
    }
}

void write_entry(const gl_order_maps &made, OrderEntries &entries, uint32_t scalar, uint32_t row, bool begins) {
    const OrderFirst first = first_of(made, scalar, row);
    OrderEntry &entry = entries.of_key[scalar];
    entry = {0,
             static_cast<uint16_t>(row),
             {first.bytes[0], first.bytes[1]},
             first.length,
             0,
             begins ? EntryKind::BEGINS : EntryKind::PLAIN};
    const uint32_t most = scalar < ASCII ? 1 : 2;
    for (int pass = 1; pass < made.pass_count; ++pass) {
        if (made.maps->code_of(row, pass) == WEIGHT_IGNORED) continue;
        OrderSaid &said = entries.said[scalar][pass - 1];
        const bool told = say_unit(made, {row, utf8_character(scalar)}, pass, most, said);
        if (!told) said = {};
        if (!told || said.length != 0)
            entry.said |= static_cast<uint8_t>(1U << pass);
        else
            entry.runs |= uint32_t{said.before} << (8 * (pass - 1));
    }
}

void write_entries(const gl_collate_info &rules, const gl_order_maps &made, OrderEntries &entries) {
    const gl_collation_maps &maps = *made.maps;
    memset(static_cast<void *>(&entries), 0, sizeof entries);
    for (uint32_t scalar = 0; scalar < OrderEntries::COUNT; ++scalar) {
        uint32_t row = maps.row_of(utf8_character(scalar));
        const bool begins = row > maps.unknown;
        if (begins) row = maps.starts[row - maps.unknown - 1].row;
        const uint16_t of_row = row < maps.unknown && !(begins && is_element(rules, scalar)) ? maps.code_of(row, 0) : 0;
        if (!is_ordinary(of_row) && of_row != WEIGHT_IGNORED) continue;
        const uint16_t first = of_row == WEIGHT_IGNORED ? FIRST_IGNORED : of_row;
        entries.firsts[scalar] = static_cast<uint16_t>(first | (begins ? OrderEntries::BEGINS : 0));
        write_entry(made, entries, scalar, row, begins);
    }
    for (int32_t i = 0; i < rules.element_count; ++i) {
        const gl_collating_element &element = rules.elements[i];
        for (int32_t place = 0; place < element.count; ++place) {
            const uint32_t scalar = scalar_value(element.chars[place]);
            if (scalar >= OrderEntries::COUNT || !is_utf8_character(element.chars[place])) continue;
            if (place > 0) entries.parts[scalar] |= PART_FOLLOWING;
            if (place + 1 < element.count) entries.parts[scalar] |= PART_CONTINUED;
        }
    }
}

} // namespace

gl_order_maps *assemble_order_maps(const gl_collate_info &rules, const OrderParts &parts) {
    const auto passes = static_cast<uint32_t>(rules.pass_count);
    const uint32_t rows = rules.maps->unknown + 2;
    size_t size = sizeof(gl_order_maps);
    const auto place = [&size](size_t bytes) { return std::exchange(size, size + (bytes + 3) / 4 * 4); };
    const size_t tokens = place(parts.tokens.size() * sizeof(OrderToken)),
                 specials = place(parts.specials.size() * sizeof(OrderSpecial)),
                 code_runs = place(parts.code_runs.size() * sizeof(CodeRun)), ascii = place(passes * ASCII),
                 quiet = place(rows * sizeof(uint16_t));
    const bool with_entries = parts.utf8 && is_forward(rules, 0) && rules.pass_count <= ENTRY_PASSES;
    uint16_t pages[FIRST_PAGES] = {};
    const uint32_t page_count = with_entries ? number_first_pages(*rules.maps, parts, pages) : 0;
    const size_t entries = place(with_entries ? sizeof(OrderEntries) : 0),
                 firsts = place(page_count * FIRST_PAGE * sizeof(OrderFirst)), first_pages = place(with_entries ? sizeof pages : 0);
    auto *const block = static_cast<uint8_t *>(_gl_alloc_ptr(static_cast<uint32_t>(size)));
    if (block == nullptr) return nullptr;
    auto &made = *reinterpret_cast<gl_order_maps *>(block);
    made = {};
    memcpy(block + tokens, parts.tokens.begin(), parts.tokens.size() * sizeof(OrderToken));
    if (parts.specials.size() > 0) memcpy(block + specials, parts.specials.begin(), parts.specials.size() * sizeof(OrderSpecial));
    if (parts.code_runs.size() > 0) memcpy(block + code_runs, parts.code_runs.begin(), parts.code_runs.size() * sizeof(CodeRun));
    memcpy(block + ascii, parts.ascii, passes * ASCII);
    made.maps = rules.maps;
    made.pass_count = rules.pass_count;
    made.utf8 = parts.utf8;
    made.code_runs = reinterpret_cast<const CodeRun *>(block + code_runs);
    for (uint32_t pass = 0; pass < passes; ++pass) {
        const auto *const all = reinterpret_cast<const OrderToken *>(block + tokens);
        OrderPass &of_pass = made.passes[pass];
        of_pass = parts.passes[pass];
        of_pass.tokens = all + parts.tokens_at[pass];
        of_pass.open = all + parts.open_at[pass];
        of_pass.specials = reinterpret_cast<const OrderSpecial *>(block + specials) + parts.specials_at[pass];
        of_pass.ascii = block + ascii + pass * ASCII;
        of_pass.forward = is_forward(rules, static_cast<int>(pass));
        const int lesser_step = of_pass.lesser != 0 ? COMBINED_PLACES : 1;
        for (int i = 0; i < 3; ++i) {
            of_pass.runs[i] = {static_cast<uint8_t>(of_pass.low + i), static_cast<int8_t>(lesser_step), i == 1};
            of_pass.runs[5 - i] = {static_cast<uint8_t>(of_pass.high - i), static_cast<int8_t>(-of_pass.greater_places), i == 1};
        }
    }
    auto *const of_rows = reinterpret_cast<uint16_t *>(block + quiet);
    write_quiet(rules, parts, made, of_rows);
    made.quiet = of_rows;
    if (with_entries) {
        memcpy(block + first_pages, pages, sizeof pages);
        made.first_pages = reinterpret_cast<const uint16_t *>(block + first_pages);
        auto *const of_longer = reinterpret_cast<OrderFirst *>(block + firsts);
        write_firsts(made, of_longer);
        made.firsts = of_longer;
        auto *const of_characters = reinterpret_cast<OrderEntries *>(block + entries);
        write_entries(rules, made, *of_characters);
        made.entries = of_characters;
    }
    return &made;
}

gl_order_maps *build_order_maps(const gl_collate_info &rules) {
    OrderParts parts;
    return make_order_parts(rules, parts) ? assemble_order_maps(rules, parts) : nullptr;
}

void free_order_maps(const gl_order_maps *maps) {
    if (maps != nullptr && maps->owns_maps) _gl_free_ptr(const_cast<gl_collation_maps *>(maps->maps));
    _gl_free_ptr(const_cast<gl_order_maps *>(maps));
}

} // namespace qbgl
