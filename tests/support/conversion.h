// A conversion's call and all that it leaves behind.
#pragma once

#include "conversion_object.h"

#include "qbgl.h"

#include <memory>
#include <ostream>
#include <vector>

namespace qbgl_test {

using Descriptor = std::unique_ptr<gl_cv, int (*)(gl_cv *)>;

struct Outcome {
    int result, error;
    size_t consumed;
    int room, substituted; // what is left of the room
    std::string output;
    bool operator==(const Outcome &) const = default;
    friend void PrintTo(const Outcome &o, std::ostream *out) {
        *out << "result " << o.result << ", error " << o.error << ", consumed " << o.consumed << ", room " << o.room
             << ", substituted " << o.substituted << ", output " << hexadecimal(o.output.substr(0, 99));
    }
};

enum class Way { WRITE, MEASURE };

// Text and room are blocks of their own, so that one byte too far is seen. Text that is not counted has its terminator in it.
inline Outcome convert(gl_cv &cd, std::string_view text, int room, gl_cv_state *state = nullptr, bool counted = true,
                       Way way = Way::WRITE) {
    const std::vector<char> source(text.begin(), text.end());
    std::vector<char> target(way == Way::WRITE ? static_cast<size_t>(room) : 0);
    const char *in = source.data();
    char *out = target.data();
    int inleft = static_cast<int>(text.size());
    int *const left = counted ? &inleft : nullptr;
    Outcome o{0, 0, 0, room, 77, ""};
    gl_clear_errno(&cd);
    o.result = way == Way::WRITE ? gl_cv_mconv(&cd, state, &in, left, &out, &o.room, &o.substituted)
                                 : gl_mconvlen(&cd, state, &in, left, &o.room, &o.substituted);
    o.error = gl_errno(&cd);
    o.consumed = static_cast<size_t>(in - source.data());
    o.output.assign(target.data(), out);
    return o;
}

} // namespace qbgl_test
