#include "order/key.h"

#include "coll/key_writer.h"
#include "order/code_values.h"
#include "order/entries.h"
#include "order/extension.h"
#include "order/say.h"
#include "order/thai.h"
#include "order/walk.h"

#include <array>
#include <string.h>
#include <utility>

using namespace qbgl;

namespace {

void put_number(KeySink &sink, uint32_t number, int bytes) {
    while (bytes-- > 0) sink.put(number >> (8 * bytes) & 0xFF);
}

uint32_t code_of(const gl_order_maps &rules, gl_wchar character) { return rules.utf8 ? scalar_value(character) : character; }

void put_special(KeySink &sink, const gl_order_maps &rules, const OrderPass &pass, OrderToken token, gl_wchar character) {
    const OrderSpecial &special = pass.specials[token.bytes[0] | token.bytes[1] << 8];
    if (character < 128 && !special.ranked && pass.ascii[character] != 0) {
        sink.put(pass.ascii[character]);
        return;
    }
    if (special.form == CodeForm::LISTED) {
        put_number(sink, special.bytes + listed_place(rules, special, scalar_value(character)), 2);
        return;
    }
    const uint32_t distance = (special.ranked ? character : code_of(rules, character)) - special.least;
    switch (special.form) {
    case CodeForm::LISTED: break;
    case CodeForm::SLOTS:
        put_number(sink, special.bytes + (distance >> 8), 2);
        put_number(sink, distance, 1);
        break;
    case CodeForm::LEADS:
        sink.put((special.bytes >> 8) + (distance >> 16));
        put_number(sink, distance, 2);
        break;
    case CodeForm::TWO_BYTES:
        put_number(sink, special.bytes, 2);
        put_number(sink, distance, 2);
        break;
    case CodeForm::FOUR_BYTES:
        put_number(sink, special.bytes, 2);
        put_number(sink, distance, 4);
        break;
    }
}

void put_token(KeySink &sink, const gl_order_maps &rules, const OrderPass &pass, OrderToken token, gl_wchar character) {
    if (token.length == 0) {
        put_special(sink, rules, pass, token, character);
        return;
    }
    sink.put(token.bytes[0]);
    if (token.length > 1) sink.put(token.bytes[1]);
}

// A weight of the first pass.
void put_first(KeySink &sink, const gl_order_maps &rules, OrderWeight weight) {
    if (weight.weight < WEIGHT_OF_UNKNOWN) {
        put_token(sink, rules, rules.passes[0], rules.passes[0].tokens[weight.weight], weight.character);
    } else if (weight.weight == WEIGHT_OF_UNKNOWN) {
        sink.put(OF_UNKNOWN);
        put_number(sink, code_of(rules, weight.character), rules.utf8 ? 3 : 4);
    } else {
        sink.put(OF_BYTE);
        sink.put(weight.character);
    }
}

template <class Walk> void write_first(KeySink &sink, const gl_order_maps &rules, Walk walk, bool part) {
    for (OrderWeight weight; !(part && sink.is_full()) && walk.next(weight);) put_first(sink, rules, weight);
}

// The same as far as it goes with the room for the longest bytes, by units that are kept: ordinary weights, and what is ignored.
size_t write_plain(KeySink &sink, const gl_order_maps &rules, const Unit *units, size_t count) {
    const gl_collation_maps &maps = *rules.maps;
    const OrderToken *const tokens = rules.passes[0].tokens;
    uint8_t *out = sink.position();
    count = std::min(count, sink.room() / sizeof OrderToken::bytes);
    size_t i = 0;
    for (; i < count && units[i].row < maps.unknown; ++i) {
        const uint16_t code = maps.code_of(units[i].row, 0);
        if (is_ordinary(code)) [[likely]] {
            const OrderToken token = tokens[code];
            memcpy(out, token.bytes, sizeof token.bytes);
            out += token.length;
        } else if (code != WEIGHT_IGNORED) {
            break;
        }
    }
    sink.advance(out);
    return i;
}

// Units of an array from its beginning on.
class ListedUnits {
  public:
    ListedUnits(const Unit *units, size_t count) : at_(units), end_(units + count) {}
    bool next(Unit &unit) {
        if (at_ == end_) return false;
        unit = *at_++;
        return true;
    }

  private:
    const Unit *at_, *end_;
};

void write_first(KeySink &sink, const gl_order_maps &rules, const Unit *units, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        i += write_plain(sink, rules, units + i, count - i);
        if (i < count) write_first(sink, rules, OrderWalk(*rules.maps, 0, ListedUnits(units + i, 1)), false);
    }
}

// The weights of a further pass, with the common ones counted, and those that a space has.
class RunWriter {
  public:
    RunWriter(KeySink &sink, const gl_order_maps &rules, int pass) : sink_(sink), rules_(rules), pass_(rules.passes[pass]) {}

    void put(OrderWeight weight) {
        if (weight.weight >= WEIGHT_OF_UNKNOWN) {
            end_runs(OF_EITHER);
            sink_.put(OF_EITHER);
            return;
        }
        const OrderToken token = (open_ ? pass_.open : pass_.tokens)[weight.weight];
        if ((token.flags & TOKEN_COMMON) != 0) {
            put_common(1);
            return;
        }
        const uint32_t first = first_byte(token, weight.character);
        if (first == pass_.lesser) {
            put_lesser();
            return;
        }
        if (!end_runs(first)) put_token(sink_, rules_, pass_, token, weight.character);
        open_ = open_ || (token.flags & TOKEN_BREAKS) != 0;
    }
    void put_common(size_t count) {
        if (lesser_ > 0 && count > 0) end_runs(pass_.high);
        run_ += count;
    }
    // What a unit has in the pass, in the order of the pass. `quiet` is what gl_order_maps tells of its row, from the pass on.
    void put_unit(const Unit &unit, unsigned quiet, int pass) {
        if ((quiet & 0x101) != 0 && !(open_ && (quiet & 1) != 0)) [[likely]] {
            put_common(quiet & 1);
            return;
        }
        const bool known = unit.row < rules_.maps->unknown;
        if (known && unit.character < 128 && pass_.ascii[unit.character] != 0 && !pass_.ascii_breaks) {
            const uint32_t byte = pass_.ascii[unit.character];
            if (byte == pass_.lesser) {
                put_lesser();
            } else {
                end_runs(byte);
                sink_.put(byte);
            }
            return;
        }
        const uint16_t code = known ? rules_.maps->code_of(unit.row, pass) : CODE_UNKNOWN;
        if (is_ordinary(code) || is_special(code)) [[likely]] {
            put({uint32_t{code} & WEIGHT_VALUE, rules_.maps->told_by(unit.row, unit.character)});
            return;
        }
        OrderWalk walk(*rules_.maps, pass, ListedUnits(&unit, 1));
        for (OrderWeight weight; walk.next(weight);) put(weight);
    }
    void end() {
        if (lesser_ > 0 ? pass_.lesser_told : run_ > 0 && pass_.ends_told) end_runs(0);
    }
    bool is_open() const { return open_; }

  private:
    // What a space has, which is said with a run before it.
    void put_lesser() {
        if (run_ == 0) {
            ++lesser_;
            return;
        }
        sink_.begin_pass();
        put_run(run_, pass_.run_most, true, pass_.low, COMBINED_PLACES, 1);
        run_ = 0;
    }
    // Which tells the place of a weight among the lesser and greater ones. Of characters that share a special weight only the
    // one-byte ones are told apart.
    uint32_t first_byte(OrderToken token, gl_wchar character) const {
        if (token.length != 0) return token.bytes[0];
        const OrderSpecial &special = pass_.specials[token.bytes[0] | token.bytes[1] << 8];
        if (character < 128 && pass_.ascii[character] != 0 && !special.ranked) return pass_.ascii[character];
        return special.bytes >> 8;
    }
    // A run of up to `most`, or more, before what is less or greater, with `step` places each, of which it takes one.
    void put_run(size_t count, uint32_t most, bool low, uint32_t begin, uint32_t step, uint32_t place) {
        const auto put = [&](uint32_t distance) { sink_.put(low ? begin + distance : begin - distance); };
        for (; count > most; count -= most) put(most * step);
        put((static_cast<uint32_t>(count) - 1) * step + place);
    }
    // Before a weight with a first byte, or the end of the pass, which is 0. True when the weight is said, too.
    bool end_runs(uint32_t next) {
        sink_.begin_pass();
        const uint32_t lesser = pass_.lesser, greater = pass_.greater;
        const size_t run = std::exchange(run_, 0), counted = std::exchange(lesser_, 0);
        if (counted > 0) {
            const bool low = next < lesser;
            put_run(counted, LESSER_MOST, low, low ? lesser : lesser + LESSER_PLACES - 1, 1, 0);
        } else if (run > 0 && next < pass_.low) {
            put_run(run, pass_.run_most, true, pass_.low, lesser != 0 ? COMBINED_PLACES : 1, lesser != 0 && next > lesser ? 2 : 0);
        } else if (run > 0) {
            const uint32_t place = greater == 0 || next > greater ? 0 : next == greater ? 1 : 2;
            put_run(run, pass_.run_most, false, pass_.high, pass_.greater_places, place);
            return place == 1;
        }
        return false;
    }

    KeySink &sink_;
    const gl_order_maps &rules_;
    const OrderPass &pass_;
    size_t run_ = 0, lesser_ = 0; // common weights, or weights that a space has
    bool open_ = false;
};

void write_further(KeySink &sink, const gl_order_maps &rules, int pass, Units &units, bool part) {
    RunWriter writer(sink, rules, pass);
    units.begin(rules.passes[pass].forward);
    for (const Unit *unit; !(part && sink.is_full()) && (unit = units.next()) != nullptr;)
        writer.put_unit(*unit, rules.quiet[unit->row] >> pass, pass);
    writer.end();
}

// The same for all further passes of units that are kept.
void write_listed(KeySink &sink, const gl_order_maps &rules, int passes, const Unit *units, size_t count) {
    uint16_t quiet[Units::ON_STACK];
    unsigned said = 0, common = UINT16_MAX; // passes in which a unit has more than a common weight, and in which each has one
    for (size_t i = 0; i < count; ++i) {
        quiet[i] = rules.quiet[units[i].row];
        said |= ~(quiet[i] | quiet[i] >> 8U);
        common &= quiet[i];
    }
    for (int pass = 1; pass < passes; ++pass) {
        sink.separate();
        if ((said >> pass & 1) == 0 && !rules.passes[pass].ends_told) continue;
        RunWriter writer(sink, rules, pass);
        if ((common >> pass & 1) != 0)
            writer.put_common(count);
        else if (rules.passes[pass].forward)
            for (size_t i = 0; i < count; ++i) writer.put_unit(units[i], quiet[i] >> static_cast<unsigned>(pass), pass);
        else
            for (size_t i = count; i-- > 0;) writer.put_unit(units[i], quiet[i] >> static_cast<unsigned>(pass), pass);
        writer.end();
    }
}

// What common_runs makes of the bits of the passes behind the first.
constexpr auto RUNS_OF = [] {
    std::array<uint32_t, 1U << (ENTRY_PASSES - 1)> runs{};
    for (unsigned bits = 0; bits < runs.size(); ++bits) runs[bits] = common_runs(bits << 1);
    return runs;
}();

// Texts of utf8 of up to so many bytes: one walk writes the first pass, and marks the units of which a further pass has more to say
// than one common weight. The passes look at those alone.
class ShortKey {
  public:
    // So that a byte can count the common weights: of these a character has no more than bytes, and the last one may end behind.
    static constexpr size_t MOST_BYTES = 254;

    ShortKey(KeySink &sink, const gl_locale *locale, const OrderEntries &entries, OrderText text, bool part)
        : sink_(sink), locale_(locale), rules_(*locale->order_maps), maps_(*rules_.maps), entries_(entries),
          reader_(locale, entries), text_(text), part_(part) {}

    // False where the text has more bytes, and is not done.
    bool write_first();
    void write_further(int passes);

  private:
    using Source = Decoder<OrderShape::CONTINUATION>;

    struct Mark {
        uint32_t runs;   // before the unit, as an entry has them
        uint16_t at;     // where it is in the text; of one without an entry, once it is read, behind it
        uint16_t scalar; // its character, where that has an entry, or NO_ENTRY
    };
    static constexpr uint16_t NO_ENTRY = OrderEntries::COUNT;
    static constexpr size_t SMALL_ROOM = 32;
    uint32_t write_triple(gl_wchar character, uint8_t *&out);
    uint32_t write_unit(KeySink &sink, const uint8_t *&in);
    void read_marked();
    bool said_by(size_t marked, int pass, OrderSaid &said) const;
    bool write_said(int pass);
    void write_pass(int pass);
    size_t behind(size_t marked) const {
        const Mark &mark = marks_[marked];
        return mark.at + (mark.scalar == NO_ENTRY ? 0U : mark.scalar < 0x80 ? 1U : 2U);
    }
    Unit unit_of(size_t marked) const {
        const uint32_t scalar = marks_[marked].scalar;
        return scalar == NO_ENTRY ? units_[marked] : Unit{entries_.of_key[scalar].row, utf8_character(scalar)};
    }
    unsigned said_of(uint32_t row) const { return said_passes(rules_.quiet[row], rules_.pass_count); }

    KeySink &sink_;
    const gl_locale *locale_;
    const gl_order_maps &rules_;
    const gl_collation_maps &maps_;
    const OrderEntries &entries_;
    EntryReader reader_;
    OrderText text_;
    bool part_;
    size_t marked_ = 0;
    uint32_t runs_ = 0; // of all units
    Mark marks_[MOST_BYTES];
    Unit units_[MOST_BYTES];                  // those that are marked
    uint8_t lists_[ENTRY_PASSES][MOST_BYTES]; // by pass: which of them it has more to say of
    size_t listed_[ENTRY_PASSES] = {};
};

// The row of a character of three bytes, for which there is room, and which has one weight or none in the first pass; or `unknown`.
inline uint32_t ShortKey::write_triple(gl_wchar character, uint8_t *&out) {
    const uint32_t row = maps_.row_of(character);
    if (row >= maps_.unknown || !reader_.is_character(character)) return maps_.unknown;
    const uint16_t code = maps_.code_of(row, 0);
    if (!is_special(code)) return maps_.unknown;
    const OrderToken token = rules_.passes[0].tokens[code & WEIGHT_VALUE];
    const OrderSpecial &special = rules_.passes[0].specials[token.bytes[0] | token.bytes[1] << 8];
    if (special.form == CodeForm::LISTED) {
        const uint32_t place = special.bytes + listed_place(rules_, special, continued_bits(character));
        *out++ = static_cast<uint8_t>(place >> 8);
        *out++ = static_cast<uint8_t>(place);
        return row;
    }
    if (special.form != CodeForm::SLOTS || special.ranked) return maps_.unknown;
    const uint32_t distance = continued_bits(character) - special.least, slot = special.bytes + (distance >> 8);
    *out++ = static_cast<uint8_t>(slot >> 8);
    *out++ = static_cast<uint8_t>(slot);
    *out++ = static_cast<uint8_t>(distance);
    return row;
}

// Writes the unit at a place, which comes to be behind it. Returns its row.
[[gnu::noinline]] uint32_t ShortKey::write_unit(KeySink &sink, const uint8_t *&in) {
    Source source(locale_, text_, static_cast<size_t>(in - text_.bytes));
    const Unit unit = take_unit(maps_, source);
    in = source.at();
    ::write_first(sink, rules_, OrderWalk(maps_, 0, ListedUnits(&unit, 1)), part_);
    return unit.row;
}

bool ShortKey::write_first() {
    constexpr ptrdiff_t LONGEST = 3; // of what is written without the sink
    uint8_t scratch[4 * SMALL_ROOM];
    const bool small = part_ && sink_.room() <= SMALL_ROOM; // into room for more, for as many bytes as there is room for
    KeySink scratch_sink(scratch, sizeof scratch), before = sink_;
    KeySink &sink = small ? scratch_sink : sink_;
    const OrderEntry *const entries = entries_.of_key;
    const OrderFirst *const firsts = rules_.firsts;
    const uint16_t *const quiet = rules_.quiet, *const pages = rules_.first_pages;
    const uint8_t *const begin = text_.bytes, *const end = begin + text_.length;
    const uint8_t *const last = begin + std::min(text_.length, MOST_BYTES); // no unit is begun from here on
    const uint8_t *in = begin;
    uint8_t *out = sink.position(), *const out_end = sink.end();
    const uint8_t *const full = small ? out + sink_.room() : part_ ? out_end : nullptr;
    const ptrdiff_t spare = small ? out_end - full + 1 : LONGEST;
    Mark *mark = marks_;
    uint32_t runs = 0;
    while (in < last && out != full) {
        for (; in < last && out_end - out >= spare;) {
            uint32_t scalar = in[0];
            const uint8_t *next = in + 1;
            if (scalar >= 0x80) {
                if (!EntryReader::is_pair(in, end)) break;
                scalar = EntryReader::pair(in);
                ++next;
            }
            const OrderEntry &entry = entries[scalar];
            if (entry.kind != EntryKind::PLAIN && (entry.kind == EntryKind::GENERAL || reader_.may_go_on(next, end))) [[unlikely]]
                break;
            memcpy(out, entry.bytes, 2);
            out += entry.length;
            *mark = {runs, static_cast<uint16_t>(in - begin), static_cast<uint16_t>(scalar)};
            mark += entry.said != 0 ? 1 : 0;
            runs += entry.runs;
            in = next;
        }
        const uint8_t *const behind_entries = in;
        for (; in < last && out_end - out >= spare && EntryReader::is_triple(in, end); in += 3) {
            const gl_wchar character = EntryReader::triple(in);
            const uint32_t scalar = continued_bits(character);
            const OrderFirst first = firsts[uint32_t{pages[scalar >> 6]} << 6 | (scalar & 0x3F)];
            if (first.length == OrderFirst::GENERAL || !reader_.is_character(character)) break;
            memcpy(out, first.bytes, 2);
            out += first.length;
            *mark = {runs, static_cast<uint16_t>(in - begin), NO_ENTRY};
            mark += first.further >= 0x10 ? 1 : 0;
            runs += RUNS_OF[first.further & 0xF];
        }
        if (in != behind_entries) continue;
        if (in >= last || (full != nullptr && out >= full)) break;
        *mark = {runs, static_cast<uint16_t>(in - begin), NO_ENTRY};
        uint32_t row = maps_.unknown;
        if (out_end - out >= LONGEST && EntryReader::is_triple(in, end)) {
            row = write_triple(EntryReader::triple(in), out);
            if (row != maps_.unknown) in += 3;
        }
        if (row == maps_.unknown) [[unlikely]] {
            sink.advance(out);
            const uint8_t *at = in; // for `in` to stay in a register
            row = write_unit(sink, at);
            in = at;
            out = sink.position();
        }
        runs += RUNS_OF[quiet[row] >> 1 & (std::size(RUNS_OF) - 1)];
        mark += said_passes(quiet[row], rules_.pass_count) != 0 ? 1 : 0;
        if (full != nullptr && out >= full) break;
    }
    if (in < end && !(full != nullptr && out >= full)) {
        sink_ = before;
        return false;
    }
    sink.advance(out);
    if (small) sink_.put_all(scratch, static_cast<size_t>(sink.written()));
    marked_ = static_cast<size_t>(mark - marks_);
    runs_ = runs;
    return true;
}

void ShortKey::read_marked() {
    size_t listed[ENTRY_PASSES] = {};
    for (size_t i = 0; i < marked_; ++i) {
        Mark &mark = marks_[i];
        unsigned said = 0;
        if (mark.scalar != NO_ENTRY) [[likely]] {
            said = entries_.of_key[mark.scalar].said;
        } else {
            Source source(locale_, text_, mark.at);
            units_[i] = take_unit(maps_, source);
            said = said_of(units_[i].row);
            mark.at = static_cast<uint16_t>(source.at() - text_.bytes);
        }
        for (int pass = 1; pass < ENTRY_PASSES; ++pass) {
            lists_[pass][listed[pass]] = static_cast<uint8_t>(i);
            listed[pass] += said >> pass & 1;
        }
    }
    std::copy_n(listed, ENTRY_PASSES, listed_);
}

void ShortKey::write_further(int passes) {
    read_marked();
    for (int pass = 1; pass < passes && !(part_ && sink_.is_full()); ++pass) {
        sink_.separate();
        if ((listed_[pass] > 0 || rules_.passes[pass].ends_told) && !write_said(pass)) write_pass(pass);
    }
}

// What a marked unit has in a pass that says something of it. False where the general way has to tell.
inline bool ShortKey::said_by(size_t marked, int pass, OrderSaid &said) const {
    const uint32_t scalar = marks_[marked].scalar;
    if (scalar == NO_ENTRY) [[unlikely]]
        return say_unit(rules_, units_[marked], pass, 2, said);
    said = entries_.said[scalar][pass - 1];
    return said.length != 0;
}

// A pass of which all marked units say single weights; false, and nothing done, where one does not. It is what write_pass would
// write, without a look at the room for each byte.
bool ShortKey::write_said(int pass) {
    constexpr size_t ROOM = 4 * MOST_BYTES + 8; // of each unit its weight and what ends before it; at most a byte for each of a run
    uint8_t buffer[ROOM];
    const OrderPass &made = rules_.passes[pass];
    const RunPlace *const places = made.runs;
    const uint32_t most = made.run_most, lesser_byte = made.lesser;
    const bool forward = made.forward;
    const bool in_place = sink_.room() >= ROOM;
    uint8_t *const begin = in_place ? sink_.position() : buffer, *out = begin + 1;
    const auto put_long = [&](uint32_t run, AfterRun behind) { // all of a run but what the byte for its end tells
        const RunPlace place = places[behind < AfterRun::BETWEEN_ABOVE ? 0 : static_cast<int>(AfterRun::MORE)];
        for (; run > most; run -= most) *out++ = static_cast<uint8_t>(place.first + place.step * static_cast<int>(most));
        return run;
    };
    const auto put_lesser = [&](uint32_t run, bool low) {
        const uint32_t end = low ? lesser_byte : lesser_byte + LESSER_PLACES - 1U;
        for (; run > LESSER_MOST; run -= LESSER_MOST) *out++ = static_cast<uint8_t>(low ? end + LESSER_MOST : end - LESSER_MOST);
        *out++ = static_cast<uint8_t>(low ? end + run - 1 : end - (run - 1));
    };
    const unsigned lane = 8 * (static_cast<unsigned>(pass) - 1);
    const uint32_t all = runs_ >> lane & 0xFF;
    const size_t count = listed_[pass];
    const uint8_t *next = forward ? lists_[pass] : lists_[pass] + count - 1;
    uint32_t before = forward ? 0 : all, run = 0, lesser = 0;
    for (size_t left = count; left > 0; --left, next += forward ? 1 : -1) {
        const size_t at = *next;
        const uint32_t here = marks_[at].runs >> lane & 0xFF;
        OrderSaid said;
        if (!said_by(at, pass, said)) return false;
        run += (forward ? here - before : before - here) + said.before;
        before = here;
        if (said.length == 0) [[unlikely]]
            continue;
        if (lesser != 0) [[unlikely]] {
            if (run != 0 || said.place != AfterRun::LESSER)
                put_lesser(std::exchange(lesser, 0), run == 0 && said.place == AfterRun::LESS);
        }
        if (run == 0 && said.place == AfterRun::LESSER) {
            ++lesser;
            run = said.after;
            continue;
        }
        if (run > most) [[unlikely]]
            run = put_long(run, said.place);
        const RunPlace place = places[static_cast<int>(said.place)];
        const bool runs = run != 0;
        *out = static_cast<uint8_t>(place.first + place.step * (static_cast<int>(run) - 1));
        out += runs ? 1 : 0;
        memcpy(out, said.bytes, 2);
        out += runs && place.says_next ? 0 : said.length;
        run = said.after;
    }
    run += forward ? all - before : before;
    if (lesser != 0 && run != 0) put_lesser(std::exchange(lesser, 0), false);
    if (lesser != 0 && made.lesser_told) put_lesser(lesser, true);
    if (run != 0 && made.ends_told) {
        run = put_long(run, AfterRun::LESS);
        *out++ = static_cast<uint8_t>(places[0].first + places[0].step * (static_cast<int>(run) - 1));
    }
    if (out == begin + 1) return true;
    *begin = sink_.take_separator();
    if (in_place)
        sink_.advance(out);
    else
        sink_.put_all(begin, static_cast<size_t>(out - begin));
    return true;
}

void ShortKey::write_pass(int pass) {
    const bool forward = rules_.passes[pass].forward;
    const int lane = 8 * (pass - 1);
    const auto of_pass = [lane](uint32_t runs) { return runs >> lane & 0xFF; };
    RunWriter writer(sink_, rules_, pass);
    uint32_t before = forward ? 0 : of_pass(runs_); // common weights up to the last unit that was written, in the order of the text
    for (size_t i = 0, count = listed_[pass]; i < count; ++i) {
        const size_t at = lists_[pass][forward ? i : count - 1 - i];
        const uint32_t here = of_pass(marks_[at].runs);
        writer.put_common(forward ? here - before : before - here);
        before = here;
        writer.put_unit(unit_of(at), 0, pass);
        if (!writer.is_open()) [[likely]]
            continue;
        // Only forward passes have weights that break.
        for (Source source(locale_, text_, behind(at)); !source.ended();) {
            const Unit unit = take_unit(maps_, source);
            writer.put_unit(unit, rules_.quiet[unit.row] >> pass, pass);
        }
        writer.end();
        return;
    }
    writer.put_common(forward ? of_pass(runs_) - before : before);
    writer.end();
}

void write_by_rules(KeySink &sink, const gl_locale *locale, OrderText text, int passes, bool part) {
    const gl_order_maps &rules = *locale->order_maps;
    const gl_collation_maps &maps = *rules.maps;
    passes = passes > 0 ? std::min(passes, rules.pass_count) : rules.pass_count;
    const OrderEntries *const entries = order_entries(locale);
    if (entries != nullptr && (part || text.length <= ShortKey::MOST_BYTES)) {
        ShortKey key(sink, locale, *entries, text, part);
        if (key.write_first()) {
            key.write_further(passes);
            return;
        }
    }
    const bool forward = rules.passes[0].forward;
    if (part && forward) {
        with_shape(order_shape(locale), [&]<OrderShape SHAPE>() {
            write_first(sink, rules, OrderWalk(maps, 0, DecodedUnits<SHAPE>(locale, maps, text, 0)), true);
        });
        if (passes == 1 || sink.is_full()) return;
    }
    Units units(locale, maps, text);
    const Unit *all = nullptr;
    size_t count = 0;
    const bool listed = units.all(all, count);
    if (!part && forward && listed)
        write_first(sink, rules, all, count);
    else if (!part || !forward)
        write_first(sink, rules, OrderWalk(maps, 0, KeptUnits(units, forward)), part);
    if (listed) {
        write_listed(sink, rules, passes, all, count);
        return;
    }
    for (int pass = 1; pass < passes && !(part && sink.is_full()); ++pass) {
        sink.separate();
        write_further(sink, rules, pass, units, part);
    }
}

} // namespace

void qbgl::write_first_pass(KeySink &sink, const gl_order_maps &rules, const Unit &unit) {
    write_first(sink, rules, OrderWalk(*rules.maps, 0, ListedUnits(&unit, 1)), false);
}

bool qbgl::write_order_key(KeySink &sink, gl_locale *locale, OrderText text, int passes, bool part) {
    if (order_rules(locale) != nullptr) {
        write_by_rules(sink, locale, text, passes, part);
    } else if (is_thai_order(locale)) {
        if (!write_as_thai(sink, locale, text, passes)) return false;
    } else if (is_extension_order(locale)) {
        if (!write_by_extension(sink, locale, text, passes)) return false;
    } else {
        write_code_values(sink, locale, text, part);
        return true;
    }
    if (passes != 0 || text.length == 0 || (part && sink.is_full())) return true;
    sink.separate();
    if (is_thai_order(locale))
        sink.put(PASS_SEPARATOR);
    else if (is_extension_order(locale))
        sink.put(EXTENSION_TEXT_SEPARATOR);
    else
        sink.begin_pass();
    sink.put_all(text.bytes, text.length);
    return true;
}

int gl_order_key(gl_locale *locale, const char *s, int len, int passes, unsigned char *key, int room) {
    KeySink sink(key, room);
    return write_order_key(sink, locale, order_text(locale, s, len), passes, false) ? sink.size() : -1;
}

int gl_order_key_part(gl_locale *locale, const char *s, int len, int passes, unsigned char *key, int room) {
    KeySink sink(key, room);
    return write_order_key(sink, locale, order_text(locale, s, len), passes, true) ? sink.written() : -1;
}

int gl_order_keys(gl_locale *locale, int count, const char *data, const int32_t *offsets, int passes, unsigned char *keys, int room,
                  int32_t *key_offsets) {
    key_offsets[0] = 0;
    for (int i = 0; i < count; ++i) {
        const int32_t at = key_offsets[i], left = room - at;
        const int size = gl_order_key(locale, data + offsets[i], std::max(offsets[i + 1] - offsets[i], 0), passes, keys + at, left);
        if (size < 0 || size > left || size == INT32_MAX) return i; // the greatest stands for any that is greater
        key_offsets[i + 1] = at + size;
    }
    return std::max(count, 0);
}
