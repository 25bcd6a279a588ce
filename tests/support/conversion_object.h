// Conversion objects composed by hand: an account of the file format that does not depend on the library's own writer.
#pragma once

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

namespace qbgl_test {

// What one source character maps to: control byte and target bytes. The control byte's low three bits, the number of bytes, are
// filled in while writing.
using Mapped = std::pair<unsigned, std::string>;
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
            flags += run + "04\n";
            data += run + hexadecimal(std::string(1, static_cast<char>(control | bytes.size())) + bytes) + "\n";
        } else {
            flags += run + "01\n";
            children += node_text(mapping, key);
        }
    }
    return "1 1\n" + flags + END + data + END + children;
}

inline std::string table_text(const Mapping &mapping) {
    size_t longest = 0;
    for (const auto &[key, mapped] : mapping) longest = std::max(longest, key.size());
    return std::to_string(longest) + " 1 1 00\n" + node_text(mapping, "");
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
    int single_byte_table_flag = 1;

    // With one more line of header, or none.
    std::string text(const std::string &header_line = "") const {
        std::ostringstream lines;
        lines << "FILE_TYPE=codeset_conversion_object\nCOMPILER_VERSION=9\nHEADER_LINES=" << (header_line.empty() ? 3 : 4) << "\n";
        lines << header_line << (header_line.empty() ? "" : "\n") << source_stateful << " ";
        lines << target_stateful << "\n" << sequences << "\n" << lengths.target_min << " " << lengths.target_max << " 0 0 ";
        lines << lengths.source_min << " " << lengths.source_max << "\n" << single_byte_table_flag << "\n1.5\n";
        lines << table_text(main) << (source_stateful ? table_text(shifted) : "");
        return lines.str();
    }
};

} // namespace qbgl_test
