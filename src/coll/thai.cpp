#include "coll/thai.h"

#include "coll/code_values.h"
#include "coll/wide_text.h"
#include "ext/error.h"

#include <array>
#include <span>

using namespace qbgl;

namespace {

enum class Pass : uint8_t { LETTERS, MARKS, VARIANTS, PUNCTUATION };
constexpr Pass PASSES[THAI_PASSES] = {Pass::LETTERS, Pass::MARKS, Pass::VARIANTS, Pass::PUNCTUATION};

enum class Kind : uint8_t { LETTER, CONSONANT, LEADING_VOWEL, MARK, PUNCTUATION }; // the passes take the first three for letters

struct Element {
    Kind kind = Kind::LETTER;
    uint8_t variant = 0;
    uint32_t weight = 0; // 0: not in the table
};

// Behind the first pass, the weight of all that has nothing to say in a pass. What has is greater.
constexpr uint32_t PLAIN = 2;

// Of Unicode.
constexpr gl_wchar ASCII_SIZE = 0x80, NO_BREAK_SPACE = 0xA0, THAI = 0x0E00, THAI_SIZE = 0x5C, GENERAL_PUNCTUATION = 0x2000,
                   GENERAL_PUNCTUATION_SIZE = 0x70;

struct Table {
    std::array<Element, ASCII_SIZE> ascii;
    std::array<Element, THAI_SIZE> thai;
    uint32_t next_letter = PLAIN, next_punctuation = PLAIN + 1;

    constexpr Table() {
        for (unsigned digit = 0; digit < 10; ++digit) {
            ascii['0' + digit] = {Kind::LETTER, 0, next_letter};
            thai[0x50 + digit] = {Kind::LETTER, 1, next_letter++};
        }
        for (unsigned letter = 0; letter < 26; ++letter) {
            ascii['A' + letter] = {Kind::LETTER, 0, next_letter};
            ascii['a' + letter] = {Kind::LETTER, 1, next_letter++};
        }
        for (unsigned consonant = 0x01; consonant <= 0x2E; ++consonant) thai[consonant] = {Kind::CONSONANT, 0, next_letter++};
        constexpr unsigned NIKHAHIT = 0x4D, SARA_AA = 0x32, LAKKHANGYAO = 0x45;
        thai[NIKHAHIT] = {Kind::LETTER, 0, next_letter++};
        for (unsigned vowel = 0x30; vowel <= 0x39; ++vowel) thai[vowel] = {Kind::LETTER, 0, next_letter++};
        thai[LAKKHANGYAO] = {Kind::LETTER, 1, thai[SARA_AA].weight};
        for (unsigned vowel = 0x40; vowel <= 0x44; ++vowel) thai[vowel] = {Kind::LEADING_VOWEL, 0, next_letter++};
        // yamakkan, phinthu, thanthakhat, maitaikhu, the four tones
        uint32_t next_mark = PLAIN + 1;
        for (const unsigned sign : {0x4E, 0x3A, 0x4C, 0x47, 0x48, 0x49, 0x4A, 0x4B}) thai[sign] = {Kind::MARK, 0, next_mark++};
        for (Element &sign : ascii)
            if (sign.weight == 0) sign = {Kind::PUNCTUATION, 0, next_punctuation++};
        // paiyannoi, baht, maiyamok, fongman, angkhankhu, khomut
        for (const unsigned sign : {0x2F, 0x3F, 0x46, 0x4F, 0x5A, 0x5B}) thai[sign] = {Kind::PUNCTUATION, 0, next_punctuation++};
    }
};

constexpr Table TABLE;

// Letters that are not in the table have their code value for a weight; in keys, this one before it.
constexpr uint32_t BY_CODE_VALUE = TABLE.next_letter;
static_assert(BY_CODE_VALUE < ASCII_SIZE, "code values beyond ASCII are greater than the weights of the table");
static_assert(TABLE.next_punctuation + GENERAL_PUNCTUATION_SIZE < 256, "in keys, weights have one byte");
constexpr int CODE_VALUE_DIGITS = key_digits(UINT32_MAX);

// Unicode's value of a character; of one that no block here has, something that none of them has either.
gl_wchar unicode(ThaiLayout layout, gl_wchar wc) {
    if (wc < ASCII_SIZE) return wc;
    switch (layout) {
    case ThaiLayout::BYTES: return wc > 0xA0 ? THAI + (wc - 0xA0) : GENERAL_PUNCTUATION + (wc - ASCII_SIZE);
    case ThaiLayout::UTF8: {
        const gl_wchar low = (wc >> 8 & 0x3F) << 6 | (wc & 0x3F);
        return wc < 0x10000 ? low : wc < 0x1000000 ? (wc >> 16 & 0xF) << 12 | low : wc;
    }
    case ThaiLayout::UNITS: return wc;
    case ThaiLayout::OTHER: break;
    }
    return UINT32_MAX;
}

Element element_of(ThaiLayout layout, gl_wchar wc) {
    const gl_wchar character = unicode(layout, wc);
    if (character < ASCII_SIZE) return TABLE.ascii[character];
    if (character - THAI < THAI_SIZE && TABLE.thai[character - THAI].weight != 0) return TABLE.thai[character - THAI];
    if (character - GENERAL_PUNCTUATION < GENERAL_PUNCTUATION_SIZE)
        return {Kind::PUNCTUATION, 0, TABLE.next_punctuation + (character - GENERAL_PUNCTUATION)};
    if (character == NO_BREAK_SPACE) return {Kind::PUNCTUATION, 0, TABLE.next_punctuation + GENERAL_PUNCTUATION_SIZE};
    return {Kind::LETTER, 0, wc};
}

// The elements of a text, consonants before the vowels that lead them.
class Elements {
  public:
    Elements(ThaiLayout layout, WideSpan text) : layout_(layout), at_(text.text), end_(text.text + text.length) {}

    // The next one's weight in a pass, which is never 0 but at the end.
    uint32_t next_weight(Pass pass) {
        Element element;
        while (next(element))
            if (const uint32_t weight = weight_in(pass, element); weight != 0) return weight;
        return 0;
    }

  private:
    static uint32_t weight_in(Pass pass, const Element &element) {
        const bool mark = element.kind == Kind::MARK, punctuation = element.kind == Kind::PUNCTUATION;
        switch (pass) {
        case Pass::LETTERS: return mark || punctuation ? 0 : element.weight;
        case Pass::MARKS: return mark ? element.weight : punctuation ? 0 : PLAIN;
        case Pass::VARIANTS: return mark || punctuation ? 0 : PLAIN + element.variant;
        case Pass::PUNCTUATION: break;
        }
        return punctuation ? element.weight : PLAIN;
    }

    bool next(Element &element) {
        if (vowel_.weight != 0) {
            element = vowel_;
            vowel_.weight = 0;
            return true;
        }
        if (at_ == end_) return false;
        element = element_of(layout_, *at_++);
        if (element.kind == Kind::LEADING_VOWEL) put_behind_consonant(element);
        return true;
    }

    void put_behind_consonant(Element &vowel) {
        const Element following = at_ == end_ ? Element{} : element_of(layout_, *at_);
        if (following.kind != Kind::CONSONANT) {
            vowel.variant = 1;
            return;
        }
        ++at_;
        vowel_ = vowel;
        vowel = following;
    }

    ThaiLayout layout_;
    const gl_wchar *at_, *end_;
    Element vowel_; // whose consonant was the last element
};

// How many characters at the beginning give the same elements in both texts.
int32_t common_prefix(ThaiLayout layout, WideSpan a, WideSpan b) {
    const int32_t limit = std::min(a.length, b.length);
    int32_t length = 0;
    while (length < limit && a.text[length] == b.text[length]) ++length;
    const bool open = length > 0 && element_of(layout, a.text[length - 1]).kind == Kind::LEADING_VOWEL;
    return open ? length - 1 : length;
}

void write_letters(KeyWriter &key, Elements elements) {
    while (const uint32_t weight = elements.next_weight(Pass::LETTERS)) {
        key.write(std::min(weight, BY_CODE_VALUE), 1);
        if (weight >= BY_CODE_VALUE) key.write(weight, CODE_VALUE_DIGITS);
    }
}

// Without the plain weights at the end: texts that agree in the passes before have the same number of them, and none is less.
void write_pass(KeyWriter &key, Elements elements, Pass pass) {
    int32_t plain = 0;
    while (const uint32_t weight = elements.next_weight(pass)) {
        if (weight == PLAIN) {
            ++plain;
            continue;
        }
        for (; plain > 0; --plain) key.write(PLAIN, 1);
        key.write(weight, 1);
    }
}

} // namespace

ThaiLayout qbgl::thai_layout(gl_locale *locale) {
    constexpr char KO_KAI[] = "\xE0\xB8\x81";
    if (locale->single_byte != 0) return ThaiLayout::BYTES;
    if (_gl_multi_min_length(locale->ctype.codeset_table) > 1) return ThaiLayout::UNITS;
    int length = 0;
    return _gl_retrieve_text_multi_limit(KO_KAI, locale->ctype.codeset_table, 3, &length, nullptr) != nullptr && length == 3
               ? ThaiLayout::UTF8
               : ThaiLayout::OTHER;
}

bool qbgl::leads_consonant(ThaiLayout layout, gl_wchar wc) { return element_of(layout, wc).kind == Kind::LEADING_VOWEL; }

int qbgl::compare_thai(ThaiLayout layout, WideSpan a, WideSpan b, size_t passes) {
    const int32_t same = common_prefix(layout, a, b);
    a = {a.text + same, a.length - same};
    b = {b.text + same, b.length - same};
    for (const Pass pass : std::span(PASSES).first(passes)) {
        Elements elements_a(layout, a), elements_b(layout, b);
        uint32_t weight_a, weight_b;
        do {
            weight_a = elements_a.next_weight(pass);
            weight_b = elements_b.next_weight(pass);
            if (weight_a != weight_b) return weight_a < weight_b ? -1 : 1;
        } while (weight_a != 0);
    }
    return 0;
}

void qbgl::write_thai_key(KeyWriter &key, ThaiLayout layout, WideSpan text, size_t passes) {
    write_letters(key, Elements(layout, text));
    for (const Pass pass : std::span(PASSES).first(passes).subspan(1)) {
        key.separate();
        write_pass(key, Elements(layout, text), pass);
    }
}

int qbgl::thai_key(ThaiLayout layout, char *out, WideSpan text, int capacity) {
    KeyWriter key(out, capacity);
    write_thai_key(key, layout, text);
    return key.finish();
}

int _qbx_gl_thaismoncoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    if (!lengths_agree(len1, len2)) {
        set_error(locale, GL_EMIXEDLEN);
        return 0;
    }
    WideText text1, text2;
    if (!text1.convert(locale, s1, len1) || !text2.convert(locale, s2, len2)) return 0;
    return compare_thai(thai_layout(locale), text1.span(), text2.span());
}

int _gl_thaismocoll(gl_locale *locale, const char *s1, const char *s2) { return _qbx_gl_thaismoncoll(locale, s1, -1, s2, -1); }

int _gl_thaismoxfrm(gl_locale *locale, char *out, const char *s, int capacity) {
    WideText text;
    return text.convert(locale, s, -1) ? thai_key(thai_layout(locale), out, text.span(), capacity) : -1;
}
