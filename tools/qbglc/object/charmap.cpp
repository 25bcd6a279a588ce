#include "object/charmap.h"

#include "definition/definition.h"
#include "object/digest.h"
#include "object/seal.h"
#include "object/text.h"
#include "system/error.h"
#include "system/fingerprint.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace qbgl::compiler {

namespace {

// What a reader of charmap objects can keep.
constexpr size_t LONGEST_NAME = 127, MOST_CHARACTERS = 1 << 21, MOST_DIGITS = 9;
constexpr size_t SHORTEST_RUN = 3; // a range takes the memory of two single characters

std::string code_name(char32_t code) {
    const auto value = static_cast<uint32_t>(code);
    return value > 0xFFFF ? fmt::format("U{:08X}", value) : fmt::format("U{:04X}", value);
}

void check_name(const std::string &name, const std::string &place) {
    const bool separates = name.find_first_of(std::string_view(" \t\n\v\f\r\0", 7)) != std::string::npos;
    if (!name.empty() && name.size() <= LONGEST_NAME && !separates) return;
    const char *reason = name.empty() ? "is empty" : separates ? "has white space in it" : "has more than 127 bytes";
    throw DataError(fmt::format("{}: the name <{}> {}, and cannot stand in a charmap object", place, name, reason));
}

void add_portable_names(std::vector<SymbolicName> &names) {
    std::unordered_map<std::string, Sequence> known;
    for (const SymbolicName &name : names) known.emplace(name.name, name.bytes);
    for (const auto &[name, code] : portable_names()) {
        const auto character = known.find(code_name(code));
        if (character != known.end() && !known.contains(name)) names.push_back({name, character->second});
    }
}

// The number at the end of a name that may count in a range.
struct Numbered {
    std::string_view stem, digits;
    uint32_t number = 0;
    explicit Numbered(std::string_view name) {
        const size_t last = name.find_last_not_of("0123456789");
        const size_t length = last == std::string_view::npos ? 0 : last + 1;
        stem = name.substr(0, length);
        digits = name.substr(length);
        if (countable()) std::from_chars(digits.data(), digits.data() + digits.size(), number);
    }
    bool countable() const { return !digits.empty() && digits.size() <= MOST_DIGITS; }
};

// Whether `next` is the character behind `last` in a range: the number of the name and that of the bytes go up by one.
bool follows(const SymbolicName &last, const SymbolicName &next) {
    const Numbered number(last.name);
    return number.countable() && next.name == fmt::format("{}{:0{}}", number.stem, number.number + 1, number.digits.size()) &&
           Numbered(next.name).digits.size() == number.digits.size() && last.bytes.length == next.bytes.length &&
           next.bytes.value() == last.bytes.value() + 1;
}

class BodyWriter {
  public:
    std::string text = "### CHARMAP\n";

    void single(const SymbolicName &name) { record('s', name, ""); }
    void run(const std::vector<SymbolicName> &names, size_t from, size_t count) {
        if (count < SHORTEST_RUN) {
            for (size_t i = from; i < from + count; ++i) single(names[i]);
            return;
        }
        record('r', names[from], fmt::format(" {} {}", Numbered(names[from].name).number, count));
    }

  private:
    void record(char type, const SymbolicName &name, const std::string &numbers) {
        fmt::format_to(std::back_inserter(text), "{} {} {}{} {} {}\n", type, name.name.size(), name.name, numbers,
                       name.bytes.length, name.bytes.hex());
    }
};

} // namespace

std::vector<SymbolicName> symbolic_names(const Charmap &charmap, char32_t below) {
    std::vector<SymbolicName> names;
    const auto add = [&](std::string name, const Sequence &bytes, bool decode_only, uint32_t line) {
        check_name(name, fmt::format("{}:{}", charmap.file, line));
        names.push_back({std::move(name), bytes, decode_only});
    };
    auto symbol = charmap.symbols.begin();
    const auto add_symbols_before = [&](uint32_t line) {
        for (; symbol != charmap.symbols.end() && symbol->line < line; ++symbol)
            charmap.for_each(*symbol, [&](const std::string &name, const Sequence &bytes) {
                add(name, bytes, symbol->decode_only, symbol->line);
            });
    };
    for (const Charmap::Entry &entry : charmap.entries) {
        add_symbols_before(entry.line);
        charmap.for_each(entry, [&](char32_t code, const Sequence &bytes) {
            if (code < below) add(code_name(code), bytes, entry.decode_only, entry.line);
        });
    }
    add_symbols_before(UINT32_MAX);
    add_portable_names(names);
    return names;
}

std::vector<SymbolicName> symbolic_names(Library &library, size_t index) {
    const Catalogue::Codeset &codeset = library.catalogue().codesets()[index];
    const auto charmap = library.charmap(index);
    if (!charmap) throw DataError(codeset.name + ": the platform has no charmap of this codeset");
    if (codeset.source.kind != CodesetSource::Kind::ICONV) return symbolic_names(load_charmap(*charmap), codeset.source.below);
    std::vector<SymbolicName> names;
    const CodesetPtr characters = library.codeset(index);
    for (const Character &character : characters->read()) {
        const Character *written = characters->find(character.code);
        names.push_back({code_name(character.code), character.bytes, written == nullptr || written->bytes != character.bytes});
    }
    add_portable_names(names);
    return names;
}

std::string charmap_header(const std::string &codeset, const std::vector<std::string> &lines) {
    std::vector<std::string> all{"CODESET=" + codeset, "SOURCE_VERSION=1"};
    all.insert(all.end(), lines.begin(), lines.end());
    return object_header("charmap_object", GL_CM_VERSION, all, 0, "HEADER_LENGTH");
}

std::string charmap_header(Library &library, size_t codeset) {
    const std::string content = Fingerprint().add(library.mark(codeset)).add(compiler_digest(ObjectKind::CHARMAP)).hex();
    std::vector<std::string> lines{"SOURCE=" + library.description(codeset), "CONTENT=" + content};
    if (const std::string rule = library.unlisted_rule(codeset); !rule.empty()) lines.insert(lines.begin(), "UNLISTED=" + rule);
    return charmap_header(library.catalogue().codesets()[codeset].name, lines);
}

// The library finds the later of two definitions first, and a single character before a range. So characters with one name, whose
// name and value nothing else has, come first, in the order of the charmap and as ranges where they are any; the others behind them
// backward, those that are only read before those that are written.
std::string charmap_object(const std::vector<SymbolicName> &names, const std::string &header) {
    if (names.empty()) throw DataError("a charmap without characters");
    if (names.size() > MOST_CHARACTERS) throw DataError(fmt::format("{} characters are too many for a charmap", names.size()));
    std::unordered_map<std::string_view, unsigned> times_named;
    std::unordered_map<uint32_t, unsigned> times_valued;
    const uint16_t unused = 0;
    TableWriter characters(sizeof unused, &unused); // refuses characters that begin one another
    for (const SymbolicName &name : names) {
        ++times_named[name.name];
        ++times_valued[name.bytes.value()];
        characters.insert(name.bytes, nullptr);
    }
    const auto is_plain = [&](const SymbolicName &name) {
        return times_named[name.name] == 1 && times_valued[name.bytes.value()] == 1;
    };

    BodyWriter body;
    for (size_t from = 0, next; from < names.size(); from = next) {
        next = from + 1;
        if (!is_plain(names[from])) continue;
        while (next < names.size() && follows(names[next - 1], names[next]) && is_plain(names[next])) ++next;
        body.run(names, from, next - from);
    }
    std::set<std::pair<std::string_view, Sequence>> written; // a definition that is repeated counts once
    std::vector<const SymbolicName *> others;
    for (const SymbolicName &name : names)
        if (!is_plain(name) && written.emplace(name.name, name.bytes).second) others.push_back(&name);
    std::reverse(others.begin(), others.end());
    std::stable_partition(others.begin(), others.end(), [](const SymbolicName *name) { return name->decode_only; });
    for (const SymbolicName *name : others) body.single(*name);
    std::string text = header + body.text;
    seal(text, header.size());
    return text;
}

} // namespace qbgl::compiler
