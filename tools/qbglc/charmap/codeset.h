// A codeset in memory: what its byte sequences stand for, and how the characters of Unicode are written in it.
#pragma once

#include "charmap/charmap.h"
#include "charmap/sequence.h"
#include "unicode/form.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qbgl::compiler {

struct Character {
    char32_t code;
    Sequence bytes;
    bool shifted = false; // stands in the shifted state of a stateful codeset
    bool one_way = false; // in Codeset::written(): the bytes read back as another character
};

// What the platform knows of Unicode, by code.
struct KnownUnicode {
    std::vector<bool> characters;
    std::vector<bool> full_width; // two columns of a terminal; a default for those that it does not know
};

class Codeset {
  public:
    // How the library reads and writes the codeset. Little-endian units are kept most significant byte first here.
    enum class Form { BYTES, LITTLE_ENDIAN_2, LITTLE_ENDIAN_4 };

    // Where a character, or a sequence, is added twice, the first counts.
    explicit Codeset(std::string name, Form form = Form::BYTES, bool stateful = false)
        : name_(std::move(name)), form_(form), stateful_(stateful) {}
    void add(char32_t code, const Sequence &bytes, bool shifted = false) {
        add_read(code, bytes, shifted);
        add_written(code, bytes, shifted);
    }
    void add_read(char32_t code, const Sequence &bytes, bool shifted = false) { read_.push_back({code, bytes, shifted}); }
    void add_written(char32_t code, const Sequence &bytes, bool shifted = false) { written_.push_back({code, bytes, shifted}); }
    // Ends adding: sorts, drops repetitions, builds the index.
    void finish();

    // The scalar values that are not among the characters are some, too: by a rule, for they are too many to be listed. The library
    // knows it by its name, empty for none.
    void complete(const std::string &rule) {
        rule_ = rule;
        form_by_rule_ = unlisted_form(rule);
    }
    const std::string &rule() const { return rule_; }
    // The bytes that the rule has for a character, no bytes where it has none.
    Sequence by_rule(char32_t code) const;
    // Null when it knows all that the codeset has.
    void know(std::shared_ptr<const KnownUnicode> known) { known_ = std::move(known); }

    const std::string &name() const { return name_; }
    Form form() const { return form_; }
    bool stateful() const { return stateful_; } // shift-out and shift-in switch between two states
    // Every byte sequence once: those of the initial state, then those of the shifted one, each in byte order.
    const std::vector<Character> &read() const { return read_; }
    // Every character once, in code order. Its bytes may be those of a base and its marks, where the codeset has only these.
    const std::vector<Character> &written() const { return written_; }

    // How a character is written; null when the codeset lacks it.
    const Character *find(char32_t code) const {
        if (code >= CODE_LIMIT) return nullptr;
        const uint32_t page = pages_[code >> 8];
        if (page == 0) return nullptr;
        const uint32_t place = places_[page << 8 | (code & 0xFF)];
        return place == 0 ? nullptr : &written_[place - 1];
    }
    // What a sequence stands for; null when it is no character.
    const Character *find(const Sequence &bytes, bool shifted = false) const;

    // Whether the platform's definitions can say anything about a character.
    bool is_known(char32_t code) const { return !known_ || known_->characters[code]; }
    bool is_full_width(char32_t code) const { return known_ && known_->full_width[code]; }
    // Calls with every scalar value that is written by a rule, in code order.
    template <class Function> void for_each_unlisted(Function function) const {
        if (rule_.empty()) return;
        for (char32_t code = 0; code < CODE_LIMIT; ++code)
            if (const auto character = find_unlisted(code)) function(*character);
    }
    std::optional<Character> find_unlisted(char32_t code) const {
        if (rule_.empty() || !is_scalar_value(code) || find(code) != nullptr) return std::nullopt;
        return Character{code, by_rule(code)};
    }

  private:
    std::string name_;
    Form form_;
    bool stateful_;
    std::vector<Character> read_, written_;
    std::string rule_;
    UnicodeForm form_by_rule_ = UnicodeForm::NONE;
    std::shared_ptr<const KnownUnicode> known_;
    std::vector<uint32_t> pages_;  // code / 256 -> page, 0 for none
    std::vector<uint32_t> places_; // page * 256 + code % 256 -> index in written_ plus 1, 0 for none
};

using CodesetPtr = std::shared_ptr<const Codeset>;

// Several names of one sequence: the first is read, all are written. Several sequences of one name: all are read, the first is
// written. Names that are not <Uxxxx> have no code: a charmap of nothing else is a DataError, otherwise `warning` tells their
// number. Codes from `below` on are left out.
std::shared_ptr<Codeset> codeset_from_charmap(const Charmap &charmap, const std::string &name, std::string &warning,
                                              char32_t below = CODE_LIMIT);

// A form of Unicode, every scalar value that it can express: "ucs-2le" or "ucs-4le", of which the platform knows some. Throws
// DataError for any other.
CodesetPtr unicode_codeset(const std::string &form, const std::string &name, std::shared_ptr<const KnownUnicode> known = nullptr);

} // namespace qbgl::compiler
