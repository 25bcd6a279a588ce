#include "key_command.h"

#include "collation_key.h"
#include "lines.h"
#include "locale_handle.h"
#include "progress.h"
#include "text_check.h"

namespace qbgl {

namespace {

// Without formatting them: of a key there are many.
void append_digits(std::string &text, std::string_view bytes) {
    constexpr const char *DIGITS = "0123456789abcdef";
    for (const char byte : bytes) text += {DIGITS[static_cast<uint8_t>(byte) >> 4], DIGITS[static_cast<uint8_t>(byte) & 0xF]};
}

} // namespace

ExitStatus run_key(const KeyRequest &request, const Messages &messages) {
    constexpr size_t BLOCK = 64 << 10;
    const LocaleHandle locale = open_locale(request.locale);
    const std::vector<std::string> files = inputs_of(request.files);
    check_readable(files);
    CollationKeys keys(*locale);
    TextCheck check(*locale);
    OutputFile output(STANDARD_STREAM, files);
    std::string lines;
    const auto write = [&] {
        output.write(lines);
        lines.clear();
    };
    for (const std::string &file : files) {
        InputFile input(file);
        Progress progress(input.size(), messages);
        LineReader reader([&](char *buffer, size_t size) { return write(), input.read(buffer, size); }, line_end(*locale, false));
        for (Line line{}; reader.next(line);) {
            try {
                check(line, file);
            } catch (const SystemFailure &) {
                write(); // the lines before it
                throw;
            }
            append_digits(lines, keys.key(line.text));
            if (request.with_text) lines.append("\t").append(line.text);
            lines += '\n';
            if (lines.size() >= BLOCK) write();
            progress.add(line.text.size());
        }
    }
    write();
    return ExitStatus::OK;
}

} // namespace qbgl
