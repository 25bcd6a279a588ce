// Text for small conversions of every shape: a conversion in pieces, with little room, equals that of the whole text; measuring
// equals writing; and the fast lane makes no difference.
//
//   byte 0   conversion      byte 1, 2   seed of the pieces and rooms      rest   text
#include "support.h"
#include "support/conversion_shapes.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace {

using namespace qbgl_test;

using Descriptor = std::unique_ptr<gl_cv, int (*)(gl_cv *)>;

std::vector<Descriptor> load_all() {
    static std::string text;
    FILE *(*const open)(const char *, const char *) = [](const char *, const char *) {
        return fmemopen(text.data(), text.size(), "r");
    };
    gl_setextfunc(nullptr, GL_EXT_FOPEN, reinterpret_cast<gl_extfunc>(open));
    std::vector<Descriptor> conversions;
    const auto add = [&](const ConversionObject &object) {
        text = object.text();
        gl_cv *cd = nullptr;
        require(gl_iconv_open1(&cd, "/object.cvo") == 0);
        conversions.emplace_back(cd, gl_cv_unload);
    };
    for (const auto &[name, object] : STATELESS) add(object);
    for (const ConversionObject &object : {TO_SHIFTED, FROM_SHIFTED, BOTH_SHIFTED}) add(object);
    return conversions;
}

struct Outcome {
    int result = 0, error = 0, consumed = 0, written = 0, subst = 0;
    gl_cv_state state = {};
    std::string output = {};
};

Outcome convert(gl_cv *cd, const char *text, size_t size, int room, gl_cv_state state, bool write) {
    const std::vector<char> source(text, text + size);
    std::vector<char> target(static_cast<size_t>(room) + (cd->target_min_len == 4 ? 2 : 0));
    const char *in = source.data();
    char *out = target.data();
    int inleft = static_cast<int>(size), outleft = room;
    Outcome o;
    cd->error = 0;
    o.result = gl_cv_mconv(cd, &state, &in, &inleft, write ? &out : nullptr, &outleft, &o.subst);
    o.error = cd->error;
    o.consumed = static_cast<int>(in - source.data());
    o.written = room - outleft;
    o.state = state;
    o.output.assign(target.data(), out);
    require(o.consumed + inleft == static_cast<int>(size) && (!write || o.written == out - target.data()));
    return o;
}

void require_same(const Outcome &a, const Outcome &b, bool output = true) {
    require(a.result == b.result && a.error == b.error && a.consumed == b.consumed && a.written == b.written && a.subst == b.subst);
    require(a.state.source_shift == b.state.source_shift && a.state.target_shift == b.state.target_shift);
    require(!output || a.output == b.output);
}

// In windows that grow until the text is whole, with rooms that grow until a character fits.
Outcome convert_in_pieces(gl_cv *cd, const char *text, size_t size, unsigned seed) {
    const auto next = [&seed] { return (seed = seed * 1103515245 + 12345) >> 16; };
    Outcome whole;
    size_t end = 0;
    for (int room = 0;;) {
        const bool last = end == size;
        whole.state.flush = last ? 1 : 0;
        const auto at = static_cast<size_t>(whole.consumed);
        const Outcome part = convert(cd, text + at, end - at, room, whole.state, true);
        whole.consumed += part.consumed;
        whole.written += part.written;
        whole.subst |= part.subst;
        whole.state = part.state;
        whole.output += part.output;
        whole.result = part.result;
        whole.error = part.error;
        if (part.error == GL_E2BIG) {
            room = part.consumed > 0 ? static_cast<int>(next() % 40) : room + 1;
        } else {
            if (last || part.error != 0) return whole;
            end += 1 + next() % (size - end);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const std::vector<Descriptor> CONVERSIONS = load_all();
    if (size < 3) return 0;
    gl_cv *cd = CONVERSIONS[data[0] % CONVERSIONS.size()].get();
    const unsigned seed = data[1] << 8 | data[2];
    const char *text = reinterpret_cast<const char *>(data + 3);
    size -= 3;
    const int most = static_cast<int>(size) * 8 + 8;
    const gl_cv_state start = {0, 1, 0, 0};
    const Outcome whole = convert(cd, text, size, most, start, true);
    require(whole.error != GL_E2BIG);
    require_same(whole, convert_in_pieces(cd, text, size, seed));
    for (const int room : {most, static_cast<int>(seed % static_cast<unsigned>(most))}) {
        const Outcome lane = convert(cd, text, size, room, start, true);
        require_same(lane, convert(cd, text, size, room, start, false), false);
        void *const kept = std::exchange(cd->lane, nullptr);
        require_same(lane, convert(cd, text, size, room, start, true));
        cd->lane = kept;
    }
    return 0;
}
