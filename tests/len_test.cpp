// Stepping through multibyte text, in codesets of every shape.
#include "support/every_codeset.h"
#include "support/faults.h"
#include "support/guarded.h"

#include <climits>
#include <random>

namespace {

using namespace qbgl_test;

TEST(Steps, LeadToTheCharactersOfText) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        std::mt19937 random{7};
        std::vector<std::string> characters;
        for (const Character &character : codeset.characters)
            if (wide(character.bytes) != 0) characters.push_back(character.bytes);
        std::shuffle(characters.begin(), characters.end(), random);
        std::string text;
        for (const std::string &character : characters) text += character;
        const std::string end = codeset.encode(std::string(1, '\0'));
        const auto count = static_cast<int>(characters.size()), shortest = static_cast<int>(end.size());
        GuardedMemory memory;
        const auto guarded = [&](const std::string &bytes) {
            return static_cast<char *>(memory.take(bytes.size(), Guard::behind, bytes.data()));
        };
        char *const s = guarded(text + end);
        char *at = s;
        for (int i = 0; i < count; ++i) {
            const auto length = static_cast<int>(characters[i].size());
            ASSERT_EQ(_qbx_gl_full_mbsnext(l, at, INT_MAX), at + length) << i;
            ASSERT_TRUE(fails(l, _qbx_gl_full_mbsnext(l, at, length - 1), GL_EINVAL));
            for (char *const here : {gl_full_getmbsi(l, s, i), gl_getmbsinull(l, s, i), gl_full_mbsprev(l, s, at + length)})
                ASSERT_EQ(here, at) << i;
            ASSERT_EQ(gl_ismbsterm(l, at), 0);
            ASSERT_TRUE(length == 1 || fails(l, gl_full_mbsprev(l, s, at + 1), GL_EINVAL));
            at += length;
        }
        EXPECT_EQ(gl_getmbsinull(l, s, count + 10), at);
        EXPECT_EQ(gl_full_getmbsi(l, s, count + 1), at + shortest);
        EXPECT_EQ(gl_ismbsterm(l, at), shortest);
        EXPECT_EQ(gl_mb_loc_min(l), shortest);
        EXPECT_EQ(gl_mb_loc_max(l), _gl_multi_max_length(l->ctype.codeset_table));
        EXPECT_EQ(gl_mbsterm(l, s), shortest);
        EXPECT_EQ(gl_mbsbytes_nt(l, s), 0);
        EXPECT_EQ(std::string(s, end.size() + 1), end + text[end.size()]);
        EXPECT_TRUE(shortest == 1 || gl_ismbsterm(l, guarded(std::string("\0A", 2))) == 0);
    });
}

TEST(Steps, Fail) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        const std::string text = codeset.encode("ab");
        char *const s = const_cast<char *>(text.c_str());
        for (char *const from : {s, s + 1}) EXPECT_TRUE(fails(l, gl_full_mbsprev(l, from, s), GL_EENDBEFORE));
        EXPECT_TRUE(fails(l, gl_full_getmbsi(l, nullptr, -1), GL_ENEGCOUNT));
        EXPECT_TRUE(fails(l, gl_getmbsinull(l, nullptr, 0), GL_ENULLPTR));
        for (const auto &[to, place, error] : {std::tuple<char *, int, int>(s, -1, GL_ENEGCOUNT), {nullptr, 1, GL_ENULLPTR}})
            EXPECT_TRUE(fails(l, gl_full_putmbsi(l, to, place, "a"), error));
        for (const auto &[to, with] : {std::pair<char *, const char *>(nullptr, "a"), {s, nullptr}})
            EXPECT_TRUE(fails(l, gl_mbcreplace(l, to, with), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_mbsbytes_nt(l, nullptr), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, _qbx_gl_full_mbsnext(l, s, 0), GL_EINVAL));
        EXPECT_TRUE(fails(l, gl_full_mbsnext(l, nullptr), GL_ENULLPTR));
    });
}

TEST(Replacement, MovesTheTail) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        const std::string short_one = codeset.encode("b"), long_one = codeset.characters.back().bytes,
                          end = codeset.encode({"\0", 1});
        const std::string text = short_one + long_one + short_one + end;
        const std::string grown = long_one + long_one + short_one + end, shrunk = short_one + short_one + short_one + end;
        std::string room(64, '?');
        char *const s = room.data();
        room.replace(0, text.size(), text);
        for (const auto &[with, result] :
             {std::pair<const char *, std::string>(s + short_one.size(), grown), // from the text itself
              {short_one.c_str(), text}}) {
            EXPECT_EQ(gl_full_putmbsi(l, s, 0, with), s);
            EXPECT_EQ(room.substr(0, result.size()), result);
        }
        EXPECT_EQ(gl_mbcreplace(l, s + short_one.size(), short_one.c_str()), s + short_one.size());
        EXPECT_EQ(room.substr(0, shrunk.size()), shrunk);
        for_each_fault(Operation::allocate, Lasting::once, [&](const Faults &faults) {
            room.replace(0, text.size(), text);
            const auto put = told(l, gl_full_putmbsi(l, s, 0, long_one.c_str()));
            EXPECT_EQ(put, faults.hit() ? std::pair(static_cast<char *>(nullptr), int{GL_ENOMEM}) : std::pair(s, UNTOUCHED));
            EXPECT_TRUE(room.starts_with(faults.hit() ? text : grown)) << room;
        });
        if (l->single_byte != 0) return;
        const std::string bad = short_one + long_one + short_one + "\xFF\xFF" + end;
        room.replace(0, bad.size(), bad);
        for (const auto &[place, with] : {std::pair(0, "\xFF\xFF"), {0, short_one.c_str()}, {3, short_one.c_str()}})
            EXPECT_TRUE(fails(l, gl_full_putmbsi(l, s, place, with), GL_EILSEQ));
        EXPECT_EQ(room.substr(0, bad.size()), bad);
    });
}

} // namespace
