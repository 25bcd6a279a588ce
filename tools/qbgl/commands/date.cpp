#include "commands/date.h"

#include "frame/files.h"
#include "text/date_form.h"
#include "text/line_input.h"
#include "text/utf8.h"
#include "tree/directories.h"
#include "tree/installed.h"
#include "tree/registry.h"

#include <algorithm>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr const char *DATE_AND_TIME = "%+";

class DateTable {
  public:
    DateTable(const DateRequest &request, const Messages &messages) : request_(request), messages_(messages), zone_(request.zone) {
        for (const std::string &word : request.dates) {
            if (!word.starts_with('+')) {
                dates_.push_back(word);
                continue;
            }
            if (format_)
                throw Failure{ExitStatus::CALL, fmt::format("two formats: +{} and {}", printable(*format_), printable(word))};
            format_ = word.substr(1);
        }
        if (dates_.empty()) dates_.push_back(request_.read ? std::string(STANDARD_STREAM) : fmt::format("@{}", now()));
    }

    ExitStatus run() {
        if (request_.all)
            run_all();
        else
            run_one();
        output_.write(results_);
        return failed_ ? ExitStatus::DATA : ExitStatus::OK;
    }

  private:
    static constexpr size_t BLOCK = 64 << 10;

    void run_one() {
        const LocaleHandle locale = open_locale(request_.locale, messages_);
        const LocaleHandle from = request_.from ? open_locale(*request_.from, messages_) : LocaleHandle(nullptr, gl_lc_unload);
        DateForm form = form_of(*locale, format_.value_or(DATE_AND_TIME));
        std::optional<DateForm> input;
        if (request_.read) input = form_of(from ? *from : *locale, *request_.read);
        for (const std::string &date : dates_) {
            if (date != STANDARD_STREAM) {
                add(form, input, date, 0);
                continue;
            }
            LineInput lines(STANDARD_STREAM, "\n", messages_, output_, [this] { flush(); });
            for (Line line{}; lines.next(line);) add(form, input, std::string(line.text), line.number);
        }
    }

    static DateForm form_of(gl_locale &locale, const std::string &format) {
        try {
            return {locale, format};
        } catch (const DateFault &fault) {
            throw Failure{ExitStatus::CALL, fault.sentence, JsonObject().text("format", format)};
        }
    }

    void run_all() {
        std::vector<int64_t> instants;
        for (const std::string &date : dates_) {
            if (date == STANDARD_STREAM)
                throw Failure{ExitStatus::CALL, "--all takes dates from the command line, not from lines of input"};
            try {
                instants.push_back(read_instant(date, zone_));
            } catch (const DateFault &fault) {
                report(fault, date, 0);
            }
        }
        const std::vector<std::string> locales = locales_of_language();
        for (const std::string &name : locales) widest_ = std::max(widest_, name.size());
        for (const std::string &name : locales) show(name, instants);
    }

    // What a locale cannot write a message tells of, and the next one follows.
    void show(const std::string &name, const std::vector<int64_t> &instants) {
        const LocaleHandle locale = open_locale(name, messages_);
        std::optional<DateForm> form;
        try {
            form.emplace(*locale, format_.value_or(DATE_AND_TIME));
        } catch (const DateFault &fault) {
            report(fault, name, 0);
            return;
        }
        for (const int64_t instant : instants) {
            try {
                add(*form, instant, name);
            } catch (const DateFault &fault) {
                report({fault.kind, fmt::format("{}: {}", iso_date(zone_.record_at(instant)), fault.sentence)}, name, 0);
            }
        }
        if (results_.size() >= BLOCK) flush();
    }

    std::vector<std::string> locales_of_language() const {
        const auto lower = [](std::string text) {
            for (char &c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
            return text;
        };
        const std::string wanted = lower(*request_.all);
        if (read_registry().names.empty()) throw no_tree();
        std::vector<std::string> result;
        for (const InstalledLocale &locale : installed_locales()) {
            const std::string name = lower(locale.specification);
            const bool begins = name.starts_with(wanted);
            const bool is_whole = begins && (wanted.empty() || name.find_first_of("_.@", wanted.size()) == wanted.size());
            if (is_whole || name == wanted) result.push_back(locale.specification);
        }
        if (result.empty()) {
            throw Failure{ExitStatus::CALL,
                          fmt::format("no locale{} is installed; `qbgl list locales` lists all",
                                      wanted.empty() ? "" : " of " + printable(*request_.all)),
                          JsonObject().text("language", *request_.all)};
        }
        return result;
    }

    // A line number of 0 is none.
    void add(DateForm &form, std::optional<DateForm> &input, const std::string &text, uint64_t line) {
        try {
            if (!input)
                add(form, read_instant(text, zone_), {});
            else
                add(form, input->read(text, zone_), text);
        } catch (const DateFault &fault) {
            const bool is_form = fault.kind == "mismatch" || fault.kind == "trailing";
            report({fault.kind, fault.sentence + (is_form ? sample(*input) : ""), fault.position}, text, line);
        }
        if (results_.size() >= BLOCK) flush();
    }

    // Nothing where the locale cannot write today, either.
    std::string sample(DateForm &form) const {
        try {
            return "; the locale writes " + form.written(now(), zone_);
        } catch (const DateFault &) {
            return "";
        }
    }

    void add(DateForm &form, int64_t instant, const std::string &locale) {
        const std::string written = form.written(instant, zone_);
        if (!messages_.as_json()) {
            const std::string name = locale.empty() ? "" : fmt::format("{:{}} ", locale, widest_);
            results_ += name + written + "\n";
            return;
        }
        JsonObject result;
        if (!locale.empty()) result.text("locale", locale);
        results_ += result.text("date", iso(instant)).text("written", written).str() + "\n";
    }

    void add(DateForm &form, const ReadDate &read, const std::string &text) {
        const bool written_anew = format_ || request_.from;
        std::string written = read.iso();
        if (written_anew) {
            if (!read.day) throw DateFault{"parts", "it tells no whole date to be written"};
            int64_t instant = zone_.seconds_of(read.date);
            if (read.zone) instant = Zone("utc").seconds_of(read.date) - read.date.gmtoff;
            written = form.written(instant, zone_);
        }
        if (messages_.as_json()) written = JsonObject().text("text", text).text("date", read.iso()).text("written", written).str();
        results_ += written + "\n";
    }

    // In UTC where the clocks of the zone were not whole minutes from it.
    std::string iso(int64_t instant) const {
        gl_tm date = zone_.record_at(instant);
        if (date.gmtoff % 60 != 0) date = Zone("utc").record_at(instant);
        return iso_date(date) + "T" + iso_time(date) + distance_text(date.gmtoff);
    }

    void report(const DateFault &fault, const std::string &text, uint64_t line) {
        flush(); // so that a terminal shows both in order
        failed_ = true;
        const std::string place = line != 0 ? fmt::format("line {}: ", line) : "";
        const std::string character = fault.position != 0 ? fmt::format(", character {}", fault.position) : "";
        JsonObject details;
        details.text("reason", fault.kind).text("text", text);
        if (line != 0) details.number("line", line);
        if (fault.position != 0) details.number("position", fault.position);
        messages_.say("error", fmt::format("{}\"{}\"{}: {}", place, TextView("utf8").visible(text), character, fault.sentence),
                      details);
    }

    void flush() {
        output_.write(results_);
        results_.clear();
    }

    const DateRequest &request_;
    const Messages &messages_;
    const Zone zone_;
    OutputFile output_{STANDARD_STREAM, {}};
    std::optional<std::string> format_;
    std::vector<std::string> dates_;
    size_t widest_ = 0; // of the names of locales
    std::string results_;
    bool failed_ = false;
};

} // namespace

ExitStatus run_date(const DateRequest &request, const Messages &messages) { return DateTable(request, messages).run(); }

} // namespace qbgl
