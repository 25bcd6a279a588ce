#include "commands/class.h"

#include "text/characters.h"
#include "text/classes.h"
#include "text/hexadecimal.h"
#include "text/shown_text.h"
#include "text/utf8.h"
#include "text/zero_width.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace qbgl {

namespace {

class CharacterTable {
  public:
    CharacterTable(const Messages &messages, gl_locale &locale)
        : messages_(messages), locale_(locale), codeset_(category_codeset(locale, GL_CAT_CTYPE)), view_(codeset_),
          classes_(classes_of(locale)), full_width_(gl_ctype(&locale, "full_width")), combining_(gl_ctype(&locale, "combining")) {}

    std::string head() const {
        return fmt::format(LAYOUT, "offset", "bytes", "code", "char", "  ", "width", "upper", "lower", "classes");
    }

    ExitStatus operator()(const std::string &file, OutputFile &output) {
        CharacterReader reader(file, locale_, messages_, output);
        Character character{};
        while (reader.read()) {
            std::string lines;
            while (reader.next(character)) {
                if (character.sort == Sort::CHARACTER) {
                    lines += messages_.as_json() ? json(character, file) : line(character);
                    continue;
                }
                output.write(lines); // so that a terminal shows both in order
                lines.clear();
                ++unreadable_;
                messages_.say("unreadable", reader.finding(character));
            }
            output.write(lines);
        }
        return ExitStatus::OK;
    }

    ExitStatus summary() const {
        if (unreadable_ == 0) return ExitStatus::OK;
        return messages_.fail(
            ExitStatus::DATA,
            fmt::format("{} sequence{} no character of {}", unreadable_, unreadable_ == 1 ? " is" : "s are", codeset_),
            JsonObject().number("unreadable", unreadable_).text("codeset", codeset_));
    }

  private:
    static constexpr const char *LAYOUT = "{:>8} {:8} {:8} {}{} {:5} {:6} {:6} {}\n";
    static constexpr size_t CHARACTER_COLUMNS = 6;

    unsigned width(const Character &character) const {
        if ((character.classes & (GL_CLASS_CNTRL | combining_)) != 0) return 0;
        if ((character.classes & full_width_) != 0) return 2;
        return zero_width_.contains(wide_value(character)) ? 0 : 1;
    }

    gl_wchar wide_value(const Character &character) const {
        gl_wchar value = 0;
        _qbx_gl_full_mbtowc(&locale_, &value, character.bytes.data(), static_cast<int>(character.bytes.size()));
        return value;
    }

    std::vector<std::string> classes(const Character &character) const {
        std::vector<std::string> result;
        for (const CharacterClass &one : classes_) {
            if ((character.classes & one.mask) != 0) result.push_back(one.name);
        }
        return result;
    }

    // The character in the other case, empty where it stays as it is.
    using Map = uint16_t (*)(gl_locale *, char *, const char *);
    std::string mapped(const Character &character, Map map) const {
        char other[8];
        const unsigned sizes = map(&locale_, other, character.bytes.data());
        const std::string_view result =
            sizes >> 8 == character.bytes.size() ? std::string_view(other, sizes & 0xFF) : character.bytes;
        return result == character.bytes ? "" : std::string(result);
    }

    // U+XXXX where the character is one of Unicode.
    std::string code(const Character &character) const {
        const std::string text = view_.plain(character.bytes);
        if (text.empty() || utf8_length(text) != text.size() || text == "\uFFFD") return "";
        return fmt::format("U+{:04X}", static_cast<uint32_t>(utf8_code_point(text)));
    }

    std::string line(const Character &character) const {
        // A mark would sit on the blank before it.
        const char *carrier = (character.classes & combining_) != 0 ? "\u25CC" : "";
        const std::string shown = view_.visible(character.bytes);
        const size_t columns = utf8_length(shown) == shown.size() ? std::max(width(character), 1U) : shown.size();
        const auto picture = [&](Map map) {
            const std::string other = mapped(character, map);
            return other.empty() ? "-" : view_.visible(other);
        };
        return fmt::format(LAYOUT, character.place.offset, hexadecimal(character.bytes), code(character), carrier + shown,
                           std::string(CHARACTER_COLUMNS - std::min(columns, CHARACTER_COLUMNS), ' '), width(character),
                           picture(_gl_im_tomupper), picture(_gl_im_tomlower), fmt::join(classes(character), " "));
    }

    std::string json(const Character &character, const std::string &file) const {
        JsonObject result;
        result.text("file", file).number("offset", character.place.offset).text("bytes", hexadecimal(character.bytes));
        result.number("value", wide_value(character)).text("code", code(character)).text("character", view_.plain(character.bytes));
        result.number("width", width(character)).raw("classes", json_strings(classes(character)));
        for (const auto &[name, map] : {std::pair("upper", Map{_gl_im_tomupper}), std::pair("lower", Map{_gl_im_tomlower})}) {
            const std::string other = mapped(character, map);
            result.raw(name, other.empty() ? "null" : json_string(view_.plain(other)));
        }
        return result.str() + "\n";
    }

    const Messages &messages_;
    gl_locale &locale_;
    std::string codeset_;
    TextView view_;
    std::vector<CharacterClass> classes_;
    unsigned full_width_, combining_; // masks, 0 where the locale has no such class
    ZeroWidth zero_width_{locale_};
    uint64_t unreadable_ = 0;
};

} // namespace

ExitStatus run_class(const ClassRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale, messages);
    CharacterTable table(messages, *locale);
    std::string head = messages.as_json() ? "" : table.head();
    const ExitStatus status =
        for_each_file(inputs_of(request.files), STANDARD_STREAM, [&](const std::string &file, OutputFile &output) {
            output.write(std::exchange(head, ""));
            return table(file, output);
        });
    return status == ExitStatus::OK ? table.summary() : status;
}

} // namespace qbgl
