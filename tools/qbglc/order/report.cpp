#include "order/report.h"

#include "locale/encoder.h"
#include "object/seal.h"
#include "order/compare.h"
#include "order/fingerprint.h"
#include "order/lines.h"
#include "system/error.h"
#include "system/file.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace qbgl::compiler {

namespace {

constexpr size_t LONGEST_SHOWN_LINE = 60; // characters

char32_t code_of(const Codeset &codeset, std::string_view bytes) {
    const Character *character = codeset.find(memory_bytes(codeset, Sequence(bytes)));
    return character != nullptr ? character->code : 0;
}

bool is_control(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

// Shows texts of a locale to people.
class Shown {
  public:
    Shown(const OrderLocale &locale, const std::function<CodesetPtr(const std::string &)> &codeset_of)
        : locale_(locale), codeset_of_(codeset_of) {}

    // The characters, and their bytes.
    std::string item(const std::string &text) {
        std::string utf8, values;
        for_each_character(text, [&](std::string_view bytes, const std::string &shown) {
            utf8 += shown;
            values += (values.empty() ? "" : " ") + hex(bytes);
        });
        return fmt::format("{}{}({})", utf8, utf8.empty() ? "" : " ", values);
    }
    std::string items(const std::vector<std::string> &texts, size_t most) {
        std::string list;
        for (size_t i = 0; i < std::min(most, texts.size()); ++i) list += (i > 0 ? ", " : "") + item(texts[i]);
        if (most >= texts.size()) return list;
        return list.empty() ? "..." : list + ", ...";
    }
    std::string line(const Line &line) {
        std::string utf8;
        size_t count = 0;
        for_each_character(line.text, [&](std::string_view bytes, const std::string &shown) {
            if (count++ < LONGEST_SHOWN_LINE) utf8 += shown.empty() ? "\\x" + hex(bytes) : shown;
        });
        return fmt::format("{} \"{}{}\"", line.number, utf8, count > LONGEST_SHOWN_LINE ? "..." : "");
    }

  private:
    static std::string hex(std::string_view bytes) {
        std::string text;
        for (const char byte : bytes) text += fmt::format("{:02X}", static_cast<uint8_t>(byte));
        return text;
    }

    // Calls with the bytes of each character and its UTF-8 form, which is empty when it cannot be shown.
    template <class Function> void for_each_character(const std::string &text, Function function) {
        if (!asked_) codeset_ = codeset_of_(locale_.codeset());
        asked_ = true;
        for (std::string_view rest = text; !rest.empty();) {
            const std::string_view bytes = rest.substr(0, std::max<size_t>(locale_.character_length(rest), 1));
            const char32_t code = codeset_ ? code_of(*codeset_, bytes) : 0;
            function(bytes, is_control(code) ? "" : utf8_of(code).text());
            rest.remove_prefix(bytes.size());
        }
    }

    const OrderLocale &locale_;
    const std::function<CodesetPtr(const std::string &)> &codeset_of_;
    CodesetPtr codeset_;
    bool asked_ = false;
};

const char *relation(int order) { return order < 0 ? "<" : order > 0 ? ">" : "="; }

const char *kind_of(const OrderLocale &locale) {
    return locale.by_tables() ? "passes of weights" : locale.by_code_values() ? "code values" : "the rules of Thai";
}

// The fingerprint that an object has of its order, empty when it has none, or when nothing shows that it is that of its rules.
// A damaged object is added to the warnings.
std::string sealed_order(const std::filesystem::path &object, std::vector<std::string> &warnings) {
    const std::string text = read_file(object);
    const Seal seal = check_seal(text);
    if (seal == Seal::BROKEN) warnings.push_back(object.string() + ": is damaged: its checksum is not that of its bytes");
    return seal == Seal::WHOLE ? std::string(header_value(text, ORDER_LINE)) : std::string();
}

// What one of two sorted lists has alone, and what both have.
std::vector<std::string> without(const std::vector<std::string> &list, const std::vector<std::string> &other) {
    std::vector<std::string> result;
    std::set_difference(list.begin(), list.end(), other.begin(), other.end(), std::back_inserter(result));
    return result;
}
std::vector<std::string> common(const std::vector<std::string> &list, const std::vector<std::string> &other) {
    std::vector<std::string> result;
    std::set_intersection(list.begin(), list.end(), other.begin(), other.end(), std::back_inserter(result));
    return result;
}

class Comparison {
  public:
    Comparison(const OrderRequest &request, const std::function<CodesetPtr(const std::string &)> &codeset_of)
        : request_(request), before_(request.before), after_(request.after), old_shown_(before_, codeset_of),
          new_shown_(after_, codeset_of) {
        const std::string old_codeset = before_.codeset(), new_codeset = after_.codeset();
        const auto number = [](const std::string &name) { return gl_lc_spec2cs_num(nullptr, name.c_str(), nullptr); };
        if (old_codeset == new_codeset) return;
        if (number(old_codeset) == GL_NO_CODESET || number(old_codeset) != number(new_codeset))
            throw DataError(fmt::format("the objects are in different codesets, {} and {}", old_codeset, new_codeset));
    }

    OrderReport run() {
        if (request_.lines.empty())
            compare_items();
        else
            compare_file();
        const char *of = request_.lines.empty() ? "" : " of these lines";
        if (!same_order_)
            say(fmt::format("The order{} differs.", of));
        else if (!same_keys_)
            say(fmt::format("The order{} is the same, but sort keys differ: what keeps keys must make them anew.", of));
        else
            say(fmt::format("Order and sort keys{} are the same.", of));
        return {same_order_ && same_keys_, text_, {}};
    }

  private:
    void say(const std::string &line) { text_ += line + '\n'; }

    // What only one of the locales has; returns what both have.
    std::vector<std::string> compare_lists(const char *name, const std::vector<std::string> &old_list,
                                           const std::vector<std::string> &new_list) {
        const auto lost = without(old_list, new_list), added = without(new_list, old_list);
        auto in_both = common(old_list, new_list);
        say(fmt::format("{}: {} in both", name, in_both.size()));
        if (!lost.empty()) say(fmt::format("  {} only in the old: {}", lost.size(), old_shown_.items(lost, request_.shown)));
        if (!added.empty()) say(fmt::format("  {} only in the new: {}", added.size(), new_shown_.items(added, request_.shown)));
        same_order_ = same_order_ && lost.empty() && added.empty();
        return in_both;
    }

    void compare_items() {
        std::vector<std::string> texts = compare_lists("characters", before_.characters(), after_.characters());
        const auto old_elements = before_.elements(), new_elements = after_.elements();
        compare_lists("collating elements", old_elements, new_elements);
        for (const auto &list : {old_elements, new_elements, before_.expansions(), after_.expansions()})
            for (const std::string &text : list)
                if (before_.is_text(text) && after_.is_text(text)) texts.push_back(text);
        std::sort(texts.begin(), texts.end());
        texts.erase(std::unique(texts.begin(), texts.end()), texts.end());

        const OrderChanges changes = compare_order(before_, after_, texts);
        say(fmt::format("pairs: {} of {} in another order", changes.changed_pairs, changes.pairs));
        for (size_t i = 0; i < std::min(request_.shown, changes.neighbours.size()); ++i) {
            const OrderChange &change = changes.neighbours[i];
            say(fmt::format("  {} {} {}, now {}", old_shown_.item(texts[change.first]), relation(change.old_order),
                            old_shown_.item(texts[change.second]), relation(change.new_order)));
        }
        if (changes.neighbours.size() > request_.shown)
            say(fmt::format("  ... and {} more neighbours", changes.neighbours.size() - request_.shown));
        same_order_ = same_order_ && changes.changed_pairs == 0;
        compare_kinds(texts);

        std::vector<std::string> keys;
        for (const size_t i : changes.keys) keys.push_back(texts[i]);
        same_keys_ = keys.empty();
        say(fmt::format("sort keys: {} of {} differ", keys.size(), texts.size()));
        if (!keys.empty()) say("  " + old_shown_.items(keys, request_.shown));
    }

    void compare_kinds(const std::vector<std::string> &texts) {
        const std::string old_kind = kind_of(before_), new_kind = kind_of(after_);
        if (old_kind != new_kind) {
            say(fmt::format("ordered by {}, now by {}", old_kind, new_kind));
            same_order_ = false;
        } else if (before_.by_tables()) {
            for (const RuleChange &change : compare_rules(before_, after_, texts)) say_change(change, texts);
        }
    }

    void say_change(const RuleChange &change, const std::vector<std::string> &texts) {
        using What = RuleChange::What;
        same_order_ = false;
        const int pass = change.pass + 1;
        if (change.what == What::PASSES) return say("the number of passes differs");
        if (change.what == What::DIRECTION) return say(fmt::format("pass {} runs the other way", pass));
        const std::string first = old_shown_.item(texts[change.first]), second = old_shown_.item(texts[change.second]);
        if (change.what == What::COUNT) return say(fmt::format("pass {}: {} has another number of weights", pass, first));
        say(fmt::format("pass {}: weights of {} and {} are in another order", pass, first, second));
    }

    void compare_file() {
        const LineChanges changes = compare_lines(before_, after_, request_.lines, {.shown = request_.shown});
        say(fmt::format("lines: {}, of which {} follow their neighbour in another order", changes.lines, changes.neighbours));
        for (const LineChange &change : changes.shown)
            say(fmt::format("  {} {} {}, now {}", old_shown_.line(change.first), relation(change.old_order),
                            old_shown_.line(change.second), relation(change.new_order)));
        if (changes.neighbours > changes.shown.size())
            say(fmt::format("  ... and {} more", changes.neighbours - changes.shown.size()));
        say(fmt::format("sort keys: {} of {} differ", changes.keys, changes.lines));
        same_order_ = changes.neighbours == 0;
        same_keys_ = changes.keys == 0;
    }

    const OrderRequest &request_;
    OrderLocale before_, after_;
    Shown old_shown_, new_shown_;
    bool same_order_ = true, same_keys_ = true;
    std::string text_;
};

} // namespace

OrderReport report_order(const OrderRequest &request, const std::function<CodesetPtr(const std::string &)> &codeset_of) {
    std::vector<std::string> warnings;
    const std::string old_order = sealed_order(request.before, warnings), new_order = sealed_order(request.after, warnings);
    if (!old_order.empty() && old_order == new_order)
        return {true, fmt::format("Both have the order {}: order and sort keys are the same.\n", old_order), {}};
    OrderReport report = Comparison(request, codeset_of).run();
    report.warnings = std::move(warnings);
    return report;
}

} // namespace qbgl::compiler
