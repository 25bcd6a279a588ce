// Conversion objects composed by hand: an account of the file format that does not depend on the library's own writer.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

namespace qbgl_test {

// What one source character maps to. The control byte's low three bits, the number of bytes, are filled in while writing.
struct Mapped {
    unsigned control;
    std::string bytes;
};
using Mapping = std::map<std::string, Mapped>;

inline std::string hexadecimal(std::string_view bytes) {
    std::string text;
    for (const unsigned char byte : bytes) text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
    return text;
}

// The node that is reached by `prefix`, and those below it.
inline std::string node_text(const Mapping &mapping, const std::string &prefix) {
    constexpr char END[] = "0000000\n";
    std::string flags, data, children;
    for (int byte = 0; byte < 256; ++byte) {
        const std::string key = prefix + static_cast<char>(byte);
        const auto found = mapping.lower_bound(key);
        if (found == mapping.end() || !found->first.starts_with(key)) continue;
        const std::string run = hexadecimal(key.substr(prefix.size())) + "001001";
        if (found->first == key) {
            const auto &[control, bytes] = found->second;
            const char filled = static_cast<char>(control | bytes.size());
            flags += run + "04\n";
            data += run + hexadecimal({&filled, 1}) + hexadecimal(bytes) + "\n";
        } else {
            flags += run + "01\n";
            children += node_text(mapping, key);
        }
    }
    return "1 1\n" + flags + END + data + END + children;
}

inline std::string table_text(const Mapping &mapping) {
    size_t longest = 0, shortest = 4;
    for (const auto &[key, mapped] : mapping) {
        longest = std::max(longest, key.size());
        shortest = std::min(shortest, key.size());
    }
    return std::to_string(longest) + " " + std::to_string(shortest) + " 1 00\n" + node_text(mapping, "");
}

struct ConversionObject {
    struct Lengths {
        int source_min = 1, source_max = 1, target_min = 1, target_max = 1;
    };

    Mapping main{};
    Lengths lengths{};
    Mapping shifted{};
    bool source_stateful = false, target_stateful = false;
    std::string sequences = "0000"; // as written: digit and bytes, four times
    std::string expansion = "1.5";
    int single_byte_table_flag = 1;

    static constexpr char HEADER[] = "FILE_TYPE=codeset_conversion_object\nCOMPILER_VERSION=9\nHEADER_LINES=3\n";

    // Between header and tables.
    std::string parameters() const {
        const auto number = [](int value) { return std::to_string(value) + " "; };
        return number(source_stateful) + std::to_string(target_stateful) + "\n" + sequences + "\n" + number(lengths.target_min) +
               number(lengths.target_max) + "0 0 " + number(lengths.source_min) + std::to_string(lengths.source_max) + "\n" +
               std::to_string(single_byte_table_flag) + "\n" + expansion + "\n";
    }
    std::string tables() const { return table_text(main) + (source_stateful ? table_text(shifted) : ""); }
    std::string text() const { return HEADER + parameters() + tables(); }
};

} // namespace qbgl_test
