#include "order/lines.h"

#include "order/line_sorter.h"
#include "system/error.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>

namespace qbgl::compiler {

namespace {

int sign(int value) { return (value > 0) - (value < 0); }

// Calls with every line of a file.
template <class Function> void for_each_line(const std::filesystem::path &path, Function function) {
    std::ifstream file;
    if (path != "-") file.open(path, std::ios::binary);
    std::istream &input = path == "-" ? std::cin : file;
    const auto fail = [&] { throw SystemError(fmt::format("{}: {}", path.string(), std::strerror(errno))); };
    if (!input) fail();
    Line line;
    while (std::getline(input, line.text)) {
        ++line.number;
        function(line);
    }
    if (input.bad()) fail();
}

} // namespace

LineChanges compare_lines(const OrderLocale &before, const OrderLocale &after, const std::filesystem::path &file,
                          const LineLimits &limits) {
    LineChanges changes;
    const std::string name = file == "-" ? "standard input" : file.string();
    LineSorter sorter([&](const std::string &a, const std::string &b) { return before.compare(a, b); }, limits);
    for_each_line(file, [&](const Line &line) {
        const auto refuse = [&](std::string_view why) { throw DataError(fmt::format("{}:{}: {}", name, line.number, why)); };
        if (line.text.find('\0') != std::string::npos) refuse("a NUL byte, which would end the text");
        if (!before.is_text(line.text)) refuse("no text in the codeset of the old locale");
        if (!after.is_text(line.text)) refuse("no text in the codeset of the new locale");
        sorter.add(line);
    });
    std::optional<Line> last;
    sorter.for_each([&](const Line &line) {
        ++changes.lines;
        if (before.key(line.text) != after.key(line.text)) ++changes.keys;
        if (last) {
            const int old_order = sign(before.compare(last->text, line.text)),
                      new_order = sign(after.compare(last->text, line.text));
            if (old_order != new_order && changes.neighbours++ < limits.shown)
                changes.shown.push_back({*last, line, old_order, new_order});
        }
        last = line;
    });
    return changes;
}

} // namespace qbgl::compiler
