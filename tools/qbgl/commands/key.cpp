#include "commands/key.h"

#include "text/collation_key.h"
#include "text/line_input.h"
#include "text/text_check.h"
#include "tree/locale_handle.h"

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
    const LocaleHandle locale = open_locale(request.locale, messages);
    CollationKeys keys(*locale);
    TextCheck check(*locale);
    std::string lines;
    return for_each_file(inputs_of(request.files), STANDARD_STREAM, [&](const std::string &file, OutputFile &output) {
        const auto write = [&] {
            output.write(lines);
            lines.clear();
        };
        LineInput input(file, line_end(*locale, false), messages, output, write);
        for (Line line{}; input.next(line);) {
            if (request.dense) {
                append_digits(lines, keys.dense_key(line.text));
            } else {
                try {
                    check(line, file);
                } catch (const Failure &) {
                    write(); // the lines before it
                    throw;
                }
                append_digits(lines, keys.key(line.text));
            }
            if (request.with_text) lines.append("\t").append(line.text);
            lines += '\n';
            if (lines.size() >= BLOCK) write();
        }
        write();
        return ExitStatus::OK;
    });
}

} // namespace qbgl
