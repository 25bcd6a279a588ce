// The order for indexes against its keys and the comparisons, on texts of characters, elements, and bytes that are none.
#include "support/collation_model.h"
#include "support/cost.h"
#include "support/faults.h"
#include "support/guarded.h"
#include "support/locale_object.h"
#include "support/tree_locale.h"

#include "order/maps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using namespace qbgl_test;
using std::string;
using Strings = std::vector<string>;

int sign(int value) { return (value > 0) - (value < 0); }
int sign_of(const string &a, const string &b) { return sign(a.compare(b)); } // of char: as unsigned bytes

// Whether every character is one, and the rules have it.
bool is_known(gl_locale *locale, const string &text) {
    const gl_collate_info &rules = locale->collate;
    const bool by_rules = rules.kind == GL_COLLATION_AS_SPECIFIED && rules.direct == 0 && rules.pass_count > 0;
    for (size_t at = 0; at < text.size();) {
        gl_wchar wc = 0;
        const int length = _qbx_gl_full_mbtowc(locale, &wc, text.data() + at, static_cast<int>(text.size() - at));
        if (length < 0 || (by_rules && _gl_retrieve_wchar_multi_nl(nullptr, wc, rules.character_table) == nullptr)) return false;
        at += static_cast<size_t>(std::max(length, gl_mb_loc_min(locale)));
    }
    return true;
}

// Texts that are often near each other.
class Texts {
  public:
    Texts(gl_locale *locale, unsigned seed) : random_(seed) {
        const int longest = locale->ctype.codeset_table != nullptr ? gl_mb_loc_max(locale) : 1;
        for (int i = 0; i < 20000 && characters_.size() < 300; ++i) {
            string bytes;
            if (longest == 4 && below(2) == 0)
                bytes = utf8_bytes(below(8) == 0 ? below(0x30000) : below(below(2) == 0 ? 0x250 : 0xA000));
            while (bytes.empty() || (bytes.size() < static_cast<size_t>(longest) && below(2) == 0))
                bytes += static_cast<char>(below(256));
            if (i % 4 == 0)
                bytes = string(static_cast<size_t>(gl_mb_loc_min(locale)) - 1, '\0') + static_cast<char>(0x20 + below(0x5F));
            const int size = static_cast<int>(bytes.size());
            if (gl_full_mblen(locale, bytes.data(), size) == size) characters_.push_back(bytes);
        }
        for (int i = 0; i < locale->collate.element_count; ++i) {
            const gl_collating_element &element = locale->collate.elements[i];
            string bytes;
            char one[4];
            for (int k = 0; k < element.count; ++k)
                bytes.append(one, static_cast<size_t>(std::max(gl_wctomb(locale, one, element.chars[k]), 0)));
            elements_.push_back(bytes);
        }
        if (characters_.empty()) characters_.push_back("a");
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    string piece() {
        const unsigned kind = below(20);
        if (kind < 4 && !elements_.empty()) return elements_[below(static_cast<unsigned>(elements_.size()))];
        const string &character = characters_[below(static_cast<unsigned>(characters_.size()))];
        if (kind < 16) return character;
        if (kind < 18) return character.substr(0, character.size() - below(2));
        return string(1, static_cast<char>(kind == 18 ? below(256) : 0));
    }
    string text(const Strings &alphabet) {
        string result;
        for (unsigned left = below(below(40) == 0 ? 400 : 9); left > 0; --left)
            result += alphabet[below(static_cast<unsigned>(alphabet.size()))];
        return result;
    }
    // Of one alphabet.
    std::pair<string, string> pair() {
        Strings alphabet(1 + below(6));
        for (string &each : alphabet) each = piece();
        string a = text(alphabet), b = text(alphabet);
        if (below(3) != 0 || a.empty()) return {a, b};
        b = a;
        const unsigned at = below(static_cast<unsigned>(a.size()));
        if (below(2) == 0)
            b[at] = static_cast<char>(b[at] ^ 0x20); // of a letter, the other case
        else
            b.replace(at, below(4), below(2) == 0 ? "" : alphabet[0]);
        return {a, b};
    }

    bool ends_in_element(const string &text) const {
        return std::ranges::any_of(elements_, [&](const string &element) {
            for (size_t length = 1; length < element.size(); ++length)
                if (text.ends_with(element.substr(0, length))) return true;
            return false;
        });
    }

  private:
    std::mt19937 random_;
    Strings characters_, elements_;
};

// Texts and keys beside pages that cannot be touched.
GuardedMemory &guarded() {
    static GuardedMemory memory(2);
    return memory;
}
const char *guarded_text(const string &text) {
    return static_cast<char *>(guarded().take(text.size(), Guard::behind, text.data()));
}

int compare(gl_locale *locale, const string &a, const string &b, int passes) {
    const char *const left = guarded_text(a), *const right = guarded_text(b);
    const int order = gl_order_compare(locale, left, static_cast<int>(a.size()), right, static_cast<int>(b.size()), passes);
    EXPECT_TRUE(guarded().clear());
    return order;
}
template <class Function> string key(Function function, gl_locale *locale, const string &text, int passes, size_t room) {
    auto *const key = static_cast<unsigned char *>(guarded().take(room, Guard::behind));
    const int size = function(locale, guarded_text(text), static_cast<int>(text.size()), passes, key, static_cast<int>(room));
    const string result(reinterpret_cast<const char *>(key), std::min(room, static_cast<size_t>(std::max(size, 0))));
    EXPECT_TRUE(guarded().clear());
    return result;
}
string whole_key(gl_locale *locale, const string &text, int passes) {
    const int size = gl_order_key(locale, text.data(), static_cast<int>(text.size()), passes, nullptr, 0);
    const string result = key(gl_order_key, locale, text, passes, static_cast<size_t>(size));
    EXPECT_EQ(result.size(), static_cast<size_t>(size));
    return result;
}

void check_pairs(gl_locale *locale, unsigned pairs) {
    const bool served = locale->collate.kind == GL_COLLATION_EXTENSION;
    Texts texts(locale, 1);
    for (unsigned i = 0; i < pairs && !testing::Test::HasFailure(); ++i) {
        const auto [a, b] = texts.pair();
        const int passes = static_cast<int>(texts.below(8)) - 1;
        SCOPED_TRACE(hexadecimal(a) + " " + hexadecimal(b) + " passes " + std::to_string(passes));
        locale->error = 0;
        const int order = compare(locale, a, b, passes);
        EXPECT_EQ(compare(locale, b, a, passes), -order);
        const string key_a = whole_key(locale, a, passes), key_b = whole_key(locale, b, passes);
        EXPECT_EQ(sign_of(key_a, key_b), order);
        EXPECT_EQ(locale->error, 0);
        EXPECT_TRUE(passes != 0 || (order == 0) == (a == b));
        if (passes == -1 && !served && is_known(locale, a) && is_known(locale, b)) {
            locale->error = 0;
            const int told = sign(gl_mbfscoll(locale, a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size())));
            EXPECT_EQ(locale->error, 0);
            EXPECT_TRUE(told == 0 || order == told);
        }
        const size_t room = texts.below(12);
        EXPECT_EQ(key(gl_order_key_part, locale, a, passes, room), key_a.substr(0, room));
        EXPECT_EQ(key(gl_order_key, locale, a, passes, room), key_a.substr(0, room));
        EXPECT_TRUE(passes <= 0 || whole_key(locale, a, -1).starts_with(key_a));
    }
}

class OrderOfTree : public testing::TestWithParam<const char *> {
  protected:
    OrderOfTree() {
        const bool named = string(GetParam()).find('@') != string::npos;
        const string spec = string(GetParam()) + (runs_served() && !named ? "@icu" : "");
        EXPECT_EQ(gl_lc_load(&locale_, spec.c_str(), nullptr, nullptr), 0) << spec;
    }
    ~OrderOfTree() override { gl_lc_unload(locale_); }

    string primary(const string &text) {
        const auto into = [&](unsigned char *out, size_t room) {
            return gl_mbsprimary(locale_, text.data(), static_cast<int>(text.size()), out, static_cast<int>(room));
        };
        const string expected = whole_key(locale_, text, 1);
        const size_t size = expected.size();
        auto *const key = static_cast<unsigned char *>(guarded().take(size, Guard::behind));
        EXPECT_EQ(into(key, size), static_cast<int>(size));
        EXPECT_EQ(string(reinterpret_cast<const char *>(key), size), expected);
        if (size > 0) {
            EXPECT_EQ(into(key, size - 1), -1);
            EXPECT_EQ(gl_errno(locale_), GL_E2BIG);
        }
        EXPECT_TRUE(guarded().clear());
        return expected;
    }
    // What gl_mbsbounds tells, in the room that it needs and in one byte less.
    void check_bounds(const string &prefix, const string &least, const string &greatest, int count) {
        const size_t room = std::max(least.size(), greatest.size());
        const auto take = [room] { return static_cast<unsigned char *>(guarded().take(room, Guard::behind)); };
        unsigned char *const first = take(), *const last = take();
        int first_size = -1, last_size = -1;
        const auto bounds = [&](size_t bytes) {
            return gl_mbsbounds(locale_, prefix.data(), static_cast<int>(prefix.size()), first, &first_size, last, &last_size,
                                static_cast<int>(bytes));
        };
        EXPECT_EQ(bounds(room), count);
        EXPECT_EQ(string(reinterpret_cast<char *>(first), static_cast<size_t>(first_size)), least);
        EXPECT_EQ(string(reinterpret_cast<char *>(last), static_cast<size_t>(last_size)), greatest);
        if (room > 0) {
            EXPECT_EQ(bounds(room - 1), -1);
            EXPECT_EQ(gl_errno(locale_), GL_E2BIG);
            EXPECT_EQ(first_size, static_cast<int>(room));
        }
        EXPECT_TRUE(guarded().clear());
    }

    const ScopedEnv tree_{"QUORBANEDIR", served_tree(QBGL_TREE)};
    gl_locale *locale_ = nullptr;
};

// What agrees with the order of keys is antisymmetric and transitive.
TEST_P(OrderOfTree, IsThatOfTheRulesAndOfTheKeys) { check_pairs(locale_, 3000); }

TEST_P(OrderOfTree, RangesHoldWhatBeginsWithAPrefix) {
    Texts texts(locale_, 2);
    const bool by_tables = locale_->collate.kind != GL_COLLATION_EXTENSION; // which has one range, of everything
    int within = 0;
    for (int i = 0; i < 1000 && !HasFailure(); ++i) {
        const auto [prefix, rest] = texts.pair();
        SCOPED_TRACE(hexadecimal(prefix));
        int32_t at[2 * GL_ORDER_RANGES + 1] = {};
        const auto ranges = [&, &prefix = prefix](unsigned char *bounds, int room) {
            return gl_order_ranges(locale_, prefix.data(), static_cast<int>(prefix.size()), bounds, room, at);
        };
        EXPECT_TRUE(ranges(nullptr, 0) > 0 || at[0] > 0);
        string bounds(static_cast<size_t>(at[0]), '\0');
        const int count = ranges(reinterpret_cast<unsigned char *>(bounds.data()), at[0]);
        ASSERT_GT(count, 0);
        const auto bound = [&](int k) { return bounds.substr(static_cast<size_t>(at[k]), static_cast<size_t>(at[k + 1] - at[k])); };
        for (int k = 1; k < 2 * count - 1; ++k) EXPECT_LE(bound(k - 1), bound(k));
        // The one range from the first to the last, and what letters alone say of both ends.
        const string least = bound(0), greatest = bound(2 * count - 1), letters = primary(prefix);
        check_bounds(prefix, least, greatest, count);
        for (const string &more : {string(), rest, texts.piece(), texts.piece() + rest}) {
            const string text = whole_key(locale_, prefix + more, static_cast<int>(texts.below(3)) - 1);
            bool inside = false;
            for (int k = 0; k < count; ++k)
                inside = inside || (text >= bound(2 * k) && (bound(2 * k + 1).empty() || text < bound(2 * k + 1)));
            EXPECT_TRUE(inside) << hexadecimal(more);
        }
        // Nothing else lies there, unless the prefix ends within a character or an element.
        const string other = whole_key(locale_, rest, -1);
        if (count == 1 && by_tables && is_known(locale_, prefix) && !texts.ends_in_element(prefix) && other >= least &&
            (greatest.empty() || other < greatest)) {
            EXPECT_TRUE(primary(rest).starts_with(letters)) << hexadecimal(rest);
            ++within;
        }
    }
    EXPECT_EQ(within > 0, by_tables);
}

// Of a piece again and again, against the like of it.
void order_long_texts(gl_locale *locale, const string &piece, size_t size) {
    string text;
    while (text.size() < size) text += piece;
    for (const int passes : {-1, 1}) {
        const string behind = text + "a", before = "a" + text;
        const auto order = [&](const string &a, const string &b) {
            return gl_order_compare(locale, a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), passes);
        };
        EXPECT_EQ(order(text, behind), -order(behind, text));
        EXPECT_EQ(order(behind, before), -order(before, behind));
        gl_mbscoll(locale, text.c_str(), behind.c_str());
        gl_mbscoll(locale, before.c_str(), behind.c_str());
        EXPECT_GE(gl_mbsxfrm(locale, nullptr, before.c_str(), 0), -1);
        unsigned char part[8];
        const auto length = static_cast<int>(text.size());
        const int whole = gl_order_key(locale, text.data(), length, passes, nullptr, 0);
        EXPECT_EQ(gl_order_key_part(locale, text.data(), length, passes, part, sizeof part), std::min(whole, 8));
    }
}

// Also where a walk goes back, or looks ahead, at each character: marks, beginnings of elements, expansions, bytes that are none.
TEST_P(OrderOfTree, TakesTimeThatFollowsTheLength) {
    constexpr size_t SIZE = 1 << 15;
    Strings pieces = {"-", "c", "dz", "\xC3\x9F", "\xCC\x81", "\xFF", "\xE4\xB8", "\xE3\x81\x8B\xE3\x83\xBC"};
    for (int32_t i = 0; i < std::min(locale_->collate.element_count, 3); ++i) {
        char bytes[4];
        const int size = gl_wctomb(locale_, bytes, locale_->collate.elements[i].chars[0]);
        if (size > 0) pieces.emplace_back(bytes, static_cast<size_t>(size));
    }
    for (const string &piece : pieces) {
        SCOPED_TRACE(hexadecimal(piece));
        expect_in_proportion(SIZE, [&](size_t size) { order_long_texts(locale_, piece, size); });
    }
}

INSTANTIATE_TEST_SUITE_P(, OrderOfTree,
                         testing::Values("de_de.utf8", "fr_ca.utf8", "fr_ca.8859-1", "cs_cz.utf8", "cs_cz.8859-2", "da_dk.utf8",
                                         "ja_jp.utf8", "ja_jp.sjis", "ja_jp.ujis", "zh_cn.utf8", "zh_cn.gb18030", "zh_tw.big5",
                                         "zh_tw.utf8@cmn", "ko_kr.utf8", "th_th.utf8", "th_th.utf8@dict", "hu_hu.8859-2",
                                         "ar_eg.utf8", "hi_in.utf8"));

// Rules as no compiler writes them: on any pass a character may have any weight, a special one or none, may be an expansion, or
// begin or be an element.
Collation any_rules(const Codeset &codeset, std::mt19937 &random) {
    const auto below = [&random](size_t limit) { return static_cast<unsigned>(random() % limit); };
    const unsigned passes = 1 + below(5), expansions = below(3), weights = below(2) == 0 ? 5 : 300;
    Collation rules{std::vector<unsigned>(passes, 1), {std::vector<unsigned>(passes, below(4))}};
    for (unsigned &direction : rules.directions) direction = below(5) == 0 ? 2 : 1;
    for (const Character &character : codeset.characters) {
        std::vector<unsigned> row(passes);
        for (unsigned &weight : row) {
            const unsigned kind = below(12);
            weight = kind < 3 ? unsigned{GL_WEIGHT_IGNORED} : kind == 3 ? GL_WEIGHT_SPECIAL | (weights + 2) : 2 + below(weights);
        }
        if (expansions > 0 && below(30) == 0) std::fill(row.begin(), row.end(), GL_WEIGHT_EXPANSION | below(expansions));
        rules.places.emplace_back(character.bytes, rules.rows.size());
        rules.rows.push_back(row);
    }
    const auto characters = [&](unsigned count, bool plain) {
        std::vector<gl_wchar> chosen;
        while (chosen.size() < count) {
            const auto &[bytes, row] = rules.places[below(below(2) == 0 ? 128 : rules.places.size())];
            const bool expands = (rules.rows[row][0] & (GL_WEIGHT_EXPANSION | GL_WEIGHT_SPECIAL)) == GL_WEIGHT_EXPANSION;
            if (!plain || !expands) chosen.push_back(wide(bytes));
        }
        return chosen;
    };
    for (unsigned i = 0; i < expansions; ++i) rules.expansions.push_back(characters(1 + below(3), true));
    for (unsigned i = below(4); i > 0; --i) {
        const unsigned row = 1 + below(rules.rows.size() - 1);
        rules.elements.push_back({characters(1 + below(3), false), row});
    }
    return rules;
}

// What the entries of characters are made for: all below U+0800, and others of their leads.
Codeset whole_utf8_codeset() {
    Codeset codeset{"utf8", {}};
    for (uint32_t scalar = 0; scalar < 0x5000; scalar = scalar == 0x7FF ? 0x4000 : scalar + 1)
        codeset.characters.push_back({utf8_bytes(scalar), 0});
    return codeset;
}

TEST(Order, HoldsUnderAnyRules) {
    const Codeset codesets[] = {single_byte_codeset(), sjis_codeset(),      whole_utf8_codeset(), eucjp_codeset(),
                                two_byte_codeset(),    four_byte_codeset(), euctw_codeset(),      gb18030_codeset()};
    std::mt19937 random(1);
    unsigned ordered = 0;
    for (unsigned i = 0; i < 320; ++i) {
        SCOPED_TRACE(i);
        const Codeset &codeset = codesets[i % std::size(codesets)];
        const bool by_pass = i / std::size(codesets) % 2 != 0; // what is ignored or an expansion is so on some passes
        Collation rules = by_pass ? RandomRules(codeset, random, true).collation : any_rules(codeset, random);
        rules.direct = i % 10 == 0; // by code values
        const Locale locale = load_locale(LocaleObject(codeset, rules.text()));
        if (locale->error != 0 || (locale->order_maps == nullptr && !rules.direct)) continue;
        ++ordered;
        check_pairs(locale.get(), 200);
    }
    EXPECT_GT(ordered, 100U);
}

// A backward pass walks through long texts in one block, in parts of it, or from the beginning again and again.
TEST(Order, IsTheSameWithoutMemory) {
    Faults faults;
    Handle owner = load("fr_ca.utf8");
    gl_locale *const locale = owner.get();
    string a, b;
    for (int i = 0; i < 1500; ++i) a += i % 7 == 0 ? "\xC3\xA9" : "e";
    b = a;
    b.replace(700, 1, "\xC3\xA9");
    const int order = compare(locale, a, b, -1);
    const string of_a = whole_key(locale, a, -1);
    for (const Lasting lasting : {Lasting::once, Lasting::on})
        for (unsigned nth = 1; nth < 8; ++nth) {
            faults.arm(Operation::allocate, nth, lasting);
            EXPECT_EQ(compare(locale, a, b, -1), order);
            EXPECT_EQ(whole_key(locale, a, -1), of_a);
        }
    owner.reset();
    EXPECT_EQ(faults.blocks(), 0U);
}

// An object that tells nothing of its keys, or of another form of them, has the same ones; what does not fit its rules is refused.
TEST(Order, HasTheKeysThatAnObjectTells) {
    const ScopedEnv tree("QUORBANEDIR", QBGL_TREE);
    const TempDir directory;
    const string object = read_file(QBGL_TREE "/vrn/lc11/cs_cz/e01c.lco"), mark = "KEYS 1 1\n", all_tokens = "`P0"; // 16384
    const size_t at = object.find(mark), end = object.find("###", at), line = at + mark.size();
    ASSERT_NE(at, string::npos);
    const string first_pass = object.substr(line, object.find('\n', line) + 1 - line);
    const auto load = [&](const string &keys) {
        write_file(directory.path() / "x.lco", object.substr(0, at) + keys + object.substr(end));
        gl_locale *locale = nullptr;
        gl_lc_load(&locale, "x.lco", nullptr, directory.path().c_str());
        return Locale(locale, gl_lc_unload);
    };
    const Locale told = load(object.substr(at, end - at));
    for (const string &keys : {string(), "KEYS 2 1\nanything\n" + string(300, 'x') + '\n'}) {
        const Locale made = load(keys);
        EXPECT_EQ(made->error, 0);
        for (const char *text :
             {"P\xC5\x99\xC3\xADli\xC5\xA1 \xC5\xBElu\xC5\xA5ou\xC4\x8Dk\xC3\xBD k\xC5\xAF\xC5\x88, chata (co-op)",
              "\xE4\xB8\x80 \xF0\x9F\x98\x80\xFF"})
            EXPECT_EQ(whole_key(made.get(), text, -1), whole_key(told.get(), text, -1));
    }
    for (const string &keys : {"KEYX 1 1\n" + first_pass, "KEYS 1 2\n" + first_pass, mark + first_pass, mark + "000000@",
                               mark + "0000000002",                                     // fewer tokens than weights
                               mark + "000000000" + all_tokens + "5_oN" + "1_oN",       // special weights that there are not
                               mark + "000000000" + all_tokens + "5_oN" + "<1_oM",      // three bytes
                               mark + first_pass + "0000000", mark + string(500, 'o')}) // runs of none; more than 32 bits
        EXPECT_EQ(load(keys + '\n')->error, GL_EBADFILE) << keys.substr(0, 40);
}

TEST(Order, OfAHandleWithoutRulesIsThatOfBytes) {
    gl_locale *null = nullptr;
    ASSERT_EQ(gl_create_null_locale_4(&null), 0);
    for (gl_locale *locale : {static_cast<gl_locale *>(nullptr), null})
        for (const auto &[a, b] : {std::pair{"a", "b"}, {"a", "a\x01"}, {"\x7F", "\x80"}, {"", "\xFF"}}) {
            EXPECT_EQ(gl_order_compare(locale, a, -1, b, -1, -1), -1);
            EXPECT_LT(whole_key(locale, a, -1), whole_key(locale, b, -1));
        }
    EXPECT_EQ(gl_order_compare(null, nullptr, -1, "", -1, 0), 0);
    EXPECT_EQ(gl_order_compare(null, "a", -7, "a", 0, 0), 0);
    gl_lc_unload(null);
}

TEST(Order, WritesKeysOfAColumnAsFarAsTheyFit) {
    const Handle owner = load("cs_cz.utf8");
    gl_locale *const locale = owner.get();
    const string data = "chata\xFF"
                        "cihla";
    const int32_t offsets[] = {0, 5, 5, 6, 11};
    string expected;
    for (const auto &[text, end] : {std::pair{string("chata"), 0}, {"", 0}, {"\xFF", 0}, {"cihla", 0}})
        expected += whole_key(locale, text, 0);
    unsigned char keys[100];
    int32_t at[5];
    ASSERT_EQ(gl_order_keys(locale, 4, data.data(), offsets, 0, keys, sizeof keys, at), 4);
    EXPECT_EQ(string(reinterpret_cast<char *>(keys), static_cast<size_t>(at[4])), expected);
    EXPECT_EQ(gl_order_keys(locale, 4, data.data(), offsets, 0, keys, at[4] - 1, at), 3);
    EXPECT_EQ(gl_order_keys(locale, 0, data.data(), offsets, 0, keys, 0, at), 0);
    EXPECT_EQ(gl_order_compare(locale, nullptr, 0, "a", -1, 0), -1);
}

} // namespace
