#include "commands/width.h"

#include "frame/finding.h"
#include "text/encoded.h"
#include "text/line_input.h"
#include "text/text_check.h"
#include "text/zero_width.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <utility>

namespace qbgl {

namespace {

gl_wchar wide_value(gl_locale &locale, const std::string &bytes) {
    gl_wchar value = 0;
    _qbx_gl_full_mbtowc(&locale, &value, bytes.data(), static_cast<int>(bytes.size()));
    return value;
}

class WidthMeasure {
  public:
    WidthMeasure(const WidthRequest &request, const Messages &messages, gl_locale &locale)
        : request_(request), messages_(messages), locale_(locale), several_(request.files.size() > 1), check_(locale),
          line_end_(line_end(locale, false)),
          tab_(line_end_ == "\n" ? '\t' : wide_value(locale, encoded("\t", category_codeset(locale, GL_CAT_CTYPE)))) {}

    ExitStatus summary() const {
        if (unmeasured_ == 0) return ExitStatus::OK;
        return messages_.fail(ExitStatus::DATA,
                              fmt::format("{} line{} could not be measured", unmeasured_, unmeasured_ == 1 ? "" : "s"),
                              JsonObject().number("unmeasured", unmeasured_));
    }

    ExitStatus operator()(const std::string &file, OutputFile &output) {
        constexpr size_t BLOCK = 64 << 10;
        const auto write = [&] {
            output.write(results_);
            results_.clear();
        };
        LineInput input(file, line_end_, messages_, output, write);
        uint64_t widest = 0, widest_line = 0;
        told_of_codeset_ = false;
        for (Line line{}; input.next(line);) {
            if (const std::optional<uint64_t> width = width_of(line.text)) {
                if (!request_.widest) append(file, line, *width);
                if (*width > widest || widest_line == 0) widest = *width, widest_line = line.number;
                if (results_.size() >= BLOCK) write();
            } else {
                write(); // the lines before it
                input.progress().clear();
                complain(line, file);
            }
        }
        if (request_.widest) append_widest(file, widest, widest_line);
        write();
        return ExitStatus::OK;
    }

  private:
    static constexpr size_t LONGEST_LINE = 128 << 20;

    // Leaves the line's wide characters behind. Nothing where one of them has no width, or bytes are none.
    std::optional<uint64_t> width_of(std::string_view text) {
        wide_.clear();
        if (line_end_ == "\n" && text.ends_with('\r')) text.remove_suffix(1);
        if (text.size() > LONGEST_LINE) return std::nullopt;
        wide_.resize(text.size() + 1);
        const auto size = static_cast<int>(text.size());
        const int count = size > 0 ? gl_mbfstowcfs(&locale_, wide_.data(), text.data(), size, size) : 0;
        wide_.resize(static_cast<size_t>(std::max(count, 0)));
        if (count < 0 || std::find(wide_.begin(), wide_.end(), 0U) != wide_.end()) return std::nullopt;
        uint64_t width = 0;
        for (const gl_wchar *at = wide_.data(), *end = at + count;; ++at) {
            const gl_wchar *const tab = std::find(at, end, tab_);
            const int columns = gl_wcswidth(&locale_, at, static_cast<int>(tab - at));
            if (columns < 0) return std::nullopt;
            width += static_cast<unsigned>(columns);
            width -= static_cast<uint64_t>(std::count_if(at, tab, [this](gl_wchar wc) { return joins_another(wc); }));
            if (tab == end) return width;
            if (request_.tab_stops != 0) width += request_.tab_stops - width % request_.tab_stops;
            at = tab;
        }
    }

    // Whether the library gives a character one column that it does not take on a terminal.
    bool joins_another(gl_wchar wc) const {
        const bool joins = (combining_ != 0 && gl_iswctype(&locale_, wc, combining_) != 0) || zero_width_.contains(wc);
        return joins && gl_wcwidth(&locale_, wc) == 1;
    }

    void append(const std::string &file, const Line &line, uint64_t width) {
        if (messages_.as_json()) {
            JsonObject result;
            result.text("file", file).number("line", line.number).number("width", width);
            results_ += result.number("bytes", line.text.size()).number("characters", wide_.size()).str();
        } else {
            fmt::format_to(std::back_inserter(results_), "{}\t{}", width, line.text);
        }
        results_ += '\n';
    }

    void append_widest(const std::string &file, uint64_t width, uint64_t line) {
        if (messages_.as_json())
            results_ += JsonObject().text("file", file).number("line", line).number("width", width).str();
        else
            results_ += !several_ ? fmt::format("{}", width) : fmt::format("{} {}", width, printable(file));
        results_ += '\n';
    }

    void complain(const Line &line, const std::string &file) {
        ++unmeasured_;
        if (line.text.size() > LONGEST_LINE) return complain_of_length(line, file);
        try {
            if (std::find(wide_.begin(), wide_.end(), 0U) == wide_.end()) check_(line, file);
            complain_of_unprintable(line, file);
        } catch (const Failure &unreadable) {
            // Where one line is in another codeset, most are.
            if (!std::exchange(told_of_codeset_, true)) messages_.say("unmeasured", unreadable.sentence, unreadable.details);
        }
    }

    void complain_of_length(const Line &line, const std::string &file) const {
        Finding finding{"long", file, {line.number}, {}, fmt::format("a line of {} bytes is too long", line.text.size())};
        finding.whole_line = true;
        messages_.say("unmeasured", finding);
    }

    void complain_of_unprintable(const Line &line, const std::string &file) const {
        const auto has_none = [this](gl_wchar wc) { return wc == 0 || (wc != tab_ && gl_wcwidth(&locale_, wc) < 0); };
        const auto culprit = std::find_if(wide_.begin(), wide_.end(), has_none);
        size_t before = 0;
        for (auto at = wide_.begin(); at != culprit; ++at) before += static_cast<size_t>(gl_wclen(&locale_, *at));
        const gl_wchar wc = culprit != wide_.end() ? *culprit : 0;
        const std::string_view bytes = line.text.substr(before, static_cast<size_t>(gl_wclen(&locale_, wc)));
        const auto column = static_cast<uint64_t>(culprit - wide_.begin()) + 1;
        Finding finding{"unprintable", file, {line.number, column, line.offset + before}, std::string(bytes), {}};
        finding.reason = "not printable, and so without a width";
        messages_.say("unmeasured", finding);
    }

    const WidthRequest &request_;
    const Messages &messages_;
    gl_locale &locale_;
    bool several_; // files
    TextCheck check_;
    std::string line_end_;
    gl_wchar tab_;
    std::vector<gl_wchar> wide_;
    std::string results_;
    unsigned combining_ = gl_ctype(&locale_, "combining"); // class mask, 0 where the locale has none
    ZeroWidth zero_width_{locale_};
    bool told_of_codeset_ = false; // of this file
    uint64_t unmeasured_ = 0;
};

} // namespace

ExitStatus run_width(const WidthRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale, messages);
    WidthMeasure measure(request, messages, *locale);
    const ExitStatus status = for_each_file(inputs_of(request.files), STANDARD_STREAM,
                                            [&](const std::string &file, OutputFile &output) { return measure(file, output); });
    return status == ExitStatus::OK ? measure.summary() : status;
}

} // namespace qbgl
