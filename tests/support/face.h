// The library's face as a table of calls: every exported function that takes text or one of the library's records, each with
// arguments within its contract. Texts end where their terminator or their count says, and outputs have the room that the contract
// asks for, to the byte, beside pages that cannot be touched.
#pragma once

#include "guarded.h"
#include "input.h"

#include "qbgl.h"

#include <algorithm>
#include <span>
#include <string>
#include <vector>

namespace qbgl_test {

// What the calls choose their arguments from. The records may be null: then calls that need them do nothing.
class Scene {
  public:
    Scene(GuardedMemory &memory, Input &input) : in(input), memory_(memory) {}

    Input &in;
    gl_locale *locale = nullptr;
    gl_charmap *cm = nullptr;
    gl_cv *cd = nullptr;
    size_t terminator = 1;                    // its bytes
    std::vector<std::string> texts;           // of whole units, without terminators
    std::vector<std::vector<gl_wchar>> wides; // the same for wide text
    std::vector<std::string> words;           // names, specifications, symbols
    const Guard *always = nullptr;            // where the page is; null: chosen for each block

    // Multibyte text; all of it, without its terminator, in the first form. count() is the size of the last text.
    const char *counted() { return text_of(texts, 0); }
    const char *terminated() { return text_of(texts, terminator); }
    // Ends as the contract of a length that may be -1 asks for; count() is the length to pass.
    const char *either() { return in.below(2) == 0 ? counted() : uncounted(terminated()); }
    // The same for functions that read a first character whatever the length says.
    const char *either_not_empty() { return not_empty(&Scene::either, &Scene::terminated); }
    const gl_wchar *wide_counted() { return text_of(wides, 0); }
    const gl_wchar *wide_terminated() { return text_of(wides, 1); }
    const gl_wchar *wide_either() { return in.below(2) == 0 ? wide_counted() : uncounted(wide_terminated()); }
    const gl_wchar *wide_either_not_empty() { return not_empty(&Scene::wide_either, &Scene::wide_terminated); }
    const char *word(); // terminated by one zero byte
    int count() const { return count_; }
    int up_to_count() { return count_ < 1 ? count_ : static_cast<int>(in.below(static_cast<unsigned>(count_) + 1)); }

    // Output of some size, or of the given one. room() is the size of the last one.
    char *out() { return out(some_room()); }
    char *out(size_t size);
    gl_wchar *wide_out() { return wide_out(some_room()); }
    gl_wchar *wide_out(size_t count);
    int room() const { return room_; }

    gl_wchar value();
    unsigned mask() { return in.word(); }
    int small() { return static_cast<int>(in.below(7)) - 2; } // a count or an index, -2 to 4

    // The text, or null where the contract allows it.
    template <class T> T *or_null(T *text) { return in.byte() == 1 ? nullptr : text; }
    template <class T> T *copy(std::span<const T> content, size_t more = 0) {
        T *const block = static_cast<T *>(memory_.take((content.size() + more) * sizeof(T), guard()));
        if (!content.empty()) std::memcpy(block, content.data(), content.size_bytes());
        return block;
    }
    const std::string &some_text() { return some(texts); }
    std::span<const gl_wchar> some_wide_text() { return some(wides); }

  private:
    template <class Text> const Text &some(const std::vector<Text> &all) {
        return all[in.below(static_cast<unsigned>(all.size()))];
    }
    template <class Text> const typename Text::value_type *text_of(const std::vector<Text> &all, size_t zeros) {
        const Text &text = some(all);
        count_ = static_cast<int>(text.size());
        auto *const block = copy<typename Text::value_type>(text, zeros);
        std::fill_n(block + text.size(), zeros, 0);
        return block;
    }
    template <class T> const T *uncounted(const T *text) {
        count_ = -1;
        return text;
    }
    template <class T> const T *not_empty(const T *(Scene::*either_way)(), const T *(Scene::*ended)()) {
        const T *text = (this->*either_way)();
        return count_ != 0 ? text : uncounted((this->*ended)());
    }
    Guard guard() { return always != nullptr ? *always : in.below(2) == 0 ? Guard::before : Guard::behind; }
    size_t some_room();

    GuardedMemory &memory_;
    int count_ = 0, room_ = 0;
};

// Reads a std::string_view to its end.
int next_byte(void *rest);

enum class Needs { nothing, locale, charmap, conversion };

struct Call {
    const char *name;
    Needs needs;
    void (*run)(Scene &);
};
extern const std::span<const Call> CALLS;

} // namespace qbgl_test
