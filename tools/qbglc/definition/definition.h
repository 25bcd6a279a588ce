// A POSIX locale definition in memory: all six categories, in Unicode, with the place of everything that may have to be complained
// about.
#pragma once

#include "system/error.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qbgl::compiler {

// The character of a name of the portable character set: "A", "space", "left-square-bracket".
std::optional<char32_t> portable_character(std::string_view name);
std::vector<std::pair<std::string, char32_t>> portable_names(); // all of them

// Where a line stands. The file name is shared by all places of a file.
struct Place {
    std::shared_ptr<const std::string> file;
    unsigned line = 0, column = 0; // in characters, from 1 on; without a column it is the whole line

    DataError error(std::string_view what) const; // "FILE:LINE:COLUMN: what"
    std::string text() const;                     // "FILE:LINE:COLUMN"
};

// LC_CTYPE.
struct CodeRange {
    char32_t first, last; // inclusive
    char32_t step = 1;    // 2 for "..(2).."
    Place place;
};

struct CodePair {
    char32_t from, to;
    Place place;
};

// A rule of a translit section: what may be written instead of `from` when the codeset lacks it, the first that it has. An empty
// alternative leaves the character out.
struct TranslitRule {
    std::u32string from;
    std::vector<std::u32string> alternatives;
    Place place;
};

struct CharacterTypes {
    std::map<std::string, std::vector<CodeRange>> classes; // the standard ones, "outdigit" and the locale's own, as written
                                                           // (no implied members); a copied definition's members come first
    std::vector<std::string> own_classes; // names of classes that are not among the standard ones, in order of definition
    std::map<std::string, std::vector<CodePair>> maps; // "toupper", "tolower", and the locale's own; of one code the last counts
    std::vector<TranslitRule> translit;                // in order of search: own rules, included ones, those of a copied definition
    std::vector<std::u32string> default_missing;       // what stands for a character without a rule
};

// LC_COLLATE: the rules as written, in order, a copied definition's in the place of its `copy`. What they mean together is the
// collation compiler's business. Names and texts are views of what the rules' `storage` keeps.
struct CollationItem {
    enum class Kind : unsigned char {
        CHARACTER, // `text` is one character
        TEXT,      // `text` is a quoted string
        NAME,      // `name` is a collating symbol or element, or a portable character that the rules give no other meaning
        IGNORE,
        UNDEFINED,
        ELLIPSIS // ".." or "..." (as an entry: the codes between its neighbours; as a weight: the entry itself)
    };
    Kind kind;
    std::u32string_view text;
    std::string_view name;
};

struct CollationStatement {
    enum class Kind : unsigned char {
        SECTION_SYMBOL,         // operands: NAMEs
        SCRIPT,                 // operands: NAME
        COLLATING_SYMBOL,       // operands: NAME, or NAME and NAME for a range of symbols "<S0001>..<S000F>"
        COLLATING_ELEMENT,      // operands: NAME, TEXT
        SYMBOL_EQUIVALENCE,     // operands: NAME, NAME
        WEIGHT_MAX,             // number
        ORDER_START,            // name: the section, or empty; directions
        ENTRY,                  // operands: the item (two for a range "<U4E00>..<U9FFF>"); weights a level, each a string of items
        ORDER_END,              //
        REORDER_AFTER,          // operands: the item
        REORDER_END,            //
        REORDER_SECTIONS_AFTER, // name: the section
        REORDER_SECTION,        // name: the section; directions
        REORDER_SECTIONS_END,   //
        CODEPOINT_COLLATION     // no rule of the locale counts: characters compare by their codes
    };
    Kind kind;
    Place place;
    std::string_view name;
    std::vector<CollationItem> operands;
    std::vector<std::vector<CollationItem>> weights; // an absent weight is an empty list, and means the entry itself
    std::vector<std::string> directions;             // a level: "forward", "backward", "forward,position" ...
    unsigned number = 0;                             // of WEIGHT_MAX; of a range of NAMEs the base of its numbers, 16 or 10
};

// Every name of a COLLATING_SYMBOL or of an ENTRY of NAMEs, whether it is one or a range.
std::vector<std::string> names_of(const CollationStatement &statement);

struct CollationRules;
using CollationRulesPtr = std::shared_ptr<const CollationRules>;

// A definition of 90,000 lines is copied by most others: it is parsed once and shared.
struct CollationRules {
    std::vector<std::variant<CollationStatement, CollationRulesPtr>> items;
    std::shared_ptr<const void> storage;

    // What is copied a second time, by another way, adds nothing.
    template <class Function> void for_each(Function function) const {
        std::set<const CollationRules *> copied;
        for_each(function, copied);
    }

  private:
    template <class Function> void for_each(Function &function, std::set<const CollationRules *> &copied) const {
        for (const auto &item : items)
            if (const auto *rules = std::get_if<CollationRulesPtr>(&item)) {
                if (copied.insert(rules->get()).second) (*rules)->for_each(function, copied);
            } else {
                function(std::get<CollationStatement>(item));
            }
    }
};

// LC_NUMERIC, LC_MONETARY, LC_TIME, LC_MESSAGES: the operands of each keyword, numbers or texts.
struct Keyword {
    using Operand = std::variant<int, std::u32string>;
    std::vector<Operand> operands;
    Place place;

    // As the only operand, or all of them; throws DataError when they are of the other kind.
    int number() const;
    const std::u32string &text() const;
    std::vector<int> numbers() const;
    std::vector<std::u32string> texts() const;
};
using Keywords = std::map<std::string, Keyword>;

struct Definition {
    std::string file;
    std::vector<std::filesystem::path> sources; // every file that was read for it, itself first
    Place ctype_place, collate_place, numeric_place, monetary_place, time_place, messages_place; // of the category's first line
    CharacterTypes ctype;
    CollationRulesPtr collate;
    Keywords numeric, monetary, time, messages;
};

// Reads definitions, and whatever they copy and include, each file once. Safe in several threads.
class DefinitionReader {
  public:
    // Copied and included names without a "/" are looked for beside the file that names them, then in these directories.
    explicit DefinitionReader(std::vector<std::filesystem::path> directories = {"/usr/share/i18n/locales"});
    ~DefinitionReader();

    // Throws DataError with file, line and column of all that it cannot take, and for a definition without one of the six
    // categories; SystemError for a file that cannot be read.
    std::shared_ptr<const Definition> read(const std::filesystem::path &path);
    // The file of a locale by its name in the directories. Throws DataError when there is none.
    std::filesystem::path find(const std::string &name) const;

  private:
    struct Cache;
    std::vector<std::filesystem::path> directories_;
    std::unique_ptr<Cache> cache_;
};

} // namespace qbgl::compiler
