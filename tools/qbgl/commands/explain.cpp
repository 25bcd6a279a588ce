#include "commands/explain.h"

#include "frame/files.h"
#include "text/collation_key.h"
#include "text/collation_walk.h"
#include "text/encoded.h"
#include "text/hexadecimal.h"
#include "text/shown_text.h"
#include "text/utf8.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace qbgl {

namespace {

int sign(int order) { return order < 0 ? -1 : order > 0 ? 1 : 0; }

class Explanation {
  public:
    Explanation(const ExplainRequest &request, const Messages &messages, gl_locale &locale)
        : request_(request), messages_(messages), locale_(locale), codeset_(category_codeset(locale, GL_CAT_COLLATE)),
          view_(codeset_), a_(encoded_bytes(request.a, codeset_)), b_(encoded_bytes(request.b, codeset_)) {}

    ExitStatus run() {
        if (locale_.collate.kind == GL_COLLATION_EXTENSION) {
            return messages_.fail(ExitStatus::CALL,
                                  "the extension library compares the texts of this locale, and does not tell why",
                                  JsonObject().text("locale", request_.locale));
        }
        if (locale_.collate.kind == GL_COLLATION_THAI)
            show_thai_passes();
        else
            show_passes(characters(a_), characters(b_));
        const int compared =
            gl_order_compare(&locale_, a_.data(), static_cast<int>(a_.size()), b_.data(), static_cast<int>(b_.size()), -1);
        if (compared != order_) {
            return messages_.fail(
                ExitStatus::SYSTEM,
                fmt::format("internal error: the rules explain {}, but the library compares {}", order_, compared),
                JsonObject().text("locale", request_.locale).text("a", request_.a).text("b", request_.b));
        }
        return print(messages_.as_json() ? json() : text_ + sentence() + "\n", messages_);
    }

  private:
    static constexpr const char *THAI_PASSES[] = {"letters", "marks", "variants", "punctuation"};
    using Characters = std::vector<gl_wchar>;
    // A step as it is shown: itself, what it is, its weight.
    using Cells = std::array<std::string, 3>;

    // Also of bytes that are none, by NO_CHARACTER.
    Characters characters(std::string_view text) const {
        Characters result;
        while (!text.empty()) {
            gl_wchar wc = 0;
            int length = gl_mbtowc(&locale_, &wc, text.data(), static_cast<int>(text.size()));
            if (length <= 0) {
                length = static_cast<int>(std::min(shortest(), text.size()));
                wc = NO_CHARACTER;
                for (int i = 0; i < length; ++i) wc += static_cast<gl_wchar>(static_cast<uint8_t>(text[i])) << 8 * (length - 1 - i);
            }
            result.push_back(wc);
            text.remove_prefix(static_cast<size_t>(length));
        }
        return result;
    }

    // Bytes of a character.
    size_t shortest() const { return static_cast<size_t>(std::max(_gl_multi_min_length(locale_.ctype.codeset_table), 1)); }

    std::string bytes(const Characters &characters) const {
        std::string result;
        for (const gl_wchar character : characters) {
            size_t length = shortest();
            while (is_character(character) && length < sizeof character && character >> 8 * length != 0) ++length;
            while (length-- > 0) result += static_cast<char>(character >> 8 * length & 0xFF);
        }
        return result;
    }

    std::string shown(const Characters &characters) const { return view_.visible(bytes(characters)); }
    std::string shown(const WalkStep &step) const {
        const std::string text = shown(step.of.empty() ? step.chars : step.of);
        return text == " " ? "space" : text;
    }

    // What an expansion consists of may be no character: then only its bytes can be shown.
    std::string kind(const WalkStep &step) const {
        const std::string text = view_.plain(bytes(step.chars));
        if (!step.of.empty())
            return "as " + (text.find("\uFFFD") == std::string::npos ? shown(step.chars) : hexadecimal(bytes(step.chars)));
        if (step.chars.size() > 1) return "element";
        return utf8_length(text) == text.size() ? fmt::format("U+{:04X}", static_cast<uint32_t>(utf8_code_point(text))) : "";
    }

    static std::string weight(const WalkStep &step) {
        switch (step.sort) {
        case StepSort::IGNORED: return "ignored";
        case StepSort::WEIGHT: return std::to_string(step.weight);
        case StepSort::SPECIAL: return fmt::format("{} code {:X}", step.weight, step.code);
        case StepSort::RANKED: return fmt::format("{} rank {}", step.weight, step.code);
        case StepSort::CODE: return fmt::format("code {:X}", step.code);
        case StepSort::EXPANSION: return "expanded";
        default: return unknown(step) + ": behind all weights";
        }
    }

    static std::string unknown(const WalkStep &step) {
        if (step.code == 0) return "unknown";
        return is_character(step.code) ? fmt::format("unknown, code {:X}", step.code) : "no character";
    }

    Cells cells(const WalkStep *step) const {
        if (step == nullptr) return {};
        return {shown(*step), kind(*step), weight(*step)};
    }

    std::string step_json(const WalkStep *step) const {
        if (step == nullptr) return "null";
        static constexpr const char *NAMES[] = {"ignored", "weight", "special", "ranked", "code", "expanded", "unknown"};
        JsonObject result;
        const Characters &text = step->of.empty() ? step->chars : step->of;
        result.text("text", view_.plain(bytes(text))).text("bytes", hexadecimal(bytes(text)));
        if (!step->of.empty()) result.text("as", hexadecimal(bytes(step->chars)));
        result.text("sort", NAMES[static_cast<size_t>(step->sort)]);
        if (step->sort >= StepSort::WEIGHT && step->sort <= StepSort::RANKED) result.number("weight", step->weight);
        if (step->sort == StepSort::SPECIAL || step->sort == StepSort::CODE || step->sort == StepSort::UNKNOWN)
            result.number("code", step->code);
        if (step->sort == StepSort::RANKED) result.number("rank", step->code);
        return result.str();
    }

    std::string name_of_pass(size_t pass) const {
        if (locale_.coll_extras != 0) return "code values";
        return fmt::format("pass {} ({})", pass + 1, is_backward(locale_, pass) ? "backward" : "forward");
    }

    void show_passes(const Characters &a, const Characters &b) {
        for (size_t pass = 0; order_ == 0 && pass < pass_count(locale_); ++pass)
            show_pass(pass, walk_pass(locale_, a, pass), walk_pass(locale_, b, pass));
    }

    void show_pass(size_t pass, const Steps &a, const Steps &b) {
        const Comparison comparison = compare_walks(a, b);
        order_ = comparison.order;
        std::vector<std::array<Cells, 2>> table;
        std::vector<std::string> rows;
        for (const Comparison::Row &row : comparison.rows) {
            table.push_back({cells(row.a), cells(row.b)});
            rows.push_back(JsonObject().raw("a", step_json(row.a)).raw("b", step_json(row.b)).str());
        }
        text_ += name_of_pass(pass) + "\n";
        append_table(table, comparison);
        JsonObject object;
        object.number("pass", pass + 1).text("direction", is_backward(locale_, pass) ? "backward" : "forward");
        object.raw("rows", json_array(rows)).raw("difference", order_ != 0 ? std::to_string(comparison.difference) : "null");
        passes_.push_back(object.str());
        if (order_ != 0) reason_ = name_of_pass(pass) + ": " + reason(comparison.rows[comparison.difference]);
    }

    // The order of Thai dictionaries has no tables to look into: what each pass compares stands in the keys.
    void show_thai_passes() {
        CollationKeys keys(locale_);
        std::string a(keys.dense_key(a_)), b(keys.dense_key(b_));
        for (size_t pass = 0; order_ == 0 && pass < std::size(THAI_PASSES); ++pass) {
            const std::string name = fmt::format("pass {} ({})", pass + 1, THAI_PASSES[pass]);
            const std::string left = take_pass(a), right = take_pass(b);
            order_ = sign(left.compare(right));
            const auto difference =
                static_cast<size_t>(std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first - left.begin());
            text_ += fmt::format("{}\n    {}\n    {}\n", name, left.empty() ? "none" : hexadecimal(left, " "),
                                 right.empty() ? "none" : hexadecimal(right, " "));
            JsonObject object;
            object.number("pass", pass + 1).text("name", THAI_PASSES[pass]).text("a", hexadecimal(left));
            object.text("b", hexadecimal(right)).raw("difference", order_ != 0 ? std::to_string(difference) : "null");
            passes_.push_back(object.str());
            if (order_ == 0) continue;
            const auto value = [&](const std::string &key) {
                return difference < key.size() ? hexadecimal(key.substr(difference, 1)) : "none";
            };
            reason_ = fmt::format("{}: at byte {} the keys have {} and {}", name, difference + 1, value(left), value(right));
        }
    }

    // Takes from a key what stands before the next separator.
    static std::string take_pass(std::string &key) {
        const size_t end = key.find('\x01');
        std::string pass = key.substr(0, end);
        key.erase(0, end == std::string::npos ? end : end + 1);
        return pass;
    }

    // Columns as wide as what stands in them, and the row that decides marked.
    void append_table(const std::vector<std::array<Cells, 2>> &table, const Comparison &comparison) {
        size_t widths[2][3] = {};
        const auto each_cell = [](const auto &use) {
            for (size_t side = 0; side < 2; ++side) {
                for (size_t column = 0; column < std::tuple_size_v<Cells>; ++column) use(side, column);
            }
        };
        for (const auto &row : table) {
            each_cell([&](size_t side, size_t column) {
                widths[side][column] = std::max(widths[side][column], utf8_columns(row[side][column]));
            });
        }
        for (size_t i = 0; i < table.size(); ++i) {
            std::string line = comparison.order != 0 && i == comparison.difference ? "  *" : "   ";
            each_cell([&](size_t side, size_t column) {
                const std::string &cell = table[i][side][column];
                line += (column == 0 && side == 1 ? "  | " : " ") + cell;
                line.append(widths[side][column] - utf8_columns(cell), ' ');
            });
            text_ += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
        }
    }

    std::string quoted(const std::string &text) const { return '"' + view_.visible(text) + '"'; }

    std::string reason(const Comparison::Row &row) const {
        if (row.a == nullptr || row.b == nullptr) {
            return fmt::format("{} has nothing left to compare with {}", quoted(row.a == nullptr ? a_ : b_),
                               shown(row.a == nullptr ? *row.b : *row.a));
        }
        if (row.a->sort == StepSort::UNKNOWN || row.b->sort == StepSort::UNKNOWN) {
            const auto value = [&](const WalkStep &step) {
                return step.sort == StepSort::UNKNOWN ? "is " + unknown(step) : fmt::format("has the weight {}", step.weight);
            };
            return fmt::format("{} {}, {} {}", shown(*row.a), value(*row.a), shown(*row.b), value(*row.b));
        }
        const bool by_weight = row.a->weight != row.b->weight;
        const bool by_rank = !by_weight && row.a->sort == StepSort::RANKED;
        const auto value = [&](const WalkStep &step) {
            return by_weight ? std::to_string(step.weight) : by_rank ? std::to_string(step.code) : fmt::format("{:X}", step.code);
        };
        const char *const what = by_weight ? "weight" : by_rank ? "rank" : "code";
        return fmt::format("{} has the {} {}, {} has {}", shown(*row.a), what, value(*row.a), shown(*row.b), value(*row.b));
    }

    std::string sentence() const {
        if (order_ == 0) return fmt::format("{} and {} sort alike: no pass finds a difference", quoted(a_), quoted(b_));
        return fmt::format("{} sorts {} {}: {}", quoted(a_), order_ < 0 ? "before" : "after", quoted(b_), reason_);
    }

    std::string json() const {
        return JsonObject()
                   .text("a", request_.a)
                   .text("b", request_.b)
                   .text("codeset", codeset_)
                   .raw("passes", json_array(passes_))
                   .text("order", order_ < 0   ? "before"
                                  : order_ > 0 ? "after"
                                               : "equal")
                   .text("message", sentence())
                   .str() +
               "\n";
    }

    const ExplainRequest &request_;
    const Messages &messages_;
    gl_locale &locale_;
    std::string codeset_;
    TextView view_;
    std::string a_, b_; // in the locale's codeset
    int order_ = 0;
    std::string text_, reason_;
    std::vector<std::string> passes_; // JSON
};

} // namespace

ExitStatus run_explain(const ExplainRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale, messages);
    return Explanation(request, messages, *locale).run();
}

} // namespace qbgl
