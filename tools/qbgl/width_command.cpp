#include "width_command.h"

#include "encoded.h"
#include "hexadecimal.h"
#include "lines.h"
#include "locale_handle.h"
#include "progress.h"
#include "text_check.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>

namespace qbgl {

namespace {

gl_wchar wide_value(gl_locale &locale, const std::string &bytes) {
    gl_wchar value = 0;
    _qbx_gl_full_mbtowc(&locale, &value, bytes.data(), static_cast<int>(bytes.size()));
    return value;
}

class Run {
  public:
    Run(const WidthRequest &request, const Messages &messages, gl_locale &locale)
        : request_(request), messages_(messages), locale_(locale), files_(inputs_of(request.files)), check_(locale),
          line_end_(line_end(locale, false)),
          tab_(line_end_ == "\n" ? '\t' : wide_value(locale, encoded("\t", category_codeset(locale, GL_CAT_CTYPE)))) {}

    ExitStatus run() {
        check_readable(files_);
        OutputFile output(STANDARD_STREAM, files_);
        for (const std::string &file : files_) measure(file, output);
        if (unmeasured_ == 0) return ExitStatus::OK;
        return messages_.fail(ExitStatus::DATA,
                              fmt::format("{} line{} could not be measured", unmeasured_, unmeasured_ == 1 ? "" : "s"),
                              JsonObject().number("unmeasured", unmeasured_));
    }

  private:
    static constexpr size_t LONGEST_LINE = 128 << 20;

    void measure(const std::string &file, OutputFile &output) {
        constexpr size_t BLOCK = 64 << 10;
        InputFile input(file);
        Progress progress(input.size(), messages_);
        const auto write = [&] {
            output.write(results_);
            results_.clear();
        };
        LineReader reader([&](char *buffer, size_t size) { return write(), input.read(buffer, size); }, line_end_);
        uint64_t widest = 0, widest_line = 0;
        for (Line line{}; reader.next(line);) {
            progress.add(line.text.size());
            if (const std::optional<uint64_t> width = width_of(line.text)) {
                if (!request_.widest) append(file, line, *width);
                if (*width > widest || widest_line == 0) widest = *width, widest_line = line.number;
                if (results_.size() >= BLOCK) write();
            } else {
                write(); // the lines before it
                progress.clear();
                complain(line, file);
            }
        }
        if (request_.widest) append_widest(file, widest, widest_line);
        write();
    }

    // Leaves the line's wide characters behind. Nothing where one of them has no width, or bytes are none.
    std::optional<uint64_t> width_of(std::string_view text) {
        wide_.clear();
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
            if (tab == end) return width;
            if (request_.tab_stops != 0) width += request_.tab_stops - width % request_.tab_stops;
            at = tab;
        }
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
            results_ += files_.size() == 1 ? fmt::format("{}", width) : fmt::format("{} {}", width, printable(file));
        results_ += '\n';
    }

    void complain(const Line &line, const std::string &file) {
        ++unmeasured_;
        if (line.text.size() > LONGEST_LINE) return complain_of_length(line, file);
        try {
            if (std::find(wide_.begin(), wide_.end(), 0U) == wide_.end()) check_(line, file);
            complain_of_unprintable(line, file);
        } catch (const SystemFailure &unreadable) {
            messages_.say("unmeasured", unreadable.sentence, unreadable.details);
        }
    }

    void complain_of_length(const Line &line, const std::string &file) const {
        messages_.say(
            "unmeasured",
            fmt::format("{}:{}: a line of {} bytes is too long to measure", shown_name(file), line.number, line.text.size()),
            JsonObject().text("finding", "long").text("file", file).number("line", line.number));
    }

    // FILE:LINE:COLUMN: offset N, bytes XX XX: what is the matter
    void complain_of_unprintable(const Line &line, const std::string &file) const {
        const auto has_none = [this](gl_wchar wc) { return wc == 0 || (wc != tab_ && gl_wcwidth(&locale_, wc) < 0); };
        const auto culprit = std::find_if(wide_.begin(), wide_.end(), has_none);
        size_t before = 0;
        for (auto at = wide_.begin(); at != culprit; ++at) before += static_cast<size_t>(gl_wclen(&locale_, *at));
        const gl_wchar wc = culprit != wide_.end() ? *culprit : 0;
        const std::string_view bytes = line.text.substr(before, static_cast<size_t>(gl_wclen(&locale_, wc)));
        const auto column = static_cast<uint64_t>(culprit - wide_.begin()) + 1;
        const bool ends_in_return = wc == '\r' && column == wide_.size();
        messages_.say("unmeasured",
                      fmt::format("{}:{}:{}: offset {}, byte{} {}: not printable, and so without a width{}", shown_name(file),
                                  line.number, column, line.offset + before, bytes.size() == 1 ? "" : "s", hexadecimal(bytes, " "),
                                  ends_in_return ? "; do the lines end in CR LF?" : ""),
                      JsonObject()
                          .text("finding", "unprintable")
                          .text("file", file)
                          .number("line", line.number)
                          .number("column", column)
                          .number("offset", line.offset + before)
                          .text("bytes", hexadecimal(bytes)));
    }

    const WidthRequest &request_;
    const Messages &messages_;
    gl_locale &locale_;
    std::vector<std::string> files_;
    TextCheck check_;
    std::string line_end_;
    gl_wchar tab_;
    std::vector<gl_wchar> wide_;
    std::string results_;
    uint64_t unmeasured_ = 0;
};

} // namespace

ExitStatus run_width(const WidthRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale);
    return Run(request, messages, *locale).run();
}

} // namespace qbgl
