#include "order/parts.h"

#include "coll/fingerprint.h"
#include "coll/rules.h"

#include <string.h>

namespace qbgl {

namespace {

constexpr uint32_t ASCII = 128, WEIGHTS = WEIGHT_VALUE + 1, LONGEST_TOKEN = sizeof OrderToken::bytes;

// One more than the greatest weight of a pass.
uint32_t weight_count(const gl_collate_info &rules, int pass) {
    uint32_t largest = WEIGHT_IGNORED;
    const uint16_t *const weights = rules.weights[pass];
    for (int32_t row = 0; row <= rules.row_count; ++row)
        largest = std::max<uint32_t>(largest, is_expansion(weights[row]) ? 0 : weights[row] & WEIGHT_VALUE);
    return largest + 1;
}

class PartsReader {
  public:
    PartsReader(ByteReader &in, const gl_collate_info &rules, OrderParts &parts) : in_(in), rules_(rules), parts_(parts) {}

    bool read() {
        uint32_t count = 0;
        for (int pass = 0; pass < rules_.pass_count; ++pass) count += weight_counts_[pass] = weight_count(rules_, pass);
        bytes_ = Owned<uint16_t>::allocate(WEIGHTS);
        lengths_ = Owned<uint16_t>::allocate(WEIGHTS);
        tokens_ = Owned<OrderToken>::allocate(WEIGHTS);
        if (!got(bytes_ && lengths_ && tokens_ && parts_.tokens.reserve(count))) return false;
        for (int pass = 0; pass < rules_.pass_count; ++pass)
            if (!read_pass(pass) || !in_.skip_newline()) return false;
        return got(parts_.specials.append(OrderSpecial{0, 0, CodeForm::SLOTS, false, 0})); // for a pass without any
    }
    bool starved() const { return starved_; }

  private:
    bool got(bool memory) {
        starved_ |= !memory;
        return memory;
    }

    template <class T> bool read_number(T &value, uint32_t most) {
        uint32_t number;
        if (!in_.number(number) || number > most) return false;
        value = static_cast<T>(number);
        return true;
    }

    bool read_pass(int pass) {
        OrderPass &made = parts_.passes[pass];
        uint32_t bits, count;
        for (uint8_t *const number : {&made.low, &made.high, &made.run_most, &made.lesser, &made.greater, &made.greater_places})
            if (!read_number(*number, UINT8_MAX)) return false;
        if (!read_number(bits, PARTS_ASCII_BREAKS | PARTS_ENDS_TOLD | PARTS_LESSER_TOLD | PARTS_OPEN)) return false;
        if (pass > 0 && made.run_most == 0) return false; // a long run would never be written
        made.ascii_breaks = (bits & PARTS_ASCII_BREAKS) != 0;
        made.ends_told = (bits & PARTS_ENDS_TOLD) != 0;
        made.lesser_told = (bits & PARTS_LESSER_TOLD) != 0;
        if (!read_specials(pass) || !read_ascii(pass)) return false;
        if (!read_number(count, WEIGHTS) || count < weight_counts_[pass]) return false;
        parts_.token_counts[pass] = count;
        parts_.tokens_at[pass] = parts_.open_at[pass] = parts_.tokens.size();
        RunReader bytes(in_);
        RunReader lengths(in_);
        if (!read_tokens(pass, bytes, lengths)) return false;
        if ((bits & PARTS_OPEN) == 0) return true;
        parts_.open_at[pass] = parts_.tokens.size();
        return read_tokens(pass, bytes, lengths);
    }

    bool read_specials(int pass) {
        uint32_t count, least = 0, form = 0;
        if (!read_number(count, WEIGHTS)) return false;
        parts_.specials_at[pass] = parts_.specials.size();
        for (uint32_t i = 0; i < count; ++i) {
            OrderSpecial special = {};
            if (!read_number(special.bytes, UINT16_MAX)) return false;
            if (!read_number(form, 2 * static_cast<uint32_t>(CodeForm::FOUR_BYTES) + 1)) return false;
            special.form = static_cast<CodeForm>(form / 2);
            special.ranked = form % 2 != 0;
            if (special.form == CodeForm::LISTED ? !read_runs(special) : !in_.difference(least)) return false;
            if (special.form != CodeForm::LISTED) special.least = least;
            if (!got(parts_.specials.append(special))) return false;
        }
        parts_.specials_at[pass + 1] = parts_.specials.size();
        return true;
    }

    // At least one: a place is looked for.
    bool read_runs(OrderSpecial &special) {
        special.least = parts_.code_runs.size();
        if (!in_.number(special.run_count) || special.run_count == 0) return false;
        CodeRun run = {0, 0};
        for (uint32_t i = 0; i < special.run_count; ++i) {
            if (!in_.difference(run.first) || !in_.difference(run.place)) return false;
            if (!got(parts_.code_runs.append(run))) return false;
        }
        return true;
    }

    bool read_ascii(int pass) {
        uint32_t count, character;
        if (!read_number(count, ASCII)) return false;
        for (uint32_t i = 0; i < count; ++i)
            if (!read_number(character, ASCII - 1) || !read_number(parts_.ascii[pass][character], UINT8_MAX)) return false;
        return true;
    }

    // A token without bytes has the number of a special weight; one that no character has, 0.
    bool read_tokens(int pass, RunReader &bytes, RunReader &lengths) {
        const uint32_t count = parts_.token_counts[pass];
        const uint32_t specials = std::max(parts_.specials_at[pass + 1] - parts_.specials_at[pass], 1U);
        constexpr uint32_t MOST_FLAGS = TOKEN_COMMON | TOKEN_BELOW | TOKEN_BREAKS;
        if (!bytes.read(bytes_.get(), count) || !lengths.read(lengths_.get(), count)) return false;
        for (uint32_t weight = 0; weight < count; ++weight) {
            const uint32_t length = lengths_[weight] & 3U, flags = lengths_[weight] >> 2U;
            const auto first = static_cast<uint8_t>(bytes_[weight] >> 8U), second = static_cast<uint8_t>(bytes_[weight]);
            if (length > LONGEST_TOKEN || flags > MOST_FLAGS || (length == 0 && (first | uint32_t{second} << 8) >= specials))
                return false;
            tokens_[weight] = {{first, second}, static_cast<uint8_t>(length), static_cast<uint8_t>(flags)};
        }
        return got(parts_.tokens.append(tokens_.get(), count));
    }

    ByteReader &in_;
    const gl_collate_info &rules_;
    OrderParts &parts_;
    Owned<uint16_t> bytes_, lengths_; // of the tokens of a list, and those
    Owned<OrderToken> tokens_;
    uint32_t weight_counts_[GL_MAX_PASSES] = {};
    bool starved_ = false;
};

// The key of the line, but for its first byte, which has been read.
bool skip_key(ByteReader &in) {
    for (const char *expected = ORDER_PARTS_KEY + 1; *expected != '\0'; ++expected)
        if (in.getc() != *expected) return false;
    return true;
}

} // namespace

PartsRead read_order_parts(ByteReader &in, const gl_collate_info &rules, OrderParts &parts) {
    const int byte = in.getc();
    if (byte != ORDER_PARTS_KEY[0]) {
        in.unget(byte);
        return PartsRead::NONE;
    }
    if (!skip_key(in)) return PartsRead::MALFORMED;
    if (in.integer() != KEY_FORMAT) return PartsRead::NONE; // what remains is passed over like any line before a marker
    const long utf8 = in.integer();
    if ((utf8 != 0 && utf8 != 1) || !in.skip_newline()) return PartsRead::MALFORMED;
    parts.utf8 = utf8 == 1;
    PartsReader reader(in, rules, parts);
    if (reader.read()) return PartsRead::DONE;
    return reader.starved() ? PartsRead::NO_MEMORY : PartsRead::MALFORMED;
}

} // namespace qbgl
