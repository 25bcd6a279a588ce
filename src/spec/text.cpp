#include "spec/text.h"
#include "util/tokens.h"

namespace qbgl {

int take_place(Cursor &at, std::string_view &place) {
    const char *start = at.position();
    for (int i = 0; i < PLACE_LENGTH; ++i) {
        const bool underscore = i == 2;
        if (underscore ? start[i] != '_' : !ascii::is_alpha(start[i])) return underscore ? static_cast<int>(GL_EINVAL) : SILENT;
    }
    place = at.take(PLACE_LENGTH);
    return DONE;
}

bool take_hex4(Cursor &at, uint16_t &number) {
    number = 0;
    int digits = 0;
    for (; digits < 4 && ascii::is_xdigit(at.peek()); ++digits)
        number = static_cast<uint16_t>(number << 4 | hex_digit_value(at.take(1).front()));
    return digits > 0;
}

} // namespace qbgl
