// Bytes as collation rules and two texts over a small alphabet: every way of comparing says the same, and so do the sort keys.
// Damaged objects are another fuzzer's matter: these rules load.
#include "support.h"
#include "support/input.h"
#include "support/locale_object.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

using namespace qbgl_test;

namespace {

constexpr size_t PLAIN = 10, EXPANDING = 5, LETTERS = PLAIN + EXPANDING + 1; // the last one may be unknown to the rules
constexpr unsigned SPECIAL = 0x8000, EXPANSION = 0x4000;
constexpr size_t LONGEST_TEXT = 48;

int sign(int value) { return (value > 0) - (value < 0); }

struct Shape {
    qbgl_test::Codeset codeset;
    std::string before, after; // the object around its collation
    std::array<std::string, LETTERS> letters;

    explicit Shape(const qbgl_test::Codeset &of) : codeset(of) {
        const std::string mark = "### LC_COLLATE\n", text = LocaleObject(of, "").text();
        const size_t at = text.find(mark) + mark.size();
        before = text.substr(0, at);
        after = text.substr(at);
        for (size_t i = 0; i < LETTERS; ++i) letters[i] = of.characters[(i + 1) * of.characters.size() / (LETTERS + 1)].bytes;
    }
};

const Shape &shape(unsigned number) {
    static const std::array<Shape, 4> shapes = {Shape(single_byte_codeset()), Shape(sjis_codeset()), Shape(eucjp_codeset()),
                                                Shape(utf8_codeset())};
    return shapes[number % shapes.size()];
}

// Rules under which keys and comparisons must agree: no weight is 0, ordinary and special ones have no value in common, and what
// has no character of its own has no special weight.
class Rules {
  public:
    Rules(const Shape &shape, bool ranked, Input &in) : shape_(shape), in_(in) {
        rules_.directions.clear();
        for (unsigned passes = 1 + in.below(5); passes > 0; --passes) rules_.directions.push_back(1 + in.below(2));
        const unsigned expansions = in.below(5), elements = in.below(5);
        for (unsigned i = 0; i < expansions; ++i) rules_.expansions.push_back(expansion(i, expansions));
        rules_.rows = {row(false, 0)};
        for (size_t letter = 0; letter < LETTERS - in.below(2); ++letter) {
            rules_.places.emplace_back(shape.letters[letter], rules_.rows.size());
            rules_.rows.push_back(row(true, letter < PLAIN || expansions == 0 ? 0 : EXPANSION | letter % expansions));
        }
        for (unsigned i = 0; i < elements; ++i) {
            rules_.elements.push_back({{}, static_cast<unsigned>(rules_.rows.size())});
            for (unsigned count = 2 + in.below(2); count > 0; --count) rules_.elements.back().chars.push_back(letter(PLAIN + 1));
            rules_.rows.push_back(row(false, 0));
        }
        if (!ranked) return;
        rules_.ranked_rows = 1 + in.below(static_cast<unsigned>(rules_.rows.size()) - 1);
        for (const std::string &letter : shape.letters)
            if (in.below(4) != 0) rules_.ranks.emplace_back(letter, 2 + in.below(LETTERS));
    }

    std::string text() const { return rules_.text(); }

  private:
    gl_wchar letter(unsigned limit) { return wide(shape_.letters[in_.below(limit)]); }

    // Its letters stand for later expansions only, so that none leads back to itself.
    std::vector<gl_wchar> expansion(unsigned number, unsigned count) {
        std::vector<gl_wchar> chars;
        for (unsigned left = 1 + in_.below(3); left > 0; --left) {
            const unsigned index = in_.below(LETTERS - 1);
            const bool later = index < PLAIN || index % count > number;
            chars.push_back(wide(shape_.letters[later ? index : index % PLAIN]));
        }
        return chars;
    }

    std::vector<unsigned> row(bool may_be_special, unsigned expansion) {
        std::vector<unsigned> weights;
        for (size_t pass = 0; pass < rules_.directions.size(); ++pass) {
            const unsigned byte = in_.byte(), value = byte % (2 + 4 * static_cast<unsigned>(pass)); // coarse first, finer later
            if (expansion != 0 && byte >= 64)
                weights.push_back(expansion);
            else if (byte < 32)
                weights.push_back(1);
            else if (byte < 192)
                weights.push_back(2 + value);
            else if (byte < 224 || !may_be_special)
                weights.push_back(0x3F00 + value);
            else
                weights.push_back(SPECIAL | (100 + value % 2));
        }
        return weights;
    }

    const Shape &shape_;
    Input &in_;
    Collation rules_;
};

using Text = std::vector<unsigned>; // indexes of letters

std::string encoded(const Shape &shape, const Text &text) {
    std::string bytes;
    for (const unsigned index : text) bytes += shape.letters[index];
    return bytes;
}

// A text, and one that a few changes make of it.
std::pair<Text, Text> texts(Input &in) {
    Text first;
    for (unsigned length = in.below(LONGEST_TEXT); length > 0; --length) first.push_back(in.below(LETTERS));
    Text second = first;
    for (unsigned edits = in.below(4); edits > 0; --edits) {
        const auto at = second.begin() + in.below(static_cast<unsigned>(second.size()) + 1);
        const unsigned action = in.below(4), index = in.below(LETTERS);
        if (action == 0 || at == second.end())
            second.insert(at, index);
        else if (action == 1)
            second.erase(at);
        else if (action == 2)
            std::swap(*at, second.front());
        else
            *at = index;
    }
    return {first, second};
}

std::string key_of(gl_locale *locale, const std::string &text) {
    const int length = gl_mbsxfrm(locale, nullptr, text.c_str(), 0);
    require(length >= 0);
    std::string key(static_cast<size_t>(length) + 1, '\xFF');
    require(gl_mbsxfrm(locale, key.data(), text.c_str(), length + 1) == length && key.back() == '\0');
    return key;
}

std::vector<gl_wchar> wide_text(gl_locale *locale, const std::string &text) {
    std::vector<gl_wchar> result(text.size() + 1);
    const int length = gl_mbstowcs(locale, result.data(), text.c_str(), static_cast<int>(result.size()));
    require(length >= 0);
    result.resize(static_cast<size_t>(length) + 1);
    return result;
}

void compare(gl_locale *locale, const std::string &a, const std::string &b) {
    const int length_a = static_cast<int>(a.size()), length_b = static_cast<int>(b.size());
    const int order = sign(gl_mbfscoll(locale, a.data(), length_a, b.data(), length_b));
    require(sign(gl_mbfscoll(locale, b.data(), length_b, a.data(), length_a)) == -order);
    require(sign(_qbx_gl_im_mbfscoll(locale, a.data(), length_a, b.data(), length_b)) == order);
    require(sign(gl_mbscoll(locale, a.c_str(), b.c_str())) == order);
    const std::vector<gl_wchar> wide_a = wide_text(locale, a), wide_b = wide_text(locale, b);
    require(sign(gl_full_wcscoll(locale, wide_a.data(), wide_b.data())) == order);
    require(sign(key_of(locale, a).compare(key_of(locale, b))) == order);
    require(locale->error == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    const unsigned kind = in.byte();
    const Shape &chosen = shape(kind);
    const bool ranked = kind / 4 % 4 == 1 && chosen.codeset.name != single_byte_codeset().name;
    const std::string text = chosen.before + Rules(chosen, ranked, in).text() + chosen.after;
    serve_object(reinterpret_cast<const uint8_t *>(text.data()), text.size());
    gl_locale *locale = nullptr;
    require(gl_createlocale2_4(&locale, "/") == 0);
    const auto [first, second] = texts(in);
    compare(locale, encoded(chosen, first), encoded(chosen, second));
    gl_lc_unload(locale);
    return 0;
}
