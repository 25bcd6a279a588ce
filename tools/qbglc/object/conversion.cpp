#include "object/conversion.h"

#include "cvlib/record.h"
#include "object/seal.h"
#include "object/text.h"

#include <fmt/format.h>

#include <cstdio>

namespace qbgl::compiler {

namespace {

int write_entry(FILE *stream, const void *entry) {
    constexpr const char *DIGITS = "0123456789abcdef";
    const auto *bytes = static_cast<const uint8_t *>(entry);
    const int count = 1 + Record(bytes).length();
    for (int i = 0; i < count; ++i) {
        putc_unlocked(DIGITS[bytes[i] >> 4], stream);
        putc_unlocked(DIGITS[bytes[i] & 15], stream);
    }
    return std::ferror(stream) ? -1 : 0;
}

std::string table_text(const std::vector<ConversionRecord> &records, int target_max) {
    const std::array<uint8_t, 1 + Sequence::MAX> unmapped{};
    TableWriter table(static_cast<size_t>(target_max) + 1, unmapped.data());
    for (const ConversionRecord &record : records) {
        std::array<uint8_t, 1 + Sequence::MAX> entry{record.control};
        std::copy_n(record.output.bytes.begin(), record.output.length, entry.begin() + 1);
        table.insert(record.key, record.control == 0 ? nullptr : entry.data());
    }
    return table.text(write_entry);
}

} // namespace

std::string conversion_header(const std::vector<std::string> &lines) {
    return object_header("codeset_conversion_object", GL_CV_VERSION, lines);
}

void add_rules(std::vector<std::string> &lines, const std::string &source, const std::string &target) {
    if (!source.empty()) lines.push_back("UNLISTED=" + source + (target.empty() ? "" : " " + target));
}

std::string conversion_object(const Conversion &conversion, const std::string &header) {
    const char *shift_sequences = conversion.target_stateful ? "10e10f00" : "0000";
    std::string text = header;
    text += fmt::format("{:d} {:d}\n{}\n", conversion.source_stateful, conversion.target_stateful, shift_sequences);
    text += fmt::format("{} {} 0 0 {} {}\n", conversion.target.min, conversion.target.max, conversion.source.min,
                        conversion.source.max);
    text += fmt::format("0\n{}\n", ratio_text(conversion.growth, conversion.per));
    text += table_text(conversion.main, conversion.target.max);
    if (conversion.source_stateful) text += table_text(conversion.shifted, conversion.target.max);
    seal(text, header.size());
    return text;
}

} // namespace qbgl::compiler
