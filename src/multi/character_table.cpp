#include "multi/character_table.h"

#include "ext/error.h"
#include "multi/read.h"

#include <algorithm>

namespace qbgl {

bool ub2_reader(ByteReader &in, void *value, uint32_t, void *) {
    const auto read = static_cast<uint16_t>(in.hex(4));
    memcpy(value, &read, sizeof read);
    return true;
}

int read_character_table(ByteReader &in, gl_locale *locale, gl_multi *&table) {
    const uint16_t none = 0;
    gl_multi *const read = _gl_create_multi(sizeof none, 0, &none);
    if (read == nullptr) {
        set_error(locale, GL_ENOMEM);
        return -1;
    }
    if (const TableRead result = read_table(in, *read, MAX_KEY, ub2_reader, nullptr); result != TableRead::DONE) {
        set_error(locale, result == TableRead::CUT_SHORT ? GL_EBADFILE : _gl_multi_err(read));
        _gl_free_multi(read);
        return -1;
    }
    _gl_free_multi(table);
    table = read;
    return 0;
}

bool values_within(const gl_multi &table, unsigned limit) {
    unsigned largest = value_at(table.default_entry);
    for_each_value(table, [&largest](int, uint16_t value) { largest = std::max<unsigned>(largest, value); });
    return largest <= limit;
}

} // namespace qbgl
