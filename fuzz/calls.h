// Calls of the whole face that an input chooses, on texts that it chooses.
#pragma once

#include "damage.h"
#include "support.h"
#include "support/face.h"

#include <algorithm>
#include <cstdlib>

namespace qbgl_test {

// Of the shapes that conversions and charmaps have.
inline const std::vector<Character> &some_characters() {
    static const std::vector<Character> CHARACTERS = {
        {"A", 0},    {"a", 0},    {"\x81\x40", 0}, {"\x81\xFE", 0},         {"\x82", 0},        {"\x90\x44", 0},
        {"\x0E", 0}, {"\x0F", 0}, {"K", 0},        {"\xA1\xA2\xA3\xA4", 0}, {"\x8F\xA1\xA5", 0}};
    return CHARACTERS;
}

// Texts of characters and other bytes, in whole units, and wide ones of the same kind.
inline void choose_texts(Scene &scene, const std::vector<Character> &characters) {
    Input &in = scene.in;
    for (int i = 0; i < 3; ++i) {
        std::string text;
        std::vector<gl_wchar> values;
        for (unsigned items = in.below(40); items > 0; --items) {
            const unsigned kind = in.byte();
            std::string bytes(1, static_cast<char>(kind < 240 ? in.byte() : 0));
            if (kind < 160 && !characters.empty()) bytes = characters[in.byte() * (kind % 4 + 1) % characters.size()].bytes;
            text += bytes;
            values.push_back(wide(kind % 16 == 15 ? some_bytes(in) : bytes));
        }
        text.resize(text.size() / scene.terminator * scene.terminator);
        scene.texts.push_back(text);
        std::replace(values.begin(), values.end(), 0U, 1U);
        scene.wides.push_back(values);
    }
    constexpr const char *SIX =
        "GL_CTYPE = en_us.819 ; GL_COLLATE = en_us.819 ; GL_NUMERIC = en_us.819 ; GL_MONETARY = en_us.819 ; "
        "GL_TIME = en_us.819 ; GL_MESSAGES = en_us.819 ; ";
    constexpr const char *TWO = "GL_CTYPE = default.lco GL_TIME = native";
    scene.words = {
        "",  "default.lco", "native", "ja_jp.sjis", "de_de.utf8@euro", "ja_jp/e006.lco", "<A><j0104><B>", "<a\\<b>", "42",
        SIX, TWO,           "sjis",   "utf8"};
    std::string own = scene.words[in.below(static_cast<unsigned>(scene.words.size()))];
    for (unsigned changes = in.below(4); changes > 0; --changes)
        own.insert(in.byte() % (own.size() + 1), 1, static_cast<char>(in.byte() | 1));
    scene.words.push_back(own.c_str());
}

inline void call_face(Scene &scene, GuardedMemory &memory, const std::vector<Character> &characters) {
    constexpr int MOST_CALLS = 48;
    choose_texts(scene, characters);
    for (int calls = 0; calls < MOST_CALLS && !scene.in.at_end(); ++calls) {
        const Call &call = CALLS[scene.in.byte() % CALLS.size()];
        if ((call.needs == Needs::locale && scene.locale == nullptr) || (call.needs == Needs::conversion && scene.cd == nullptr) ||
            (call.needs == Needs::charmap && scene.cm == nullptr))
            continue;
        call.run(scene);
        if (memory.clear()) continue;
        std::fprintf(stderr, "%s writes beside its room\n", call.name);
        std::abort();
    }
}

// Nothing is searched in the installation that happens to be there.
inline const bool prepared = [] {
    qbgl_test::load_extension();
    setenv("QUORBANEDIR", "/nonexistent", 1);
    gl_cache_registry(nullptr, "/nonexistent");
    return true;
}();

} // namespace qbgl_test
