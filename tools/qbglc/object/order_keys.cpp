#include "object/order_keys.h"

#include "coll/fingerprint.h"
#include "coll/section.h"
#include "object/numbers.h"
#include "order/parts.h"
#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace qbgl::compiler {

namespace {

struct Unload {
    void operator()(gl_locale *locale) const { gl_lc_unload(locale); }
};
struct Close {
    void operator()(FILE *stream) const { std::fclose(stream); }
};

std::unique_ptr<gl_locale, Unload> read_section(const std::string &section) {
    gl_locale *locale = nullptr;
    if (gl_create_null_locale_4(&locale) != 0) throw std::bad_alloc();
    std::unique_ptr<gl_locale, Unload> handle(locale);
    const std::unique_ptr<FILE, Close> stream(fmemopen(const_cast<char *>(section.data()), section.size(), "r"));
    if (stream == nullptr) throw std::bad_alloc();
    if (read_collate(stream.get(), locale) != 0) throw DataError("the library does not read these rules");
    return handle;
}

void put_tokens(std::string &text, std::span<const OrderToken> tokens, RunWriter &bytes, RunWriter &lengths) {
    std::vector<uint16_t> values(tokens.size());
    std::transform(tokens.begin(), tokens.end(), values.begin(),
                   [](OrderToken token) { return static_cast<uint16_t>(token.bytes[0] << 8 | token.bytes[1]); });
    bytes.put(text, values);
    std::transform(tokens.begin(), tokens.end(), values.begin(),
                   [](OrderToken token) { return static_cast<uint16_t>(token.flags << 2 | token.length); });
    lengths.put(text, values);
}

void put_runs(std::string &text, std::span<const CodeRun> runs) {
    put_number(text, static_cast<uint32_t>(runs.size()));
    CodeRun last = {0, 0};
    for (const CodeRun &run : runs) {
        put_difference(text, run.first, last.first);
        put_difference(text, run.place, last.place);
        last = run;
    }
}

void put_pass(std::string &text, const OrderParts &parts, int number) {
    const OrderPass &pass = parts.passes[number];
    const bool open = parts.open_at[number] != parts.tokens_at[number];
    for (const uint8_t value : {pass.low, pass.high, pass.run_most, pass.lesser, pass.greater, pass.greater_places})
        put_number(text, value);
    put_number(text, (pass.ascii_breaks ? PARTS_ASCII_BREAKS : 0) | (pass.ends_told ? PARTS_ENDS_TOLD : 0) |
                         (pass.lesser_told ? PARTS_LESSER_TOLD : 0) | (open ? PARTS_OPEN : 0));
    const uint32_t specials = parts.specials_at[number], specials_end = parts.specials_at[number + 1];
    put_number(text, specials_end - specials);
    uint32_t least = 0;
    for (uint32_t i = specials; i < specials_end; ++i) {
        const OrderSpecial &special = parts.specials[i];
        put_number(text, special.bytes);
        put_number(text, 2 * static_cast<uint32_t>(special.form) + (special.ranked ? 1 : 0));
        if (special.form == CodeForm::LISTED)
            put_runs(text, {&parts.code_runs[special.least], special.run_count});
        else
            put_difference(text, special.least, std::exchange(least, special.least));
    }
    const auto &ascii = parts.ascii[number];
    put_number(text, static_cast<uint32_t>(std::size(ascii) - static_cast<size_t>(std::count(ascii, std::end(ascii), 0))));
    for (uint32_t character = 0; character < std::size(ascii); ++character) {
        if (ascii[character] == 0) continue;
        put_number(text, character);
        put_number(text, ascii[character]);
    }
    const uint32_t count = parts.token_counts[number];
    put_number(text, count);
    RunWriter bytes, lengths;
    put_tokens(text, {&parts.tokens[parts.tokens_at[number]], count}, bytes, lengths);
    if (open) put_tokens(text, {&parts.tokens[parts.open_at[number]], count}, bytes, lengths);
    text += '\n';
}

} // namespace

std::string order_key_lines(const std::string &section) {
    const auto locale = read_section(section);
    const gl_collate_info &rules = locale->collate;
    if (rules.maps == nullptr || rules.pass_count == 0) return "";
    OrderParts parts;
    if (!make_order_parts(rules, parts)) throw std::bad_alloc();
    std::string text = fmt::format("{}{} {}\n", ORDER_PARTS_KEY, KEY_FORMAT, parts.utf8 ? 1 : 0);
    for (int pass = 0; pass < rules.pass_count; ++pass) put_pass(text, parts, pass);
    return text;
}

} // namespace qbgl::compiler
