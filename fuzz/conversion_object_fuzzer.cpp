// Bytes as a conversion object. What loads converts the last bytes of the input, with little room, in every mode.
#include "support.h"

#include "cvlib/record.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

constexpr size_t TEXT_SIZE = 48;
constexpr int ZEROS = 16; // more than a character's last bytes and a whole one

struct Outcome {
    int result, error, consumed, outleft, subst;
    gl_cv_state state;
};

// Through blocks of exactly the sizes. Conversions to four-byte units may write two bytes more than there is room.
Outcome convert(gl_cv *cd, const std::vector<char> &text, int room, bool counted, bool write, gl_cv_state state) {
    std::vector<char> target(static_cast<size_t>(room) + (cd->target_min_len == 4 ? 2 : 0));
    const char *in = text.data();
    char *out = target.data();
    int inleft = static_cast<int>(text.size()), outleft = room, subst = 0;
    cd->error = 0;
    const int result = gl_cv_mconv(cd, &state, &in, counted ? &inleft : nullptr, write ? &out : nullptr, &outleft, &subst);
    const int consumed = static_cast<int>(in - text.data());
    require(!counted || consumed + inleft == static_cast<int>(text.size()));
    require(consumed >= 0 && consumed <= static_cast<int>(text.size()));
    require(out - target.data() == (write ? room - outleft : 0) && outleft >= -2 && outleft <= room);
    require(result == 0 || (result == -1 && (cd->error == 0 || cd->error == GL_EILSEQ || cd->error == GL_E2BIG)));
    return {result, cd->error, consumed, outleft, subst, state};
}

// Without a terminator that the table knows as one, a conversion to the terminator runs on.
bool stops_at_zeros(const gl_multi *table) {
    const char zeros[4] = {};
    int length = 0;
    const void *record = _gl_retrieve_text_multi_limit(zeros, table, 4, &length, nullptr);
    if (record == nullptr) return true;
    const qbgl::Record found(static_cast<const uint8_t *>(record));
    return found.unmapped() || found.terminator();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    serve_object(data, size);
    gl_cv *cd = nullptr;
    if (gl_iconv_open1(&cd, "/object.cvo") != 0) {
        require(cd->error == GL_ENOFILE || cd->error == GL_EBADFILE || cd->error == GL_ENOMEM || cd->error == GL_ETABLELEN);
        require(gl_cv_unload(cd) == 0);
        return 0;
    }
    require(cd->error == 0 && gl_cv_outbuflen(cd, 10) >= 0);
    std::vector<char> text(data + size - std::min(size, TEXT_SIZE), data + size);
    const bool stops = stops_at_zeros(cd->main_table) && (cd->shifted_table == nullptr || stops_at_zeros(cd->shifted_table));
    for (int room = 0; room < 100; room += room < 8 ? 1 : 23) {
        for (int bits = 0; bits < 16; ++bits) {
            const gl_cv_state state = {bits & 1, bits >> 1 & 1, bits >> 2 & 1, bits >> 3 & 1};
            const Outcome written = convert(cd, text, room, true, true, state);
            const Outcome measured = convert(cd, text, room, true, false, state);
            require(written.result == measured.result && written.error == measured.error && written.consumed == measured.consumed);
            require(written.outleft == measured.outleft && written.subst == measured.subst);
            require(written.state.target_shift == measured.state.target_shift);
            if (!stops) continue;
            std::vector<char> terminated = text;
            terminated.insert(terminated.end(), ZEROS, '\0');
            convert(cd, terminated, room, false, true, state);
            convert(cd, terminated, room, false, false, state);
        }
        if (text.size() > 1) text.erase(text.begin());
    }
    require(gl_cv_unload(cd) == 0);
    return 0;
}
