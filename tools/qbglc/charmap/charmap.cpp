#include "charmap/charmap.h"

#include "system/error.h"
#include "system/file.h"
#include "system/process.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>

namespace qbgl::compiler {

namespace {

constexpr std::string_view BLANKS = " \t\r";
constexpr size_t DECIMAL_ELLIPSIS = 3;
constexpr unsigned MOST_COLUMNS = 2;
constexpr uint32_t MOST_OF_RANGE = 1 << 21; // more than any codeset has

std::optional<unsigned> number(std::string_view text, int base) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

// The code of a name Uxxxx or Uxxxxxxxx.
std::optional<char32_t> code_of(std::string_view name) {
    if ((name.size() != 5 && name.size() != 9) || name[0] != 'U') return std::nullopt;
    const auto code = number(name.substr(1), 16);
    if (!code) return std::nullopt;
    return static_cast<char32_t>(*code);
}

class Reader {
  public:
    Reader(std::string_view text, const std::string &file) : text_(text) { charmap_.file = file; }

    Charmap read() {
        read_declarations();
        while (true) {
            require_line("CHARMAP section is not closed by END CHARMAP");
            if (keyword("END")) break;
            errors_.collect([this] { read_character(); });
        }
        while (next_line()) {
            if (keyword("WIDTH")) {
                read_widths();
            } else if (keyword("WIDTH_DEFAULT")) {
                errors_.collect([this] { charmap_.default_width = columns(); });
            } else {
                errors_.collect([this] { fail("unknown section"); });
                break; // nothing tells where it ends
            }
        }
        errors_.throw_if_any();
        return std::move(charmap_);
    }

  private:
    [[noreturn]] void fail(std::string_view what) const {
        const auto column = 1 + static_cast<size_t>(rest_.data() - whole_.data());
        throw DataError(fmt::format("{}:{}:{}: {}: {}", charmap_.file, line_, column, what, excerpt(whole_)));
    }

    // The next line that is neither empty nor a comment, in rest_.
    bool next_line() {
        while (position_ < text_.size()) {
            const size_t end = std::min(text_.find('\n', position_), text_.size());
            whole_ = rest_ = text_.substr(position_, end - position_);
            position_ = end + 1;
            ++line_;
            decode_only_ = false;
            if (rest_.starts_with("%IRREVERSIBLE%")) {
                rest_.remove_prefix(14);
                decode_only_ = true;
            } else if (rest_.starts_with(comment_char_)) {
                continue;
            }
            skip_blanks();
            if (!rest_.empty()) return true;
        }
        return false;
    }
    void require_line(const char *otherwise) {
        if (next_line()) return;
        errors_.add(fmt::format("{}:{}: {}", charmap_.file, line_, otherwise));
        errors_.throw_if_any();
    }

    void skip_blanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(BLANKS), rest_.size())); }
    std::string_view word() {
        const std::string_view result = rest_.substr(0, rest_.find_first_of(BLANKS));
        rest_.remove_prefix(result.size());
        skip_blanks();
        return result;
    }
    bool keyword(std::string_view name) {
        if (rest_.substr(0, rest_.find_first_of(BLANKS)) != name) return false;
        word();
        return true;
    }
    unsigned decimal() {
        const auto value = number(word(), 10);
        if (!value) fail("decimal number expected");
        return *value;
    }

    // <name>, in which the escape character takes the next one literally.
    std::string symbol() {
        if (!rest_.starts_with('<')) fail("<name> expected");
        std::string name;
        for (size_t i = 1; i < rest_.size(); ++i) {
            if (rest_[i] == '>') {
                rest_.remove_prefix(i + 1);
                return name;
            }
            if (rest_[i] == escape_char_ && i + 1 < rest_.size()) ++i;
            name += rest_[i];
        }
        fail("name is not closed by >");
    }

    void read_declarations() {
        while (true) {
            require_line("no CHARMAP section");
            if (keyword("CHARMAP")) return;
            const std::string name = symbol();
            skip_blanks();
            if (name == "code_set_name") {
                charmap_.codeset = word();
                std::erase(charmap_.codeset, '"');
            } else if (name == "comment_char")
                comment_char_ = character();
            else if (name == "escape_char")
                escape_char_ = character();
            else if (name == "mb_cur_min")
                charmap_.mb_cur_min = decimal();
            else if (name == "mb_cur_max")
                charmap_.mb_cur_max = decimal();
            else
                fail("unknown declaration");
        }
    }
    char character() {
        const std::string_view text = word();
        if (text.size() != 1) fail("single character expected");
        return text[0];
    }

    size_t ellipsis() {
        const size_t dots = std::min(rest_.find_first_not_of('.'), rest_.size());
        if (dots == 1 || dots > 4) fail("malformed range");
        rest_.remove_prefix(dots);
        return dots;
    }

    // <first> or <first>..<last>; the codes when both are <Uxxxx>. Other names count in decimal, between three dots.
    struct Names {
        std::string first;
        std::optional<char32_t> from, to;
        uint32_t count = 1;
    };
    Names names() {
        Names result{symbol(), {}, {}};
        result.from = result.to = code_of(result.first);
        if (const size_t dots = ellipsis()) {
            const std::string last = symbol();
            result.to = code_of(last);
            if (!result.from && !result.to && dots == DECIMAL_ELLIPSIS)
                result.count = count_of(result.first, last);
            else if (!result.from || !result.to)
                fail("range of names that are not <Uxxxx>");
        }
        if (result.from && (!is_scalar_value(*result.from) || !is_scalar_value(*result.to))) fail("not a character of Unicode");
        skip_blanks();
        return result;
    }

    // How many names there are from one to the other.
    uint32_t count_of(const std::string &first, const std::string &last) const {
        const size_t digits = first.size() - std::min(first.find_last_not_of("0123456789") + 1, first.size());
        const auto from = number(std::string_view(first).substr(first.size() - digits), 10);
        const auto to = digits <= last.size() ? number(std::string_view(last).substr(last.size() - digits), 10) : std::nullopt;
        if (!from || !to || last.size() != first.size() || *to < *from || *to - *from >= MOST_OF_RANGE ||
            first.compare(0, first.size() - digits, last, 0, last.size() - digits) != 0)
            fail("names of a range that do not count in decimal");
        return *to - *from + 1;
    }

    // /xhh, /dddd or /ooo, one to four times.
    Sequence bytes() {
        Sequence result;
        while (rest_.starts_with(escape_char_)) {
            rest_.remove_prefix(1);
            const bool hexadecimal = rest_.starts_with('x'), is_decimal = rest_.starts_with('d');
            if (hexadecimal || is_decimal) rest_.remove_prefix(1);
            const size_t digits =
                std::min(rest_.find_first_not_of(hexadecimal ? "0123456789abcdefABCDEF" : "0123456789"), rest_.size());
            const size_t count = std::min<size_t>(digits, hexadecimal ? 2 : 3);
            const auto value = count < 2 ? std::nullopt : number(rest_.substr(0, count), hexadecimal ? 16 : is_decimal ? 10 : 8);
            if (!value || *value > 255) fail("malformed byte");
            if (result.length == Sequence::MAX) fail("more than four bytes");
            result.bytes[result.length++] = static_cast<uint8_t>(*value);
            rest_.remove_prefix(count);
        }
        if (result.length == 0) fail("bytes expected");
        if (!rest_.empty() && BLANKS.find(rest_[0]) == std::string_view::npos) fail("malformed bytes");
        if (result.length > charmap_.mb_cur_max) fail("more bytes than <mb_cur_max>");
        if (result.length < charmap_.mb_cur_min) fail("fewer bytes than <mb_cur_min>");
        return result;
    }

    void read_character() {
        const Names name = names();
        const Sequence first = bytes();
        if (!name.from) {
            const uint32_t last = Sequence::big_endian(UINT32_MAX, first.length).value();
            if (name.count - 1 > last - first.value()) fail("range runs past the last byte");
            charmap_.symbols.push_back({name.first, first, decode_only_, line_, name.count});
            return;
        }
        if (*name.to < *name.from) fail("range runs backward");
        if (charmap_.steps_in_utf8()) {
            if (first != utf8_of(*name.from)) fail("not the UTF-8 form of the name");
        } else if (*name.to - *name.from > 0xFFu - first.bytes[first.length - 1u]) {
            fail("range runs past the last byte");
        }
        charmap_.entries.push_back({*name.from, *name.to, first, decode_only_, line_});
    }

    void read_widths() {
        while (true) {
            require_line("WIDTH section is not closed by END WIDTH");
            if (keyword("END")) return;
            errors_.collect([&] {
                const Names name = names();
                if (!name.from) fail("name is not <Uxxxx>");
                charmap_.widths.push_back({*name.from, *name.to, columns(), line_});
            });
        }
    }
    unsigned columns() {
        const std::string_view before = rest_;
        const unsigned value = decimal();
        if (value <= MOST_COLUMNS) return value;
        rest_ = before;
        fail("a character fills two columns at most");
    }

    std::string_view text_, whole_, rest_;
    size_t position_ = 0;
    uint32_t line_ = 0;
    char comment_char_ = '#', escape_char_ = '\\';
    bool decode_only_ = false;
    ErrorList errors_;
    Charmap charmap_;
};

} // namespace

std::string Charmap::numbered(const std::string &name, uint32_t offset) {
    const size_t stem = name.find_last_not_of("0123456789") + 1;
    if (offset == 0 || stem == name.size()) return name;
    const auto first = number(std::string_view(name).substr(stem), 10);
    return fmt::format("{}{:0{}}", name.substr(0, stem), first.value_or(0) + offset, name.size() - stem);
}

Charmap parse_charmap(std::string_view text, const std::string &file) {
    refuse_byte_order_mark(text, file);
    return Reader(text, file).read();
}

Charmap load_charmap(const std::filesystem::path &path) {
    std::string content = read_file(path);
    if (content.starts_with("\x1f\x8b")) {
        ProcessResult plain = run_process({"gzip", "-dc"}, content);
        if (plain.status != 0) throw DataError(fmt::format("{}: {}", path.string(), plain.errors));
        content = std::move(plain.output);
    }
    return parse_charmap(content, path.string());
}

std::filesystem::path find_charmap(const std::string &name) {
    const std::filesystem::path directory = "/usr/share/i18n/charmaps";
    for (const char *suffix : {".gz", ""}) {
        std::filesystem::path path = directory / (name + suffix);
        if (std::filesystem::is_regular_file(path)) return path;
    }
    throw DataError(fmt::format("no charmap {} in {}", name, directory.string()));
}

} // namespace qbgl::compiler
