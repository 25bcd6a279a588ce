// What the fuzzers of families of functions share: a locale by a recipe, texts that end at a page which cannot be read, outputs
// between such pages, and the allocations of a call.
#pragma once

#include "damage.h"
#include "support.h"
#include "support/guarded.h"

#include <cstring>
#include <span>

namespace qbgl_test {

struct Shape {
    Codeset codeset;
    LocaleObject object;
};

inline const Shape &shape_of(unsigned choice) {
    static const std::vector<Shape> SHAPES = [] {
        setenv("QUORBANEDIR", "/nonexistent", 1);
        gl_cache_registry(nullptr, "/nonexistent");
        std::vector<Shape> result;
        for (const auto make :
             {single_byte_codeset, sjis_codeset, eucjp_codeset, utf8_codeset, two_byte_codeset, four_byte_codeset, gb18030_codeset})
            result.push_back({make(), LocaleObject(make(), Collation{}.text())}); // which loads faster
        return result;
    }();
    return SHAPES[choice % SHAPES.size()];
}

inline int allocations = 0;

// One input's locale and memory.
class Family {
  public:
    // `tokens` are what formats and texts of the family often hold.
    Family(Input &input, std::span<const char *const> tokens)
        : in(input), shape(shape_of(input.byte())), object(shape.object), tokens_(tokens) {}
    ~Family() {
        require(memory().clear());
        gl_lc_unload(l);
    }
    Family &operator=(Family &&) = delete;

    // Bytes below 70 are themselves, others choose a token, a character, or are a byte as it is.
    std::string text(unsigned most = 24, bool whole = false) {
        std::string result;
        for (unsigned items = in.below(most + 1); items > 0; --items) {
            const unsigned choice = in.byte();
            if (choice < 0x70)
                result += shape.codeset.encode(std::string(1, choice == 0 && whole ? ' ' : static_cast<char>(choice)));
            else if (choice < 0xC0)
                result += shape.codeset.encode(tokens_[choice % tokens_.size()]);
            else if (choice < 0xF8 || whole)
                result += shape.codeset.characters[1 + in.word() % (shape.codeset.characters.size() - 1)].bytes;
            else
                result += static_cast<char>(in.byte());
        }
        return result;
    }
    // One for the object, which rarely is of bytes that are none.
    std::string own_text(unsigned most = 10) { return text(most, in.below(32) != 0); }
    std::string line() { return string_line(own_text()); }

    // A run of one input: `write` puts into the object what the family reads, and `calls` are one round of its calls.
    template <class Write, class Calls> static int run(Input in, std::span<const char *const> tokens, Write write, Calls calls) {
        Family family(in, tokens);
        write(family);
        if (family.load())
            while (family.next()) calls(family);
        return 0;
    }

    // Loads the object; false when it is none.
    bool load() {
        const std::string whole = in.below(4) == 0 ? damaged(object.text(), in) : object.text();
        serve_object(reinterpret_cast<const uint8_t *>(whole.data()), whole.size());
        const bool loaded = gl_createlocale2_4(&l, "/") == 0;
        require(loaded == (gl_errno(l) == 0));
        if (loaded) unit = gl_mb_loc_min(l);
        return loaded;
    }

    // A text of whole units, its terminator the last bytes that can be read.
    const char *guarded(std::string text) {
        text.resize(text.size() / static_cast<size_t>(unit) * static_cast<size_t>(unit));
        text.append(static_cast<size_t>(unit), '\0');
        return static_cast<char *>(memory().take(text.size(), Guard::behind, text.data()));
    }
    const gl_wchar *guarded_wide(const std::string &text) {
        std::vector<gl_wchar> wide(text.begin(), text.end());
        for (gl_wchar &wc : wide) wc = wc > INT32_MAX ? wc & 0xFF : wc;
        wide.push_back(0);
        return static_cast<gl_wchar *>(memory().take(wide.size() * sizeof(gl_wchar), Guard::behind, wide.data()));
    }
    template <class Unit> Unit *out(int room) {
        return static_cast<Unit *>(memory().take(static_cast<size_t>(std::max(room, 0)) * sizeof(Unit), Guard::behind));
    }
    int room() { return static_cast<int>(in.below(4) == 0 ? in.below(8) : in.byte()) - 1; }

    // Whether the input has another round of calls; memory is free again.
    bool next() {
        require(memory().clear());
        return rounds_++ < MOST_ROUNDS && (rounds_ == 1 || !in.at_end());
    }

    // What writing owes: a text of whole characters, as long as it says, which ends within its room.
    void check(const char *text, int room, int length) {
        require(length >= -1 && (length >= 0 || gl_errno(l) != 0));
        if (length < 0 && room < unit) return;
        const int bytes = gl_mbsbytes(l, text); // ends at the guard at the latest
        require(bytes >= unit && bytes <= room && (length < 0 || bytes == length + unit));
        if (l->single_byte == 0) require(_qbx_gl_im_mbfslen(l, text, bytes - unit) >= 0);
    }
    void check(const gl_wchar *text, int room, int length) {
        require(length >= -1 && (length >= 0 || gl_errno(l) != 0));
        if (length < 0 && room < 1) return;
        const int count = gl_wcslen(text);
        require(count < room && (length < 0 || count == length));
    }

    // Whether a place is in a text with its terminator.
    template <class Unit> void check_place(const Unit *place, const Unit *text) {
        const Unit *end = text;
        if constexpr (sizeof(Unit) == 1)
            while (gl_ismbsterm(l, end) == 0) end += unit;
        else
            end += gl_wcslen(text);
        require(text <= place && place <= end);
    }

    // Calls of functions that ask for no memory.
    template <class Call> auto without_memory(Call call) {
        gl_clear_errno(l);
        allocations = 0;
        void *(*const counting)(uint32_t) = [](uint32_t size) {
            ++allocations;
            return gl_ext_malloc(size);
        };
        gl_setextfunc(nullptr, GL_EXT_MALLOC, reinterpret_cast<gl_extfunc>(counting));
        const auto result = call();
        require(allocations == 0);
        return result;
    }

    Input &in;
    const Shape &shape;
    LocaleObject object;
    gl_locale *l = nullptr;
    int unit = 1;

  private:
    static GuardedMemory &memory() {
        static GuardedMemory memory;
        return memory;
    }
    std::span<const char *const> tokens_;
    static constexpr int MOST_ROUNDS = 8;
    int rounds_ = 0;
};

} // namespace qbgl_test
