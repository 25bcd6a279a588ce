// What the fuzzers do to the text of an object.
#pragma once

#include "support/input.h"
#include "support/locale_object.h"

#include <algorithm>
#include <string>
#include <vector>

// One to four bytes, zeros often.
inline std::string some_bytes(qbgl_test::Input &in) {
    std::string bytes;
    for (unsigned count = 1 + in.below(4); count > 0; --count) bytes += static_cast<char>(in.byte());
    return bytes;
}

// Damage to lines: most of an object's text are tables, so a section is chosen first.
inline std::string damaged(std::string text, qbgl_test::Input &in) {
    constexpr const char *EXTREMES[] = {"0",     "-1",         "1",          "15",          "16",         "255",         "65535",
                                        "65536", "2147483647", "2147483648", "-2147483648", "4294967295", "ffff",        "7fff",
                                        "8000",  "0.01",       "-1.0",       "1e300",       "nan",        "999999999999"};
    std::vector<size_t> sections{0};
    for (size_t at = 0; (at = text.find("###", at)) != std::string::npos; ++at) sections.push_back(at);
    for (unsigned changes = in.below(4); changes > 0 && !text.empty(); --changes) {
        const auto line_from = [&](size_t at) {
            for (unsigned lines = in.byte() == 255 ? in.word() : in.byte() % 32; lines > 0; --lines) {
                const size_t next = text.find('\n', at);
                if (next == std::string::npos || next + 1 >= text.size()) break;
                at = next + 1;
            }
            return std::pair(at, std::min(text.find('\n', at), text.size() - 1) + 1 - at);
        };
        const auto [first, length] =
            line_from(std::min(sections[in.below(static_cast<unsigned>(sections.size()))], text.size() - 1));
        const size_t place = first + in.byte() % length;
        switch (in.below(8)) {
        case 0: text.resize(place); break;
        case 1: text.erase(place, 1 + in.below(3)); break;
        case 2: text.erase(first, length); break;
        case 3: text.insert(first, text.substr(first, length)); break;
        case 4: text.insert(line_from(first).first, text.substr(first, length)); break;
        case 5: { // a number
            const size_t number = text.find_first_of("0123456789", place);
            if (number == std::string::npos) break;
            const size_t end = std::min(text.find_first_not_of("0123456789abcdef.", number), text.size());
            text.replace(number, end - number, EXTREMES[in.below(std::size(EXTREMES))]);
            break;
        }
        case 6: text.replace(place, 2, qbgl_test::hex(in.byte(), 2)); break;
        default: text[place] = "0123456789abf \n-:\x80"[in.below(18)];
        }
    }
    return text;
}
