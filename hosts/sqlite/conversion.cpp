#include "conversion.h"

#include "process.h"
#include "text.h"

#include <algorithm>

namespace qbgl_sqlite {

namespace {

constexpr size_t MOST_AT_ONCE = 64 << 20; // the library counts bytes in ints, and a text may grow to some times its size
constexpr size_t MOST_OPEN = 64;

// Nothing that could lead out of the tree.
bool is_codeset_name(std::string_view name) {
    const auto is_taken = [](char c) { return c > ' ' && c < '\x7F' && c != '/' && c != '@'; };
    return !name.empty() && name.size() <= 40 && std::all_of(name.begin(), name.end(), is_taken) &&
           name.find("..") == std::string_view::npos;
}

} // namespace

std::string codeset_name(std::string_view name) {
    if (!is_codeset_name(name)) throw Error(quoted(name) + " is no name of a codeset");
    return std::string(name);
}

bool is_utf8(const std::string &codeset) { return codeset_number(codeset) == codeset_number("utf8"); }

const Converters::Converter &Converters::converter(const std::string &from, const std::string &to) {
    for (const Converter &known : converters_)
        if (known.from == from && known.to == to) return known;
    gl_cv *descriptor = nullptr;
    const int result = one_at_a_time([&] { return gl_cv_load(&descriptor, to.c_str(), from.c_str(), nullptr, nullptr); });
    std::unique_ptr<gl_cv, int (*)(gl_cv *)> owned(descriptor, gl_cv_unload);
    if (result < 0) {
        const int number = gl_errno(descriptor);
        if (number == GL_ENOMEM) throw std::bad_alloc();
        throw Error("no conversion from " + from + " to " + to + ": " + gl_strerror(number));
    }
    if (converters_.size() == MOST_OPEN) converters_.erase(converters_.begin());
    converters_.push_back({from, to, is_utf8(to), std::move(owned)});
    return converters_.back();
}

namespace {

struct Converted {
    int result, number; // of the library
    size_t offset;      // how far it came
    bool substituted;
    std::string text;
};

Converted run(gl_cv *descriptor, std::string_view text) {
    std::string result(static_cast<size_t>(std::max(gl_cv_outbuflen(descriptor, static_cast<int>(text.size())), 0)) + 16, '\0');
    gl_cv_state state{};
    state.flush = 1;
    const char *in = text.data();
    char *out = result.data();
    int in_left = static_cast<int>(text.size()), out_left = static_cast<int>(result.size()), substituted = 0;
    gl_clear_errno(descriptor);
    const int converted = gl_cv_mconv(descriptor, &state, &in, &in_left, &out, &out_left, &substituted);
    const int number = converted < 0 ? gl_errno(descriptor) : 0;
    result.resize(static_cast<size_t>(out - result.data()));
    return {converted, number, static_cast<size_t>(in - text.data()), substituted != 0, std::move(result)};
}

// Where the first character stands for which the target has an approximation only: the longest beginning without one ends there.
size_t first_substituted(gl_cv *descriptor, std::string_view text) {
    size_t sound = 0, bad = text.size();
    while (bad - sound > 1) {
        const size_t middle = sound + (bad - sound) / 2;
        (run(descriptor, text.substr(0, middle)).substituted ? bad : sound) = middle;
    }
    return run(descriptor, text.substr(0, sound)).offset;
}

} // namespace

Converters::Result Converters::convert(std::string_view text, std::string_view from, std::string_view to) {
    const Converter &open = converter(codeset_name(from), codeset_name(to));
    gl_cv *const descriptor = open.descriptor.get();
    if (descriptor == nullptr) {
        const size_t bad = open.to_utf8 ? first_bad(text) : text.size();
        if (bad < text.size()) throw Error("no character of " + open.from + place(text, bad));
        return {std::string(text), open.to_utf8};
    }
    if (text.size() > MOST_AT_ONCE) throw Error("a text of more than 64 MiB is not converted at once", SQLITE_TOOBIG);
    Converted converted = run(descriptor, text);
    if (converted.result == 0 && !converted.substituted) return {std::move(converted.text), open.to_utf8};
    if (converted.number == GL_ENOMEM) throw std::bad_alloc();
    if (converted.number == GL_E2BIG) throw Error("a text grows too long in " + open.to, SQLITE_TOOBIG);
    const size_t offset = converted.result < 0 ? converted.offset : first_substituted(descriptor, text);
    if (converted.result == 0) throw Error(open.to + " has only an approximation of the character" + place(text, offset));
    const bool lacks = converted.number == GL_EILSEQ;
    throw Error((lacks ? open.to + " lacks the character" : "no character of " + open.from) + place(text, offset));
}

} // namespace qbgl_sqlite
