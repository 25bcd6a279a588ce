// A damaged object, and calls of the whole face on what loads of it, between pages that cannot be touched. The input is a recipe:
// the kind and shape of object, damage to what is written into it, damage to its text, texts, calls with their arguments. What the
// damage makes of an object is never mended here.
#include "calls.h"
#include "support/conversion_shapes.h"

#include <algorithm>
#include <array>
#include <stdexcept>

using namespace qbgl_test;
using std::string;

namespace {

// Locales

struct Shape {
    Codeset codeset;
    string before, ctype, after; // the object's text: around the character types, and these
    string text() const { return before + ctype + after; }
};

Shape shape_of(const Codeset &codeset, const string &collation) {
    LocaleObject object(codeset, collation);
    const string mark = "@";
    object.ctype = mark;
    const string text = object.text();
    const size_t at = text.find("LC_CTYPE\n@") + 9;
    return {codeset, text.substr(0, at), ctype_text(codeset), text.substr(at + 1)};
}

// With fewer characters, so that an object loads faster: those that its own texts need, and some of the others.
Codeset thin(Codeset codeset) {
    size_t number = 0;
    std::erase_if(codeset.characters, [&](const Character &character) {
        const bool needed =
            character.classes & GL_CLASS_PRINT && (number < 128 || !character.upper.empty() || !character.lower.empty());
        return ++number > 1 && !needed && number % 8 != 0;
    });
    return codeset;
}

const std::vector<Shape> &shapes() {
    static const std::vector<Shape> SHAPES = [] {
        std::vector<Shape> result;
        for (const auto make :
             {single_byte_codeset, sjis_codeset, eucjp_codeset, utf8_codeset, two_byte_codeset, gb18030_codeset}) {
            const Codeset codeset = thin(make());
            result.push_back(shape_of(codeset, Collation::in_order(codeset).text()));
            Collation rules = Collation::in_order(codeset, {1, 2});
            rules.elements = {{{wide(codeset.encode("c")), wide(codeset.encode("h"))}, 5}};
            rules.expansions = {{wide(codeset.encode("s")), wide(codeset.encode("s"))}};
            rules.rows[70][0] = 0x4000;
            result.push_back(shape_of(codeset, rules.text()));
        }
        Collation direct = Collation::in_order(sjis_codeset());
        direct.direct = true;
        result.push_back(shape_of(sjis_codeset(), direct.text()));
        Codeset thai{"thai", ascii_characters()};
        add_uncased(thai, "", 0xA1, 0xDA);
        add_uncased(thai, "", 0xDF, 0xFB);
        result.push_back(shape_of(thai, "thai_smo\n"));
        return result;
    }();
    return SHAPES;
}

void damage(Shape &shape, Input &in) {
    Codeset &codeset = shape.codeset;
    const unsigned count = in.below(4);
    for (unsigned changes = count; changes > 0 && !codeset.characters.empty(); --changes) {
        const size_t place = in.word() % codeset.characters.size();
        Character &character = codeset.characters[place];
        switch (in.below(6)) {
        case 0: character.bytes = some_bytes(in); break;
        case 1: character.classes = in.word(); break;
        case 2: character.upper = some_bytes(in); break;
        case 3: character.lower = some_bytes(in); break;
        case 4: codeset.characters.push_back({some_bytes(in), in.word()}); break;
        default: codeset.characters.erase(codeset.characters.begin() + static_cast<ptrdiff_t>(place)); break;
        }
    }
    if (count > 0) shape.ctype = ctype_text(codeset);
}

// The n-th allocation and all later ones fail.
unsigned allocations_left = ~0U;
void fail_allocations(unsigned nth) {
    allocations_left = nth;
    void *(*const allocate)(uint32_t) = [](uint32_t size) {
        if (allocations_left == 0) return static_cast<void *>(nullptr);
        --allocations_left;
        return gl_ext_malloc(size);
    };
    gl_setextfunc(nullptr, GL_EXT_MALLOC, reinterpret_cast<gl_extfunc>(allocate));
}

void serve(const string &text) { serve_object(reinterpret_cast<const uint8_t *>(text.data()), text.size()); }

// By which an extension serves the codeset, if there is one.
const char *name_of(const Codeset &codeset) {
    constexpr std::pair<const char *, const char *> NAMES[] = {{"8859-1", "de_de/0333icu.lco"},
                                                               {"sjis", "ja_jp/e006icu.lco"},
                                                               {"eucjp", "ja_jp/13baicu.lco"},
                                                               {"utf8", "cs_cz/e01cicu.lco"},
                                                               {"gb18030", "zh_cn/d698icu.lco"}};
    for (const auto &[known, name] : NAMES)
        if (runs_served() && codeset.name == known) return name;
    return "default.lco";
}

// A handle whose object is damaged, or one with a category of such an object, or of one that came when memory was short. Texts keep
// the terminator that they had before a selection that failed.
gl_locale *load(const Codeset &codeset, const string &whole, const string &object, Input &in, size_t &terminator) {
    gl_locale *locale = nullptr;
    const unsigned way = in.below(4);
    serve(way < 2 ? object : whole);
    const char *const name = name_of(codeset);
    if (gl_lc_load(&locale, name, nullptr, "/") != 0) {
        constexpr int ERRORS[] = {GL_EILSEQ,  GL_ENOMEM,   GL_ENEGCOUNT, GL_ENOFILE,  GL_EBADFILE,   GL_EMIXEDCS, GL_EBADERA,
                                  GL_EBADCAL, GL_EVERSION, GL_ETABLELEN, GL_ELOADCAT, GL_ENOCODESET, GL_ECTYPECS};
        require(std::ranges::count(ERRORS, gl_errno(locale)) == 1);
        gl_lc_unload(locale);
        return nullptr;
    }
    terminator = static_cast<size_t>(gl_mb_loc_min(locale));
    if (way < 2) return locale;
    serve(object);
    if (way == 3) fail_allocations(in.byte());
    char *names = gl_setlocale_4(locale, static_cast<int>(GL_CAT_ALL + in.below(7)), name);
    fail_allocations(~0U);
    require(names != nullptr || gl_errno(locale) != 0);
    if (names != nullptr) terminator = static_cast<size_t>(gl_mb_loc_min(locale));
    gl_destroystring(names);
    return locale;
}

// Conversions and charmaps

ConversionObject damaged_conversion(Input &in) {
    constexpr size_t STATELESS_ONES = std::size(STATELESS);
    const ConversionObject *const stateful[] = {&TO_SHIFTED, &FROM_SHIFTED, &BOTH_SHIFTED};
    const size_t number = in.below(STATELESS_ONES + std::size(stateful));
    ConversionObject object = number < STATELESS_ONES ? STATELESS[number].second : *stateful[number - STATELESS_ONES];
    for (unsigned changes = in.below(4); changes > 0; --changes) {
        Mapping &mapping = in.below(4) == 0 && object.source_stateful ? object.shifted : object.main;
        const auto place = std::next(mapping.begin(), static_cast<ptrdiff_t>(in.word() % (mapping.size() + 1)));
        switch (in.below(4)) {
        case 0: mapping[some_bytes(in)] = {in.byte() & ~7U, some_bytes(in)}; break;
        case 1:
            if (place != mapping.end()) place->second = {in.byte() & ~7U, some_bytes(in)};
            break;
        case 2:
            if (place != mapping.end()) mapping.erase(place);
            break;
        default:
            object.lengths = {static_cast<int>(in.below(5)), static_cast<int>(in.below(5)), static_cast<int>(in.below(5)),
                              static_cast<int>(in.below(5))};
        }
    }
    return object;
}

const string CHARMAP =
    "FILE_TYPE=charmap_object\nCOMPILER_VERSION=3\nHEADER_LENGTH=5\nCODESET=test\nSOURCE_VERSION=7\n### CHARMAP\n"
    "s 3 NUL 1 00\ns 1 A 1 41\ns 5 alpha 1 41\ns 3 a<b 1 42\ns 3 a\\b 1 43\nr 5 j0101 101 5 2 81fe\n"
    "r 2 k8 8 4 2 9040\nr 5 m0000 0 3 2 8300\ns 1 B 4 a1a2a3a4\n";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static GuardedMemory memory;
    Input in(data, size);
    Scene scene(memory, in);
    const unsigned kind = in.below(8);
    if (kind < 6) {
        const Shape &shape = shapes()[in.below(static_cast<unsigned>(shapes().size()))];
        Shape copy = shape;
        try {
            damage(copy, in);
        } catch (const std::logic_error &) { // there is no such table
            return 0;
        }
        const string whole = shape.text(), damaged_one = damaged(copy.text(), in);
        scene.locale = load(shape.codeset, whole, damaged_one, in, scene.terminator);
        if (scene.locale != nullptr) call_face(scene, memory, copy.codeset.characters);
        gl_lc_unload(scene.locale);
        return 0;
    }
    const string object = damaged(kind == 6 ? damaged_conversion(in).text() : CHARMAP, in);
    serve(object);
    if (kind == 6) {
        if (gl_iconv_open1(&scene.cd, "/object.cvo") == 0) {
            scene.terminator = static_cast<size_t>(std::max(scene.cd->source_min_len, 1));
            call_face(scene, memory, some_characters());
        }
        gl_cv_unload(scene.cd);
    } else {
        if (gl_cm_load(&scene.cm, "/object.cmo", nullptr, nullptr) == 0) {
            scene.terminator = static_cast<size_t>(std::max(gl_mb_cm_min(scene.cm), 1));
            call_face(scene, memory, some_characters());
        }
        gl_cm_unload(scene.cm);
    }
    return 0;
}
