#include "commands/num.h"

#include "frame/files.h"
#include "text/line_input.h"
#include "text/money.h"
#include "text/number_reader.h"
#include "text/shown_text.h"

#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr int DECIMAL = 10;

// A number as the program reads it again: with a point and without separators.
std::string plain(const PlainNumber &number) {
    std::string text = (number.negative ? "-" : "") + number.digits;
    if (!number.fraction.empty()) text += "." + number.fraction;
    if (!number.exponent.empty()) text += "e" + number.exponent;
    return text;
}

// Writes numbers by the conventions of a locale, in UTF-8.
class NumberWriter {
  public:
    NumberWriter(gl_locale &locale, const NumRequest &request) {
        if (request.monetary) {
            amounts_.emplace(locale, request.currency == "international" ? CurrencySymbol::INTERNATIONAL : CurrencySymbol::LOCAL);
            return;
        }
        const TextView view(category_codeset(locale, GL_CAT_NUMERIC));
        const gl_numeric_info &numbers = locale.numeric;
        point_ = view.plain(numbers.decimal_point.bytes);
        separator_ = view.plain(numbers.thousands_sep.bytes);
        negative_ = view.plain(numbers.negative_sign.bytes);
        sizes_.assign(numbers.grouping.sizes, numbers.grouping.sizes + numbers.grouping.count);
        if (point_.empty()) point_ = ".";
        if (negative_.empty()) negative_ = "-";
    }

    std::string text(const PlainNumber &number) const {
        if (amounts_) return amounts_->written(number);
        std::string text = (number.negative ? negative_ : "") + grouped(number.digits);
        if (!number.fraction.empty()) text += point_ + number.fraction;
        if (!number.exponent.empty()) text += "e" + number.exponent;
        return text;
    }

  private:
    // The last size is that of all further groups; a size below 1 leaves the rest together.
    std::string grouped(std::string digits) const {
        size_t at = digits.size();
        for (size_t group = 0; !sizes_.empty(); ++group) {
            const int size = sizes_[std::min(group, sizes_.size() - 1)];
            if (size < 1 || at <= static_cast<size_t>(size)) break;
            at -= static_cast<size_t>(size);
            digits.insert(at, separator_);
        }
        return digits;
    }

    std::string point_, separator_, negative_;
    std::vector<int> sizes_;
    std::optional<Amounts> amounts_;
};

class NumberTable {
  public:
    NumberTable(const NumRequest &request, const Messages &messages, gl_locale &from, gl_locale &to)
        : request_(request), messages_(messages), output_(STANDARD_STREAM, {}), blank_(blank_separator(from)), reader_(from),
          writer_(to, request), sample_(sample_of(from)) {
        if (request.monetary) amounts_.emplace(from, CurrencySymbol::LOCAL);
    }

    ExitStatus run() {
        for (const std::string &number : request_.numbers) add(number, 0);
        if (request_.numbers.empty()) read_lines();
        write();
        return failed_ ? ExitStatus::DATA : ExitStatus::OK;
    }

  private:
    static constexpr size_t BLOCK = 64 << 10;

    void read_lines() {
        LineInput input(STANDARD_STREAM, "\n", messages_, output_, [this] { write(); });
        for (Line line{}; input.next(line);) add(std::string(line.text), line.number);
    }

    // A line number of 0 is none.
    void add(const std::string &text, uint64_t line) {
        try {
            const PlainNumber number = read(text);
            const std::string written = request_.grouping || request_.from ? writer_.text(number) : plain(number);
            results_ += messages_.as_json() ? json(text, number, written) : written;
            results_ += '\n';
        } catch (const NumberFault &fault) {
            write(); // so that a terminal shows both in order
            report(fault, text, line);
        }
        if (results_.size() >= BLOCK) write();
    }

    PlainNumber read(const std::string &text) {
        if (amounts_) return amounts_->read(text);
        if (request_.base || request_.to_base)
            return reader_.integer(text, request_.base.value_or(DECIMAL), request_.to_base.value_or(DECIMAL));
        return reader_.decimal(with_blanks(text, blank_));
    }

    void report(const NumberFault &fault, const std::string &text, uint64_t line) {
        failed_ = true;
        std::string sentence = line != 0 ? fmt::format("line {}: ", line) : "";
        const std::string shown = excerpt(text);
        sentence += fmt::format("\"{}\"", TextView("utf8").visible(shown));
        JsonObject details;
        details.text("reason", fault.kind).text("text", shown);
        if (line != 0) details.number("line", line);
        if (fault.position != 0) {
            details.number("position", fault.position);
            sentence += fmt::format(", character {}: {}; the locale writes {}", fault.position, fault.sentence, sample_);
        } else {
            sentence += fmt::format(": {}", fault.sentence);
        }
        messages_.say("error", sentence, details);
    }

    // As much as a number may have, of whole characters.
    static std::string excerpt(const std::string &text) {
        constexpr size_t SHOWN = 256;
        if (text.size() <= SHOWN) return text;
        size_t end = SHOWN;
        while (end > SHOWN - 3 && (static_cast<uint8_t>(text[end]) & 0xC0) == 0x80) --end;
        return text.substr(0, end) + "...";
    }

    // What tells a person which point and which separators are expected.
    std::string sample_of(gl_locale &locale) const {
        return TextView("utf8").visible(NumberWriter(locale, request_).text({false, "1234567", "89", ""}));
    }

    std::string json(const std::string &text, const PlainNumber &number, const std::string &written) const {
        JsonObject result;
        result.text("text", text).text("written", written);
        if (request_.to_base.value_or(DECIMAL) == DECIMAL) result.raw("value", plain(number));
        return result.str();
    }

    void write() {
        output_.write(results_);
        results_.clear();
    }

    const NumRequest &request_;
    const Messages &messages_;
    OutputFile output_;
    std::string blank_; // the separator of the numbers read
    NumberReader reader_;
    std::optional<Amounts> amounts_;
    NumberWriter writer_;
    std::string sample_, results_;
    bool failed_ = false;
};

} // namespace

ExitStatus run_num(const NumRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale, messages);
    const LocaleHandle from = request.from ? open_locale(*request.from, messages) : LocaleHandle(nullptr, gl_lc_unload);
    return NumberTable(request, messages, from ? *from : *locale, *locale).run();
}

} // namespace qbgl
