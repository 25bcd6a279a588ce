// Text between pages that cannot be read, in codesets of every shape. Every function of the face stays within what terminators,
// counts and rooms allow; and every function that reads a multibyte text finds the same first bad byte as a slow reading of one
// character after another, at every place around the blocks that fast functions read. Those that read one character are compared
// with a model in mbwc_test.cpp.
#include "support/face.h"
#include "support/locale_object.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace {

using namespace qbgl_test;
using namespace std::string_literals;
using std::string, std::string_view;

#if defined(__SANITIZE_ADDRESS__)
constexpr size_t STEP = 13;
#else
constexpr size_t STEP = 1;
#endif
constexpr size_t LAST_PLACE = 160, TAIL = 70;
constexpr int UNTOLD = -1;

struct Shape {
    const char *name, *object, *conversion, *charmap; // of the tree, or null
    Codeset (*codeset)();                             // of the tests' own, where the tree has no such locale
    const char *fillers;                              // in hexadecimal, as all bytes here; ASCII first
    const char *malformed;                            // some may be characters in one codeset or another: the reading decides
};

const Shape SHAPES[] = {
    {"utf8", "de_de/e01c.lco", "e01ce030", "e01c.cmo", nullptr, "61 C3A4 E4B880 F0909080 61C3A4E4B880",
     "C3 D7 E2 E282 F0 F090 F09090 80 BF 808080 C080 C1BF E08080 E09FBF F0808080 EDA080 EDBFBF F4908080 F8888080 FC FE FF C328 "
     "C3C3A4 E228A1 E28228 E282C3A4 F0288CBC F09028BC F0909028"},
    {"sjis", "ja_jp/e006.lco", "e006e01c", "e006.cmo", nullptr, "61 B1 82A0 889F 6182A0B1",
     "82 E0 FC 80 A0 FD FF 8220 827F 82FD 8139 8540 EF40"},
    {"ujis", "ja_jp/e007.lco", "e007e01c", "e007.cmo", nullptr, "61 A4A2 8EB1 8FB0A1 61A4A28FB0A1",
     "A4 8E 8F 8FB0 A0 FF A420 A47F A4FF 8E20 8EE0 8F20A1 8FB020 8FB0FF A9A1"},
    {"big5", "zh_tw/e008.lco", "e008e01c", "e008.cmo", nullptr, "61 A440 A4A1 61A440A4A1",
     "A4 F9 FF A420 A47F A480 A4FF C740 8140"},
    {"gb18030", "zh_cn/d698.lco", "d698e01c", "d698.cmo", nullptr, "61 B0A1 8140 8139EE39 61B0A18139EE39",
     "81 8130 813081 80 FF 8120 817F 81FF 81302030 81308120 81308140 8431A530 E3329A36 FE39FE39"},
    {"euctw", "zh_tw/e01f.lco", "e01fe01c", "e01f.cmo", nullptr, "61 C4A1 8EA2A1A1 61C4A18EA2A1A1",
     "C4 8E 8EA2 8EA2A1 A0 FF C420 8E20A1A1 8EA220A1 8EA2A120 8EB0A1A1"},
    {"latin2", "cs_cz/0390.lco", "0390e01c", "0390.cmo", nullptr, "61 E4 61C4", ""},
    {"thai", "th_th/e01ddict.lco", nullptr, nullptr, nullptr, "61 A1 A1D2", ""},
    {"ucs4", nullptr, nullptr, nullptr, four_byte_codeset, "00000061", "00000161 FFFFFFFF"},
    {"unicode", nullptr, nullptr, nullptr, two_byte_codeset, "0061 3041 D83DDE01 00613041D83DDE01",
     "D83D DE01 D83D0061 D83DD83D 3001 FFFF 00BF"},
};

std::vector<string> texts_of(const char *hexadecimal_words) {
    std::istringstream words(hexadecimal_words);
    std::vector<string> texts;
    for (string word; words >> word;) {
        texts.emplace_back();
        for (size_t at = 0; at < word.size(); at += 2)
            texts.back() += static_cast<char>(std::stoi(word.substr(at, 2), nullptr, 16));
    }
    return texts;
}

// A text beside the page, with and without its terminator, and what the reading found in it.
struct Text {
    gl_locale *locale;
    gl_cv *cd;
    const char *counted, *terminated;
    int size, terminator;
    std::vector<gl_wchar> values; // of the characters before the first that is none
    int place = 0;                // where that is, or the end
    bool valid() const { return place == size; }
    int count() const { return static_cast<int>(values.size()); }
};

bool is_served(const gl_locale *locale) { return locale->glu_flag[GL_CAT_CTYPE] != 0; }

// The bytes of a character are a key of the codeset's table; no key begins another. An extension is asked for each by itself.
void read(Text &text) {
    gl_wchar wc;
    if (is_served(text.locale)) {
        for (int length; (length = gl_full_mbtowc(text.locale, &wc, text.counted + text.place, text.size - text.place)) > 0;) {
            text.values.push_back(wc);
            text.place += length;
        }
        return;
    }
    const gl_multi *table = text.locale->ctype.codeset_table;
    for (bool found = true; found && text.place < text.size;) {
        found = false;
        gl_desc key{0, {}};
        while (!found && key.count < 4 && text.place + static_cast<int>(key.count) < text.size) {
            key.bytes[key.count] = static_cast<uint8_t>(text.counted[text.place + static_cast<int>(key.count)]);
            ++key.count;
            found = _gl_retrieve_desc_multi(&key, table) != nullptr;
        }
        if (!found) return;
        text.values.push_back(_gl_desc_to_gl_wchar(&key));
        text.place += static_cast<int>(key.count);
    }
}

// What a function says about a text, as far as it tells.
struct Answer {
    bool valid;
    int characters = UNTOLD, place = UNTOLD;
};

Answer length(int result) { return {result >= 0, result, UNTOLD}; } // -1 tells nothing
Answer bytes(int result) { return {result >= 0, UNTOLD, result}; }
Answer success(int result) { return {result >= 0}; }
Answer no_error(const Text &t) { return {t.locale->error == 0}; }

// Numbers are read from the characters before the first bad byte, if there are any.
Answer number(const Text &t, bool taken) { return {t.valid() == (taken == (t.place > 0))}; }

// The same as characters found and stored.
template <auto decode> Answer decoded(const Text &t, int room, auto... text) {
    std::vector<gl_wchar> wide(static_cast<size_t>(t.size) + 2);
    const int result = decode(t.locale, wide.data(), text..., room);
    const auto [value, found] = std::mismatch(t.values.begin(), t.values.end(), wide.begin());
    return {result >= 0, value == t.values.end() ? result : static_cast<int>(value - t.values.begin()), UNTOLD};
}

// Step by step: `step` gives the length of the character at a place, below 1 for none.
template <class Function> Answer walk(const Text &t, Function step) {
    Answer answer{true, 0, 0};
    while (answer.valid && answer.place < t.size) {
        const int length = step(answer.place, t.size - answer.place);
        answer.valid = length > 0;
        if (!answer.valid) break;
        ++answer.characters;
        answer.place += length;
    }
    return answer;
}
int step_to(const char *from, const char *to) { return to != nullptr ? static_cast<int>(to - from) : 0; }

Answer convert(const Text &t, const char *in, bool with_count) {
    int inleft = t.size, outleft = 8 * t.size + 16, subst = 0;
    std::vector<char> room(static_cast<size_t>(outleft));
    const char *const begin = in;
    char *out = room.data();
    const int result = gl_miconv(t.cd, &in, with_count ? &inleft : nullptr, &out, &outleft, &subst);
    const int consumed = static_cast<int>(in - begin);
    return {result == 0, UNTOLD, result == 0 && !with_count ? consumed - t.terminator : consumed};
}

FILE *const nowhere = std::fopen("/dev/null", "w");

// Functions that are asked in the same way.
template <auto next> Answer steps(const Text &t) {
    return walk(t, [&](int at, int left) {
        if constexpr (std::is_invocable_v<decltype(next), gl_locale *, const char *, int>)
            return step_to(t.counted + at, next(t.locale, t.counted + at, left));
        else
            return step_to(t.terminated + at, next(t.locale, t.terminated + at));
    });
}
template <auto map> Answer mapped(const Text &t) {
    string room(static_cast<size_t>(gl_case_conv_outbuflen(t.locale, t.size) + t.terminator), '\0');
    return success(map(t.locale, room.data(), t.terminated));
}

Answer get_all(const Text &t) {
    return walk(t, [&](int at, int left) {
        string_view rest(t.counted + at, static_cast<size_t>(left));
        char buffer[4];
        int taken = 0;
        return gl_getmb(t.locale, buffer, next_byte, &rest, &taken) == 0 ? taken : 0;
    });
}

// What an expression says of the text t.
// clang-format off
#define ASKED(name, ...) {name, [](const Text &t) { return __VA_ARGS__; }}
// clang-format on

struct Function {
    const char *name;
    Answer (*ask)(const Text &);
};
const Function FUNCTIONS[] = {
    ASKED("gl_mbsbytes", bytes(std::max(gl_mbsbytes(t.locale, t.terminated) - t.terminator, -1))),
    ASKED("gl_mbsbytes_nt", bytes(gl_mbsbytes_nt(t.locale, t.terminated))),
    ASKED("_gl_im_mbslen", length(_gl_im_mbslen(t.locale, t.terminated))),
    ASKED("_qbx_gl_im_mbfslen", length(_qbx_gl_im_mbfslen(t.locale, t.counted, t.size))),
    ASKED("_qbx_gl_im_mbfslen, -1", length(_qbx_gl_im_mbfslen(t.locale, t.terminated, -1))),
    {"gl_mbsnext", steps<gl_mbsnext>},
    {"gl_full_mbsnext", steps<gl_full_mbsnext>},
    {"_qbx_gl_full_mbsnext", steps<_qbx_gl_full_mbsnext>},
    ASKED("gl_mbstowcs", decoded<gl_mbstowcs>(t, t.size + 1, t.terminated)),
    ASKED("gl_mbfstowcfs", decoded<gl_mbfstowcfs>(t, t.size + 1, t.counted, t.size)),
    {"gl_full_getmbsi",
     [](const Text &t) {
         const int index = t.count();
         const char *place = gl_full_getmbsi(t.locale, t.terminated, index);
         return Answer{t.valid() || gl_full_getmbsi(t.locale, t.terminated, index + 1) != nullptr, index,
                       step_to(t.terminated, place)};
     }},
    {"gl_getmbsinull",
     [](const Text &t) {
         const char *end = gl_getmbsinull(t.locale, t.terminated, INT_MAX);
         return Answer{end != nullptr, UNTOLD, end != nullptr ? step_to(t.terminated, end) : UNTOLD};
     }},
    ASKED("gl_full_mbsprev", Answer{gl_full_mbsprev(t.locale, t.terminated, t.terminated + t.size) != nullptr}),
    ASKED("gl_mbsntslen", length(gl_mbsntslen(t.locale, t.terminated))),
    ASKED("gl_mbsntsbytes", bytes(gl_mbsntsbytes(t.locale, t.terminated))),
    ASKED("_qbx_gl_mbsntsbytes", bytes(_qbx_gl_mbsntsbytes(t.locale, t.counted, t.size))),
    ASKED("gl_mbswidth", success(gl_mbswidth(t.locale, t.terminated, INT_MAX))),
    ASKED("gl_mbspwidth", success(gl_mbspwidth(t.locale, t.terminated, t.terminated + t.size))),
    {"gl_tombsupper", mapped<gl_tombsupper>},
    {"gl_tombslower", mapped<gl_tombslower>},
    {"gl_tombfsupper",
     [](const Text &t) {
         string room(static_cast<size_t>(gl_case_conv_outbuflen(t.locale, t.size)), '\0');
         return success(gl_tombfsupper(t.locale, room.data(), static_cast<int>(room.size()), t.counted, t.size));
     }},
    ASKED("gl_mbsxfrm", success(gl_mbsxfrm(t.locale, nullptr, t.terminated, 0))),
    ASKED("gl_mbfsxfrm", success(gl_mbfsxfrm(t.locale, nullptr, t.counted, t.size, 0))),
    ASKED("gl_mbscoll", gl_mbscoll(t.locale, t.terminated, t.terminated), no_error(t)),
    ASKED("gl_mbfscoll", gl_mbfscoll(t.locale, t.counted, t.size, t.counted, t.size), no_error(t)),
    ASKED("gl_mbstol", number(t, gl_mbstol(t.locale, t.terminated, nullptr, 10, 0) == 0)),
    ASKED("gl_mbstod", number(t, gl_mbstod(t.locale, t.terminated, nullptr, 0) == 0)),
    ASKED("gl_fputmbs", success(gl_fputmbs(t.locale, t.terminated, nowhere))),
    {"gl_getmb", get_all},
    ASKED("gl_miconv", t.cd != nullptr ? convert(t, t.counted, true) : Answer{t.valid()}),
    ASKED("gl_miconv, terminated", t.cd != nullptr ? convert(t, t.terminated, false) : Answer{t.valid()}),
};

string hexadecimal_text(const Text &t) { return hexadecimal(string_view(t.counted, static_cast<size_t>(t.size))); }

void ask_all(const Text &t) {
    const char *volatile current = nullptr;
    const bool alive = survives([&] {
        for (const auto &[name, ask] : FUNCTIONS) {
            current = name;
            t.locale->error = 0;
            const Answer answer = ask(t);
            if (answer.valid != t.valid())
                ADD_FAILURE() << name << (answer.valid ? " takes " : " refuses ") << hexadecimal_text(t);
            else if (answer.characters != UNTOLD && answer.characters != t.count())
                ADD_FAILURE() << name << " finds " << answer.characters << " characters in " << hexadecimal_text(t);
            else if (answer.place != UNTOLD && answer.place != t.place)
                ADD_FAILURE() << name << " stops at " << answer.place << ", not " << t.place << ", in " << hexadecimal_text(t);
        }
    });
    if (!alive) ADD_FAILURE() << current << " reads beside " << hexadecimal_text(t);
}

// A shape's records, from the tree or of the tests' own.
class OfShape : public testing::TestWithParam<size_t> {
  protected:
    OfShape() {
        malformed.emplace_back(); // nothing is
        if (shape.conversion != nullptr) {
            const auto codeset = [this](size_t at) {
                return std::to_string(std::stoul(string(shape.conversion).substr(at, 4), nullptr, 16));
            };
            gl_cv_load(&cd, codeset(4).c_str(), codeset(0).c_str(), nullptr, nullptr);
        }
        if (shape.charmap != nullptr) gl_cm_load(&cm, shape.charmap, nullptr, nullptr);
    }
    ~OfShape() override {
        if (cd != nullptr) gl_cv_unload(cd);
        gl_cm_unload(cm);
    }
    void SetUp() override {
        ASSERT_EQ(locale->error, 0);
        ASSERT_EQ(cd != nullptr ? cd->error : 0, 0);
        ASSERT_EQ(cm != nullptr ? gl_errno(cm) : 0, 0);
    }

    // As many fillers as there are room for, and ASCII before them.
    string filled(const string &filler, size_t size) const {
        string text;
        while (text.size() + filler.size() <= size) text += filler;
        while (text.size() + ascii.size() <= size) text = ascii + text;
        return text;
    }

    const Shape &shape = SHAPES[GetParam()];
    const ScopedEnv tree{"QUORBANEDIR", QBGL_TREE};
    const Locale locale = load_locale(shape.object != nullptr ? read_file(string(QBGL_TREE "/vrn/lc11/") + shape.object)
                                                              : LocaleObject(shape.codeset()).text());
    gl_cv *cd = nullptr;
    gl_charmap *cm = nullptr;
    const std::vector<string> fillers = texts_of(shape.fillers);
    std::vector<string> malformed = texts_of(shape.malformed);
    const string &ascii = fillers[0];
    const size_t terminator = static_cast<size_t>(gl_mb_loc_min(locale.get()));
    GuardedMemory memory;
};
INSTANTIATE_TEST_SUITE_P(Codesets, OfShape, testing::Range(size_t{0}, std::size(SHAPES)),
                         [](const auto &shape) { return SHAPES[shape.param].name; });

TEST_P(OfShape, MalformedTextIsFoundWhereItIs) {
    for (const string &filler : fillers) {
        for (size_t place = 0; place <= LAST_PLACE && !HasFailure(); place += STEP * ascii.size()) {
            for (const string &bad : malformed) {
                for (const string &behind : {string(), ascii, filled(filler, TAIL)}) {
                    const string text = filled(filler, place) + bad + behind, ended = text + string(terminator, '\0');
                    if (text.empty()) continue;
                    Text t{locale.get(), cd, {}, {}, static_cast<int>(text.size()), static_cast<int>(terminator), {}};
                    t.counted = static_cast<char *>(memory.take(text.size(), Guard::behind, text.data()));
                    t.terminated = static_cast<char *>(memory.take(ended.size(), Guard::behind, ended.data()));
                    read(t);
                    ask_all(t);
                    EXPECT_TRUE(memory.clear());
                }
            }
        }
    }
}

TEST_P(OfShape, NoCallReadsOrWritesBesideText) {
    std::minstd_rand random(7);
    uint8_t choices[64];
    for (const Call &call : CALLS) {
        if ((call.needs == Needs::conversion && cd == nullptr) || (call.needs == Needs::charmap && cm == nullptr)) continue;
        for (const Guard guard : {Guard::before, Guard::behind}) {
            for (size_t size = 0; size <= LAST_PLACE; size += STEP * ascii.size()) {
                for (uint8_t &choice : choices) choice = static_cast<uint8_t>(random() >> 8);
                Input input(choices, sizeof choices);
                Scene scene(memory, input);
                scene.locale = locale.get();
                scene.cd = cd;
                scene.cm = cm;
                scene.terminator = terminator;
                scene.always = &guard;
                for (const string &filler : fillers) {
                    scene.texts.push_back(filled(filler, size));
                    scene.wides.emplace_back(size / ascii.size(), wide(filler.substr(0, 4)));
                }
                scene.texts.push_back(filled(ascii, size) + malformed[random() % malformed.size()]);
                scene.words = {"", "<A><a>", "de_de.utf8", "alpha", "sjis", string(size, 'x')};
                if (!survives([&] { call.run(scene); }))
                    ADD_FAILURE() << call.name << " touches memory beside a text of " << size << " bytes";
                EXPECT_TRUE(memory.clear()) << call.name << " writes beside its room";
                if (HasFailure()) break;
            }
        }
    }
}

// Every name that the library exports has a call, or a reason to have none.
TEST(Face, IsComplete) {
    const auto is_listed = [reasons = read_file(QBGL_SOURCE_DIR "/tests/fault/names_without_a_call.txt")](const string &name) {
        std::istringstream list(reasons);
        for (string each; list >> each;)
            if (each == name || (each.back() == '*' && name.starts_with(each.substr(0, each.size() - 1)))) return true;
        return std::any_of(CALLS.begin(), CALLS.end(), [&](const Call &call) { return call.name == name; });
    };
    std::istringstream names(read_file(QBGL_SOURCE_DIR "/tests/packaging/exported_names.txt"));
    for (string name; names >> name;) EXPECT_TRUE(is_listed(name)) << name << " has no call in tests/support/face.cpp";
}

} // namespace
