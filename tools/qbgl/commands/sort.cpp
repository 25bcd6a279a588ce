#include "commands/sort.h"

#include "common/runs.h"
#include "frame/finding.h"
#include "frame/progress.h"
#include "sort/line_store.h"
#include "sort/merge.h"
#include "text/encoded.h"
#include "text/shown_text.h"
#include "text/text_check.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <new>

namespace qbgl {

namespace {

constexpr size_t DEFAULT_MEMORY = 256 << 20;
// Texts that are merged at once, each with a block of input in memory.
constexpr size_t FEWEST_TEXTS = 16, MOST_TEXTS = 256, BLOCK = 64 << 10, SMALLEST_BLOCK = 4 << 10;

// Bytes of SIZE[KMG]; a plain number counts kibibytes.
size_t memory_size(const std::string &text) {
    if (text.empty()) return DEFAULT_MEMORY;
    constexpr uint64_t MOST = SIZE_MAX / 4;
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view unit(end, static_cast<size_t>(text.data() + text.size() - end));
    const size_t power = unit.empty() ? 0 : std::string_view("KkMmGg").find(unit) / 2;
    if (error != std::errc() || number == 0 || unit.size() > 1 || power > 2) {
        throw Failure{ExitStatus::CALL,
                      fmt::format("-S {}: a size is a number of kibibytes, or a number with K, M or G", printable(text)),
                      JsonObject().text("size", text)};
    }
    const uint64_t factor = uint64_t{1024} << 10 * power;
    return static_cast<size_t>(number > MOST / factor ? MOST : number * factor);
}

SortRules rules_of(const SortRequest &request, const gl_locale &locale) {
    SortRules rules;
    for (const std::string &part : request.parts) rules.parts.push_back(sort_part(part, request.skip_blanks, request.reverse));
    rules.reverse = request.reverse;
    rules.by_bytes = !request.stable && !request.unique;
    if (rules.parts.empty())
        rules.parts.push_back({{0, 0, request.skip_blanks}, {}, request.reverse});
    else if (rules.by_bytes) // lines whose parts sort alike are put in order by all that they have
        rules.parts.push_back({{}, {}, request.reverse});
    if (!request.separator) return rules;
    rules.separator = encoded(*request.separator, category_codeset(locale, GL_CAT_CTYPE));
    const auto size = static_cast<int>(rules.separator.size());
    if (_gl_retrieve_text_multi_nv(rules.separator.c_str(), locale.ctype.codeset_table, nullptr) != size) {
        throw Failure{ExitStatus::CALL, fmt::format("-t {}: a separator is one character", printable(*request.separator)),
                      JsonObject().text("separator", *request.separator)};
    }
    return rules;
}

LineReader::Source source_of(InputFile &input) {
    return [&input](char *buffer, size_t size) { return input.read(buffer, size); };
}

class Sorting {
  public:
    Sorting(const SortRequest &request, const Messages &messages, gl_locale &locale)
        : request_(request), messages_(messages), locale_(locale), files_(inputs_of(request.files)),
          end_(line_end(locale, request.zero_terminated)), memory_(memory_size(request.memory)), rules_(rules_of(request, locale)),
          order_(locale, rules_), check_(locale) {}

    ExitStatus check() {
        if (request_.output != STANDARD_STREAM)
            return messages_.fail(ExitStatus::CALL, "-c writes no lines: it goes without -o",
                                  JsonObject().text("file", request_.output));
        if (files_.size() > 1) {
            return messages_.fail(ExitStatus::CALL, fmt::format("-c checks one file; {} is one more", printable(files_[1])),
                                  JsonObject().text("file", files_[1]));
        }
        const std::string &file = files_.front();
        InputFile input(file);
        SortedText text = open(input, file);
        std::string last_key, last;
        while (text.next()) {
            const int order = text.line().number == 1 ? -1 : order_.compare({last_key, last}, text.keyed());
            if (order > 0 || (order == 0 && request_.unique)) return disorder(text.line(), file);
            last_key = text.keyed().key;
            last = text.keyed().text;
        }
        return ExitStatus::OK;
    }

    ExitStatus sort() {
        check_readable(files_);
        check_writable(request_.output);
        std::unique_ptr<Runs> runs = request_.merge ? merge_files() : collect();
        if (runs == nullptr) { // all lines are in memory
            write(0, [&](LineWriter &writer) {
                store_.for_each([&](const KeyedLine &line) { writer.put(line); });
                writer.flush();
            });
            return ExitStatus::OK;
        }
        while (runs->count() > texts_at_once()) runs = merge_runs(*runs);
        write(runs->size(), [&](LineWriter &writer) { merge(*runs, 0, runs->count(), writer); });
        return ExitStatus::OK;
    }

  private:
    // A message shows so many bytes of a line.
    static constexpr size_t SHOWN = 120;

    size_t texts_at_once() const { return std::clamp(memory_ / (2 * BLOCK), FEWEST_TEXTS, MOST_TEXTS); }
    size_t block() const { return std::clamp(memory_ / texts_at_once() / 2, SMALLEST_BLOCK, BLOCK); }

    std::unique_ptr<Runs> new_runs() const { return std::make_unique<Runs>(directory_); }
    LineWriter writer_to(LineWriter::Target target) const { return {std::move(target), end_, request_.unique}; }

    SortedText open(InputFile &input, const std::string &file) {
        return {LineReader(source_of(input), end_, block()), order_, [this, &file](const Line &line) { check_(line, file); }};
    }

    ExitStatus disorder(const Line &line, const std::string &file) const {
        if (request_.check_quietly) return ExitStatus::DATA;
        const TextView view(category_codeset(locale_, GL_CAT_CTYPE));
        const std::string text = view.visible(line.text.substr(0, SHOWN)) + (line.text.size() > SHOWN ? "..." : "");
        Finding finding{"disorder", file, {line.number}, {}, "disorder: " + text};
        finding.whole_line = true;
        return messages_.fail(finding.failure());
    }

    // Reads all lines. Without temporary files when the memory suffices: the lines are in the store then, in order.
    std::unique_ptr<Runs> collect() {
        std::unique_ptr<Runs> runs;
        const auto spill = [&] {
            if (!runs) runs = new_runs();
            store_.sort(order_);
            LineWriter writer = writer_to(runs->target());
            store_.for_each([&](const KeyedLine &line) { writer.put(line); });
            writer.flush();
            runs->close_run();
            store_.clear();
        };
        for (const std::string &file : files_) {
            InputFile input(file);
            Progress progress(input.size(), messages_);
            SortedText text = open(input, file);
            while (text.next()) {
                if (!store_.add(text.keyed())) {
                    spill();
                    store_.add(text.keyed());
                }
                progress.add(text.line().text.size() + end_.size());
            }
        }
        if (runs)
            spill();
        else
            store_.sort(order_);
        return runs;
    }

    // The input files as runs. What is wrong with one of them is found before anything is written.
    std::unique_ptr<Runs> merge_files() {
        std::unique_ptr<Runs> runs = new_runs();
        for (size_t first = 0; first < files_.size(); first += texts_at_once()) {
            const size_t count = std::min(texts_at_once(), files_.size() - first);
            std::vector<std::unique_ptr<InputFile>> inputs;
            std::vector<SortedText> texts;
            for (size_t i = first; i < first + count; ++i) {
                inputs.push_back(std::make_unique<InputFile>(files_[i]));
                texts.push_back(open(*inputs.back(), files_[i]));
            }
            LineWriter writer = writer_to(runs->target());
            qbgl::merge(texts, order_, writer);
            runs->close_run();
        }
        return runs;
    }

    void merge(const Runs &runs, size_t first, size_t count, LineWriter &writer) {
        std::vector<SortedText> texts;
        for (size_t run = first; run < first + count; ++run)
            texts.emplace_back(LineReader(runs.source(run), end_, block()), order_);
        qbgl::merge(texts, order_, writer);
    }

    // Neighbouring runs become one, so that there are fewer.
    std::unique_ptr<Runs> merge_runs(const Runs &runs) {
        std::unique_ptr<Runs> longer = new_runs();
        for (size_t first = 0; first < runs.count(); first += texts_at_once()) {
            LineWriter writer = writer_to(longer->target());
            merge(runs, first, std::min(texts_at_once(), runs.count() - first), writer);
            longer->close_run();
        }
        return longer;
    }

    // Everything is read by now, so that the output may be one of the input files.
    template <typename Fill> void write(uint64_t size, const Fill &fill) {
        OutputFile output(request_.output, {});
        Progress progress(size, messages_);
        LineWriter writer = writer_to([&](std::string_view bytes) {
            output.write(bytes);
            progress.add(bytes.size());
        });
        fill(writer);
        output.close();
    }

    const SortRequest &request_;
    const Messages &messages_;
    gl_locale &locale_;
    std::vector<std::string> files_;
    std::string end_;
    size_t memory_;
    std::string directory_ =
        request_.temporary_directory.empty() ? TemporaryFile::default_directory() : request_.temporary_directory;
    SortRules rules_;
    SortOrder order_;
    TextCheck check_;
    LineStore store_{memory_};
};

} // namespace

ExitStatus run_sort(const SortRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale);
    try {
        Sorting sorting(request, messages, *locale);
        return request.check || request.check_quietly ? sorting.check() : sorting.sort();
    } catch (const std::bad_alloc &) {
        return messages.fail(ExitStatus::SYSTEM, "out of memory: -S sets how much is used before temporary files are");
    } catch (const TemporaryFileError &error) {
        return messages.fail(ExitStatus::SYSTEM, error.what(),
                             JsonObject().text("file", error.directory).text("reason", error.reason));
    }
}

} // namespace qbgl
