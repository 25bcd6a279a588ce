#include "ctype/case_maps.h"
#include "support/every_codeset.h"

#include <climits>
#include <set>

namespace {

using namespace qbgl_test;

const std::string &other(const std::string &mapped, const Character &of) { return mapped.empty() ? of.bytes : mapped; }

TEST(Characters, HaveClassAndCase) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        std::set<gl_wchar> known;
        for (const Character &character : codeset.characters) {
            const std::string &bytes = character.bytes, up = other(character.upper, character),
                              low = other(character.lower, character);
            const gl_wchar wc = *known.insert(wide(bytes)).first;
            const auto length = static_cast<int>(bytes.size()), shorter = length - 1, cased = static_cast<int>(low.size());
            EXPECT_EQ(_gl_im_towupper(l, wc), wide(up));
            EXPECT_EQ(_gl_im_towlower(l, wc), wide(low));
            for (const unsigned mask : {0x1FFFFU, unsigned{GL_CLASS_ALPHA}, 0U}) {
                for (const unsigned of :
                     {_gl_im_iswctype(l, wc, mask), gl_iswctype(l, wc, mask), _gl_im_ismctype(l, bytes.c_str(), mask),
                      _qbx_gl_im_ismctype(l, bytes.data(), length, mask)})
                    EXPECT_EQ(of, character.classes & mask);
            }
            char out[4];
            EXPECT_EQ(_gl_im_tomupper(l, out, bytes.c_str()), length << 8 | static_cast<int>(up.size()));
            EXPECT_EQ(std::string(out, up.size()), up);
            EXPECT_EQ(_qbx_gl_im_tomlower(l, out, bytes.data(), length), length << 8 | cased);
            EXPECT_EQ(std::string(out, low.size()), low);
            EXPECT_EQ(take_error(l), UNTOUCHED);
            EXPECT_EQ(told(l, _qbx_gl_im_ismctype(l, bytes.data(), shorter, 0xFFFF)), std::pair(0U, int{GL_EINVAL}));
            EXPECT_EQ(told(l, _qbx_gl_im_tomupper(l, out, bytes.data(), shorter)), std::pair(uint16_t{0}, int{GL_EINVAL}));
        }
        for (const gl_wchar first : {0x100U, 0x8000U, 0xC000U, 0x8FB000U, 0xE38000U, 0xF09F8000U, 0xFFFFC000U}) // and no others
            for (gl_wchar wc = first; wc - first < 0x4000; ++wc) {
                if (known.contains(wc)) continue;
                ASSERT_EQ(told(l, _gl_im_towlower(l, wc)), std::pair(wc, UNTOUCHED));
                ASSERT_EQ(told(l, _gl_im_iswctype(l, wc, 0xFFFF)), std::pair(0U, int{GL_EILSEQ}));
            }
    });
}

TEST(Texts, AreMapped) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        std::string text, upper, lower, end = codeset.encode(std::string(1, '\0'));
        std::vector<gl_wchar> wides, wide_upper, wide_lower;
        for (const Character &character : codeset.characters) {
            if (wide(character.bytes) != 0) text += character.bytes;
            if (wide(character.bytes) != 0) upper += other(character.upper, character), lower += other(character.lower, character);
            wides.push_back(wide(character.bytes));
            wide_upper.push_back(wide(other(character.upper, character)));
            wide_lower.push_back(wide(other(character.lower, character)));
        }
        for (auto *values : {&wides, &wide_upper, &wide_lower}) std::rotate(values->begin(), values->begin() + 1, values->end());
        for (const auto &[map, source, expected] :
             {std::tuple(&gl_tombsupper, text, upper), {&gl_tombslower, text, lower}, {&gl_tombslower, "", ""}}) {
            std::string mapped(expected.size() + end.size(), '?');
            EXPECT_EQ(map(l, mapped.data(), (source + end).c_str()), static_cast<int>(expected.size()));
            EXPECT_EQ(mapped, expected + end);
        }
        for (const auto &[map, expected] : {std::pair(&gl_towcsupper, wide_upper), {&gl_towcslower, wide_lower}}) {
            std::vector<gl_wchar> in_place = wides;
            EXPECT_EQ(map(l, in_place.data(), in_place.data()), 0);
            EXPECT_EQ(in_place, expected);
        }
        EXPECT_EQ(take_error(l), UNTOUCHED);

        // With a length NUL is a character, and what has no room is told.
        const std::string cut = text + end + text.substr(0, text.size() - 1);
        text += end + text;
        for (const auto &[map, source, expected] :
             {std::tuple(&gl_tombfsupper, text, upper + end + upper), {&gl_tombfslower, text, lower + end + lower}}) {
            const auto size = static_cast<int>(expected.size()), length = static_cast<int>(source.size());
            for (const int room : {size, size - 1, size / 2 - 1, 0}) {
                std::string mapped(expected.size() + 1, '?');
                EXPECT_EQ(map(l, mapped.data(), room, source.data(), length), room == size ? size : -1);
                EXPECT_EQ(take_error(l), room == size ? UNTOUCHED : GL_E2BIG);
                EXPECT_EQ(mapped.starts_with(expected), room == size);
                EXPECT_EQ(mapped.find_first_not_of('?', static_cast<size_t>(room)), std::string::npos);
            }
            std::string terminated(expected.size(), '?');
            const auto half = (size - static_cast<int>(end.size())) / 2;
            EXPECT_EQ(map(l, terminated.data(), half, source.c_str(), -1), half);
            EXPECT_EQ(terminated.substr(0, static_cast<size_t>(half)), expected.substr(0, static_cast<size_t>(half)));
            const bool whole = l->single_byte != 0; // every prefix is a text there
            EXPECT_EQ(map(l, terminated.data(), size, cut.data(), static_cast<int>(cut.size())) < 0, !whole);
            EXPECT_EQ(take_error(l), whole ? UNTOUCHED : GL_EINVAL);
            EXPECT_TRUE(fails(l, map(l, terminated.data(), -1, source.data(), length), GL_EBADARG));
            EXPECT_TRUE(fails(l, map(l, terminated.data(), size, source.data(), -2), GL_EBADARG));
        }
        for (const auto &[map, expected] : {std::pair(&gl_towcfsupper, wide_upper), {&gl_towcfslower, wide_lower}}) {
            const auto length = static_cast<int>(wides.size()); // the last one is NUL
            std::vector<gl_wchar> in_place = wides;
            EXPECT_TRUE(fails(l, map(l, in_place.data(), length - 1, wides.data(), length), GL_E2BIG));
            EXPECT_EQ(map(l, in_place.data(), length, wides.data(), -1), length - 1);
            EXPECT_EQ(map(l, in_place.data(), length, wides.data(), length), length);
            EXPECT_EQ(in_place, expected);
            in_place.back() = 0xFFFF;
            EXPECT_TRUE(fails(l, map(l, in_place.data(), length, in_place.data(), length), GL_EILSEQ));
        }
        text.resize((text.size() - end.size()) / 2);

        wides = {'a', 0xFFFF, 7};
        EXPECT_TRUE(fails(l, gl_towcsupper(l, wides.data(), wides.data()), GL_EILSEQ));
        EXPECT_EQ(wides, (std::vector<gl_wchar>{'A', 0xFFFF, 7}));
        if (l->single_byte != 0) return;
        std::string mapped(upper.size() + 4, '?');
        EXPECT_TRUE(fails(l, gl_tombsupper(l, mapped.data(), (text + "\xFF\xFF" + end).c_str()), GL_EILSEQ));
        EXPECT_EQ(mapped, upper + "????"); // and no terminator
        EXPECT_EQ(told(l, _gl_im_tomupper(l, mapped.data(), "\xFF")), std::pair(uint16_t{0x101}, int{GL_EILSEQ})); // copied
    });
}

TEST(Case, FollowsTheCaseTableAlone) {
    Codeset codeset = sjis_codeset();
    codeset.characters['b'].upper = "\xFC\xFC"; // no character of the codeset
    const Locale locale = load_locale(LocaleObject(codeset));
    char out[8];
    EXPECT_EQ(_gl_im_tomupper(locale.get(), out, "b"), 0x1FF);
    EXPECT_EQ(gl_tombsupper(locale.get(), out, "baab"), 1); // each b counts -1, but never to before the beginning
    EXPECT_STREQ(out, "A");
    gl_ctype_info &info = locale->ctype, whole = info;
    const uint16_t first_pair = 1;
    info.case_table = _gl_create_multi(2, 0, &first_pair);
    const gl_desc a{1, {'a'}};
    _gl_insert_desc_multi(&a, &first_pair, info.case_table); // A is a character, but not in the case table
    qbgl::CodesetMaps *maps = nullptr;
    ASSERT_TRUE(qbgl::build_codeset_maps(info, 0, maps));
    qbgl::build_case_maps(info, *maps);
    info.maps = maps;
    gl_wchar wides[] = {'A', 'a', 0};
    EXPECT_EQ(gl_tombsupper(locale.get(), out, "aA"), -1);
    EXPECT_EQ(gl_towcsupper(locale.get(), wides, wides), -1);
    EXPECT_EQ(_gl_im_towlower(locale.get(), 'A'), gl_wchar{'A'});
    qbgl::free_codeset_maps(maps);
    _gl_free_multi(info.case_table);
    info = whole;
}

TEST(Case, GrowsByTheLocalesFactor) {
    gl_locale locale = {};
    for (const auto &[factor, size] : {std::pair(4.0, 40), {1.5, 20}, {2.0, 20}, {2.01, 30}, {1e300, INT_MAX}}) {
        locale.case_growth = factor;
        EXPECT_EQ(gl_case_conv_outbuflen(&locale, 10), size) << factor;
    }
}

} // namespace
