// Text in pieces: whatever the cuts and the room, the result is that of one call; and every single call is as a plain model has it.
#include "support/files.h"

#include "cvlib/engine.h"
#include "cvlib/record.h"

#include <qbgl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <tuple>

namespace {

using namespace qbgl_test;
using namespace qbgl;
namespace fs = std::filesystem;

constexpr const char *UTF8 = "e01c";

struct Unload {
    void operator()(gl_cv *cd) const { gl_cv_unload(cd); }
};
using Conversion = std::unique_ptr<gl_cv, Unload>;

Conversion load(const std::string &source, const std::string &target) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    gl_cv *cd = nullptr;
    const int result = gl_iconv_open1(&cd, (source + target + ".cvo").c_str());
    Conversion conversion(cd);
    if (result != 0) throw std::runtime_error(source + target + ": cannot be loaded");
    return conversion;
}

bool is_stateful(const gl_cv &cd) { return cd.source_stateful != 0 || cd.target_stateful != 0; }

// The bytes of a unit where a side is little-endian, otherwise 0.
size_t source_unit(const gl_cv &cd) {
    return cd.convert == little_endian_unicode_source_miconv && !is_stateful(cd) ? static_cast<size_t>(cd.source_max_len) : 0;
}
size_t target_unit(const gl_cv &cd) {
    return cd.convert == little_endian_unicode_target_miconv && !is_stateful(cd) ? static_cast<size_t>(cd.target_max_len) : 0;
}

// Room that the longest character needs, with its shifts.
int longest(const gl_cv &cd) { return cd.target_max_len + cd.sequence_length[0] + cd.sequence_length[1]; }

struct Outcome {
    int result = 0, error = 0, room = 0, substituted = 0;
    size_t consumed = 0;
    std::string output;
    gl_cv_state state{};
};

auto fields(const Outcome &o) {
    return std::tie(o.result, o.error, o.room, o.substituted, o.consumed, o.state.source_shift, o.state.target_shift);
}

std::string reversed(std::string text) {
    std::reverse(text.begin(), text.end());
    return text;
}

// One call as the tables alone tell it: a character at a time, without lanes.
Outcome model(const gl_cv &cd, gl_cv_state state, std::string_view input, int room, bool to_terminator) {
    if (is_stateful(cd) && state.reset != 0) state.source_shift = state.target_shift = 0;
    Outcome o;
    o.room = room;
    o.state = state;
    const auto failed = [&](int error) {
        o.result = -1;
        o.error = error;
        return o;
    };
    while (o.consumed < input.size()) {
        std::string rest(input.substr(o.consumed, 4));
        const size_t unit = source_unit(cd);
        if (unit != 0) rest = rest.size() < unit ? std::string() : reversed(rest.substr(0, unit));
        int length = 0;
        const void *entry = _gl_retrieve_text_multi_limit(rest.data(), o.state.source_shift != 0 ? cd.shifted_table : cd.main_table,
                                                          static_cast<int>(rest.size()), &length, nullptr);
        if (entry == nullptr) return failed(0);
        const auto *record = static_cast<const uint8_t *>(entry);
        const uint8_t control = record[0];
        if (control < RECORD_TERMINATOR) return failed(GL_EILSEQ);
        if ((control & RECORD_SUBSTITUTED) != 0) o.substituted = 1;
        std::string bytes(reinterpret_cast<const char *>(record + 1), control & 7u);
        if (target_unit(cd) != 0) bytes = reversed(bytes);
        const bool ends = to_terminator && (control & RECORD_TERMINATOR) != 0;
        const int shift = (control & RECORD_TARGET_SHIFTED) != 0 ? 1 : 0;
        if (is_stateful(cd)) {
            const auto sequence = [&](int i) {
                return std::string(reinterpret_cast<const char *>(cd.sequence[i]), static_cast<size_t>(cd.sequence_length[i]));
            };
            if (shift != o.state.target_shift) bytes.insert(0, sequence(shift == 1 ? 0 : 1));
            const bool last = ends || o.consumed + static_cast<size_t>(length) == input.size();
            if (state.flush != 0 && shift == 1 && last) bytes += sequence(1);
        }
        // A four-byte unit is given room when two bytes are left.
        if (o.room < (target_unit(cd) == 4 ? 2 : static_cast<int>(bytes.size()))) return failed(GL_E2BIG);
        if (is_stateful(cd)) {
            o.state.target_shift = shift;
            if ((control & RECORD_TOGGLES_SOURCE) != 0) o.state.source_shift ^= 1;
        }
        o.output += bytes;
        o.room -= static_cast<int>(bytes.size());
        o.consumed += static_cast<size_t>(length);
        if (ends) break;
    }
    return o;
}

// A call with buffers of their own, so that one byte too far is seen: as the model has it, and measuring alike.
Outcome call(gl_cv &cd, gl_cv_state state, std::string_view input, int room, bool to_terminator = false) {
    const size_t slack = target_unit(cd) == 4 ? 2 : 0;
    const std::unique_ptr<char[]> source(new char[input.size()]), target(new char[static_cast<size_t>(room) + slack]);
    std::copy(input.begin(), input.end(), source.get());
    const auto run = [&](bool write) {
        Outcome o;
        o.room = room;
        o.state = state;
        const char *in = source.get();
        char *out = target.get();
        auto inleft = static_cast<int>(input.size());
        int *left = to_terminator ? nullptr : &inleft;
        cd.error = 0;
        o.result = write ? gl_cv_mconv(&cd, &o.state, &in, left, &out, &o.room, &o.substituted)
                         : gl_mconvlen(&cd, &o.state, &in, left, &o.room, &o.substituted);
        o.error = cd.error;
        o.consumed = static_cast<size_t>(in - source.get());
        o.output.assign(target.get(), out);
        EXPECT_TRUE(to_terminator || o.consumed + static_cast<size_t>(inleft) == input.size());
        return o;
    };
    const Outcome measured = run(false), expected = model(cd, state, input, room, to_terminator);
    Outcome written = run(true);
    EXPECT_EQ(fields(written), fields(expected));
    EXPECT_EQ(written.output, expected.output);
    EXPECT_EQ(fields(measured), fields(expected));
    EXPECT_TRUE(input.empty() || written.consumed > 0 || !written.output.empty() || written.result == -1) << "no progress";
    return written;
}

Outcome convert_all(gl_cv &cd, std::string_view input) {
    return call(cd, {1, 1, 0, 0}, input, static_cast<int>(input.size()) * 8 + 8);
}

// Converts by rooms of one size, however many calls that takes.
Outcome convert_by(gl_cv &cd, std::string_view input, int room, bool to_terminator) {
    Outcome all;
    all.state.flush = 1;
    for (;;) {
        const Outcome part = call(cd, all.state, input.substr(all.consumed), room, to_terminator);
        all.output += part.output;
        all.consumed += part.consumed;
        all.substituted |= part.substituted;
        all.state = part.state;
        if (part.result == 0) return all;
        EXPECT_EQ(part.error, GL_E2BIG);
        EXPECT_GT(part.consumed, 0u) << "no room for the first character of " << input.size() - all.consumed << " bytes";
        if (part.error != GL_E2BIG || part.consumed == 0) return all;
    }
}

std::vector<std::string> characters_of(const std::string &utf8) {
    std::vector<std::string> characters;
    for (const char byte : utf8) {
        if ((byte & 0xC0) != 0x80) characters.emplace_back();
        characters.back() += byte;
    }
    return characters;
}

// A text for a conversion, in its source codeset: of the example texts, the one of which both sides have the most.
std::string text_for(const std::string &source, gl_cv &cd) {
    constexpr size_t PROSE = 110, REST = 40;
    const Conversion encode = source == UTF8 ? nullptr : load(UTF8, source);
    const auto encoded = [&](const std::string &utf8) {
        if (!encode) return std::optional(utf8);
        const Outcome o = convert_all(*encode, utf8);
        return o.result == 0 ? std::optional(o.output) : std::nullopt;
    };
    std::vector<std::string> best;
    for (const auto &entry : fs::directory_iterator(QBGL_SOURCE_DIR "/examples/text")) {
        std::vector<std::string> kept;
        size_t letters = 0, best_letters = 0;
        for (const std::string &character : characters_of(read_file(entry.path()).substr(0, 1000))) {
            const auto bytes = encoded(character);
            if (!bytes || convert_all(cd, *bytes).result != 0) continue;
            kept.push_back(character);
            if (character.size() > 1) ++letters;
        }
        for (const std::string &character : best) best_letters += character.size() > 1 ? 1 : 0;
        if (best.empty() || letters > best_letters) best = kept;
    }
    std::string utf8;
    for (size_t i = 0; i < best.size() && i < PROSE; ++i) utf8 += best[i];
    for (const std::string &character : characters_of(" ASCII text that is longer than two blocks of sixteen; 12345 \\ ~\n")) {
        const auto bytes = encoded(character);
        if (bytes && convert_all(cd, *bytes).result == 0) utf8 += character;
    }
    for (size_t i = PROSE; i < best.size() && i < PROSE + REST; ++i) utf8 += best[i];
    return encoded(utf8).value_or("");
}

// Characters of each kind that a table has, as the source writes them in the initial state: one plain, unmapped, substituted, and a
// terminator; a sequence that is none; the beginning of one; the first and the last byte that is not copied.
struct Specials {
    std::vector<std::string> all;
    std::string terminator;

    explicit Specials(const gl_cv &cd) {
        const size_t unit = source_unit(cd);
        std::optional<std::string> plain, unmapped, substituted, none, begin, longer, changed;
        const auto look = [&](const std::string &key) {
            int length = 0;
            const auto *record = static_cast<const uint8_t *>(
                _gl_retrieve_text_multi_limit(key.data(), cd.main_table, static_cast<int>(key.size()), &length, nullptr));
            const std::string text = unit != 0 ? reversed(key) : key;
            if (record == nullptr) {
                (length == static_cast<int>(key.size()) && key.size() < 4 ? begin : none) = text;
                return;
            }
            if (static_cast<size_t>(length) != key.size()) return;
            if (record[0] < RECORD_TERMINATOR)
                unmapped = text;
            else if ((record[0] & RECORD_TERMINATOR) != 0)
                terminator = text;
            else if ((record[0] & RECORD_SUBSTITUTED) != 0)
                substituted = text;
            else if (record[0] >= RECORD_TOGGLES_SOURCE)
                longer = text; // a shift
            else if (text.size() == 1 && record[1] != static_cast<uint8_t>(text[0]))
                changed = text;
            else
                plain = text;
        };
        for (unsigned lead = 0; lead < 256; ++lead) {
            if (unit == 0) look({static_cast<char>(lead)});
            for (unsigned trail = unit == 0 ? 0x20 : 0; trail < 256; ++trail) {
                std::string key{static_cast<char>(lead), static_cast<char>(trail)};
                if (unit == 4) key.insert(0, 2, '\0');
                look(key);
                if (unit == 0 && lead >= 0x8E && lead < 0xF5 && trail >= 0x80)
                    for (const int third : {0x80, 0xA1, 0xBF}) look(key + static_cast<char>(third));
            }
        }
        for (const auto &special : {plain, unmapped, substituted, none, begin, longer, changed})
            if (special) all.push_back(*special);
        if (!terminator.empty()) all.push_back(terminator);
    }
};

using Pair = std::pair<std::string, std::string>;

// Source and target of every conversion of the tree, or of a sample.
std::vector<Pair> pairs() {
    std::vector<Pair> all, result;
    if (!fs::is_directory(QBGL_TREE "/vrn/cv9")) return result;
    for (const auto &entry : fs::directory_iterator(QBGL_TREE "/vrn/cv9")) {
        if (entry.is_symlink() || entry.path().extension() != ".cvo") continue;
        const std::string name = entry.path().stem().string();
        all.emplace_back(name.substr(0, 4), name.substr(4));
    }
    std::sort(all.begin(), all.end());
    for (size_t i = 0; i < all.size(); i += QBGL_TREE_SAMPLE) result.push_back(all[i]);
    return result;
}

class Split : public testing::TestWithParam<Pair> {
  protected:
    void SetUp() override {
        cd_ = load(GetParam().first, GetParam().second);
        text_ = text_for(GetParam().first, *cd_);
        whole_ = convert_all(*cd_, text_);
        ASSERT_EQ(whole_.result, 0);
        ASSERT_FALSE(text_.empty());
    }
    Conversion cd_;
    std::string text_;
    Outcome whole_;
};

TEST(SplitTree, IsThere) { ASSERT_FALSE(pairs().empty()) << "no conversions in " QBGL_TREE; }

TEST_P(Split, AtEveryByteAndForEveryRoom) {
    const int full = static_cast<int>(whole_.output.size());
    for (size_t cut = 0; cut <= text_.size(); ++cut) {
        const Outcome first = call(*cd_, {}, std::string_view(text_).substr(0, cut), full);
        EXPECT_EQ(first.error, 0);
        gl_cv_state state = first.state;
        state.flush = 1;
        const Outcome second =
            call(*cd_, state, std::string_view(text_).substr(first.consumed), full - static_cast<int>(first.output.size()));
        // A closing sequence can only follow a character: at the very end, there is none left.
        const bool unclosed = cut == text_.size() && first.state.target_shift != 0;
        const std::string close(reinterpret_cast<const char *>(cd_->sequence[1]),
                                unclosed ? static_cast<size_t>(cd_->sequence_length[1]) : 0);
        ASSERT_EQ(first.output + second.output + close, whole_.output) << "cut at " << cut;
        ASSERT_EQ(second.result, 0);
        ASSERT_EQ(first.substituted | second.substituted, whole_.substituted);
    }
    for (int room = longest(*cd_); room <= full + 1; ++room) {
        const Outcome all = convert_by(*cd_, text_, room, false);
        ASSERT_EQ(all.output, whole_.output) << "room " << room;
        ASSERT_EQ(all.substituted, whole_.substituted);
    }
}

TEST_P(Split, FlagsInAllCombinations) {
    if (!is_stateful(*cd_)) GTEST_SKIP() << "no states";
    const int full = static_cast<int>(whole_.output.size()) + 2 * longest(*cd_);
    for (int flags = 0; flags < 16; ++flags)
        for (size_t cut = 0; cut <= text_.size(); ++cut) {
            const Outcome first = call(*cd_, {flags & 1, flags >> 1 & 1, 0, 0}, std::string_view(text_).substr(0, cut), full);
            gl_cv_state state = first.state;
            state.reset = flags >> 2 & 1;
            state.flush = flags >> 3 & 1;
            call(*cd_, state, std::string_view(text_).substr(first.consumed), full);
            ASSERT_FALSE(HasFailure()) << "flags " << flags << ", cut at " << cut;
        }
}

TEST_P(Split, SpecialCharactersAtEveryPlaceOfABlock) {
    const Specials specials(*cd_);
    std::string letter = source_unit(*cd_) != 0 ? std::string("A\0\0\0", source_unit(*cd_)) : std::string("A");
    if (convert_all(*cd_, letter).result != 0) letter = text_.substr(0, text_.size() % 2 == 0 ? 2 : 1);
    for (const std::string &special : specials.all)
        for (int before = 0; before <= 34; ++before)
            for (const int after : {0, 1, 2, 3, 4, 12, 13, 15, 16, 17, 33}) {
                std::string input;
                for (int i = 0; i < before; ++i) input += letter;
                input += special;
                for (int i = 0; i < after; ++i) input += letter;
                const int enough = 8 * (before + 1 + after);
                const Outcome all = call(*cd_, {1, 1, 0, 0}, input, enough);
                const int used = enough - all.room;
                for (const int room : {used, used - 1, used / 2}) call(*cd_, {1, 1, 0, 0}, input, std::max(room, 0));
                ASSERT_FALSE(HasFailure()) << before << " before and " << after << " after a special character";
            }
}

TEST_P(Split, UpToTheTerminator) {
    const std::string terminator = Specials(*cd_).terminator;
    if (terminator.empty()) GTEST_SKIP() << "no terminator";
    const Outcome whole = convert_all(*cd_, text_ + terminator);
    const std::string input = text_ + terminator;
    ASSERT_EQ(call(*cd_, {1, 1, 0, 0}, input, static_cast<int>(whole.output.size()) + 1, true).output, whole.output);
    for (int room = longest(*cd_); room <= static_cast<int>(whole.output.size()); ++room)
        ASSERT_EQ(convert_by(*cd_, input, room, true).output, whole.output) << "room " << room;
    // Every suffix that begins with a character, so that the terminator meets each place of a block.
    if (cd_->source_stateful != 0) return;
    for (size_t at = 0; at < text_.size();) {
        const Outcome rest = call(*cd_, {1, 1, 0, 0}, std::string_view(input).substr(at), 8 * static_cast<int>(input.size()), true);
        ASSERT_EQ(rest.consumed, input.size() - at);
        const Outcome one = call(*cd_, {1, 1, 0, 0}, std::string_view(text_).substr(at), cd_->target_max_len + 2);
        ASSERT_GT(one.consumed, 0u);
        at += one.consumed;
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, Split, testing::ValuesIn(pairs()),
                         [](const auto &test) { return test.param.first + "_" + test.param.second; });

} // namespace
