#include "commands/sort.h"

#include "common/runs.h"
#include "frame/finding.h"
#include "frame/progress.h"
#include "sort/line_store.h"
#include "sort/merge.h"
#include "text/collation_key.h"
#include "text/encoded.h"
#include "text/shown_text.h"
#include "text/text_check.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fmt/format.h>
#include <new>
#include <optional>

namespace qbgl {

namespace {

constexpr size_t DEFAULT_MEMORY = 256 << 20;
constexpr int LONGEST_KEY = 16; // bytes of a line with its key, for each byte of the line
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
    SortPart common{{0, 0, request.skip_blanks}, {}, request.reverse, request.fold, request.order};
    for (const std::string &part : request.parts) rules.parts.push_back(sort_part(part, common));
    rules.reverse = request.reverse;
    rules.by_bytes = !request.stable && !request.unique;
    rules.by_lines = rules.by_bytes && (!rules.parts.empty() || request.fold || request.order != PartOrder::TEXT);
    if (rules.parts.empty()) rules.parts.push_back(common);
    if (!request.separator) return rules;
    rules.separator = encoded(*request.separator, category_codeset(locale, GL_CAT_CTYPE));
    const auto size = static_cast<int>(rules.separator.size());
    if (_gl_retrieve_text_multi_nv(rules.separator.c_str(), locale.ctype.codeset_table, nullptr) != size) {
        throw Failure{ExitStatus::CALL, fmt::format("-t {}: a separator is one character", printable(*request.separator)),
                      JsonObject().text("separator", *request.separator)};
    }
    return rules;
}

// The files that a call names, or another file, one behind another with NUL characters between them.
std::vector<std::string> files_of(const SortRequest &request) {
    if (request.files_from.empty()) return inputs_of(request.files);
    if (!request.files.empty()) {
        throw Failure{ExitStatus::CALL,
                      fmt::format("--files0-from takes the place of files, but there is {}", printable(request.files[0])),
                      JsonObject().text("file", request.files[0])};
    }
    InputFile input(request.files_from);
    LineReader reader([&](char *buffer, size_t size) { return input.read(buffer, size); }, std::string(1, '\0'));
    std::vector<std::string> files;
    for (Line name{}; reader.next(name);) {
        if (name.text.empty()) {
            throw Failure{ExitStatus::CALL, fmt::format("{}: name {} is empty", shown_name(request.files_from), name.number),
                          JsonObject().text("file", request.files_from).number("name", name.number)};
        }
        files.emplace_back(name.text);
    }
    if (files.empty()) {
        throw Failure{ExitStatus::CALL, fmt::format("{} names no files", shown_name(request.files_from)),
                      JsonObject().text("file", request.files_from)};
    }
    return files;
}

// 0 when it is not known. A pipe is not opened for it: it can be read only once.
uint64_t size_of(const std::vector<std::string> &files) {
    uint64_t size = 0;
    for (const std::string &file : files) {
        std::error_code error;
        if (file != STANDARD_STREAM && !std::filesystem::is_regular_file(file, error)) return 0;
        const uint64_t one = InputFile(file).size();
        if (one == 0) return 0;
        size += one;
    }
    return size;
}

class Sorting {
  public:
    Sorting(const SortRequest &request, const Messages &messages, gl_locale &locale)
        : request_(request), messages_(messages), locale_(locale), files_(files_of(request)),
          end_(line_end(locale, request.zero_terminated)), memory_(memory_size(request.memory)), rules_(rules_of(request, locale)),
          order_(locale, rules_) {
        if (!request.keep_bad && locale.collate.kind != GL_COLLATION_EXTENSION) return;
        check_.emplace(locale, "do NUL characters end the lines (-z)?");
        if (request.keep_bad) rules_.is_bad = [this](std::string_view line) { return !check_->is_sound(line); };
    }

    ExitStatus check() {
        if (request_.output != STANDARD_STREAM)
            return messages_.fail(ExitStatus::CALL, "-c writes no lines: it goes without -o",
                                  JsonObject().text("file", request_.output));
        if (files_.size() > 1) {
            return messages_.fail(ExitStatus::CALL, fmt::format("-c checks one file; {} is one more", printable(files_[1])),
                                  JsonObject().text("file", files_[1]));
        }
        const std::string &file = files_.front();
        Progress progress(size_of(files_), messages_, false);
        InputFile input(file);
        SortedText text = open(input, file, progress);
        for (std::string last; text.next(); last = text.line().text) {
            const int order = text.line().number == 1 ? -1 : order_.compare(last, text.line().text);
            if (order > 0 || (order == 0 && request_.unique)) {
                progress.clear();
                return disorder(text.line(), file);
            }
        }
        return bad_lines();
    }

    ExitStatus sort() {
        check_readable(files_);
        check_writable(request_.output);
        std::unique_ptr<Runs> runs = request_.merge ? merge_files() : collect();
        if (runs == nullptr) { // all lines are in memory
            write(0, [&](OutputTarget target) {
                LineWriter writer = writer_to(std::move(target));
                store_.for_each([&](const KeyedLine &line) { writer.put(line.text); });
                writer.flush();
            });
            return bad_lines();
        }
        while (runs->count() > texts_at_once()) runs = merge_runs(*runs);
        write(runs->size(), [&](const OutputTarget &target) {
            if (runs->count() == 1)
                copy(*runs, target);
            else
                merge(*runs, 0, runs->count(), writer_to(target));
        });
        return bad_lines();
    }

  private:
    // A message shows so many bytes of a line.
    static constexpr size_t SHOWN = 120;
    // Of bad lines that are kept so many are told of.
    static constexpr uint64_t MOST_TOLD = 20;

    size_t texts_at_once() const { return std::clamp(memory_ / (2 * BLOCK), FEWEST_TEXTS, MOST_TEXTS); }
    size_t block() const { return std::clamp(memory_ / texts_at_once() / 2, SMALLEST_BLOCK, BLOCK); }

    std::unique_ptr<Runs> new_runs(size_t memory = 0) const { return std::make_unique<Runs>(directory_, memory); }
    using OutputTarget = LineWriter::Target;
    LineWriter writer_to(OutputTarget target) const { return {std::move(target), end_, order_, request_.unique}; }

    SortedText open(InputFile &input, const std::string &file, Progress &progress) {
        const auto source = [&input, &progress](char *buffer, size_t size) {
            const size_t count = input.read(buffer, size);
            progress.add(count);
            return count;
        };
        const auto are_sound = [this](std::string_view lines) {
            return check_ ? check_->is_sound(lines) : lines.size() <= CollationKeys::LONGEST;
        };
        return SortedText(LineReader(source, end_, block()), {are_sound, [this, &file](const Line &line) { check(line, file); }});
    }

    // A bad line ends the program, or is told of and kept.
    void check(const Line &line, const std::string &file) {
        if (!check_) {
            TextCheck::check_length(line, file);
            return;
        }
        try {
            (*check_)(line, file);
        } catch (const Failure &bad) {
            if (!request_.keep_bad) throw;
            if (++bad_lines_ <= MOST_TOLD) messages_.say("unreadable", bad.sentence, bad.details);
        }
    }

    ExitStatus bad_lines() const {
        if (bad_lines_ == 0) return ExitStatus::OK;
        return messages_.fail(ExitStatus::DATA,
                              fmt::format("{} {} no text, and {} behind the others", bad_lines_,
                                          bad_lines_ == 1 ? "line is" : "lines are", bad_lines_ == 1 ? "stands" : "stand"),
                              JsonObject().number("bad_lines", bad_lines_));
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
            store_.for_each([&](const KeyedLine &line) { writer.put(line.text); });
            writer.flush();
            runs->close_run();
            store_.clear();
        };
        Progress progress(size_of(files_), messages_, false);
        for (const std::string &file : files_) {
            InputFile input(file);
            SortedText text = open(input, file, progress);
            while (text.next()) {
                const KeyedLine line{order_.key(text.line().text), text.line().text};
                if (store_.add(line)) continue;
                spill();
                store_.add(line);
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
        std::unique_ptr<Runs> runs = new_runs(memory_ / 2); // the other half is for blocks of input
        Progress progress(size_of(files_), messages_, false);
        for (size_t first = 0; first < files_.size(); first += texts_at_once()) {
            const size_t count = std::min(texts_at_once(), files_.size() - first);
            std::vector<std::unique_ptr<InputFile>> inputs;
            std::vector<SortedText> texts;
            for (size_t i = first; i < first + count; ++i) {
                inputs.push_back(std::make_unique<InputFile>(files_[i]));
                texts.push_back(open(*inputs.back(), files_[i], progress));
            }
            LineWriter writer = writer_to(runs->target());
            qbgl::merge(texts, order_, writer);
            runs->close_run();
        }
        return runs;
    }

    void merge(const Runs &runs, size_t first, size_t count, LineWriter writer) {
        std::vector<SortedText> texts;
        for (size_t run = first; run < first + count; ++run) texts.emplace_back(LineReader(runs.source(run), end_, block()));
        qbgl::merge(texts, order_, writer);
    }

    // The only run.
    static void copy(const Runs &runs, const OutputTarget &target) {
        std::vector<char> buffer(BLOCK);
        auto source = runs.source(0);
        while (const size_t count = source(buffer.data(), buffer.size())) target({buffer.data(), count});
    }

    // Neighbouring runs become one, so that there are fewer.
    std::unique_ptr<Runs> merge_runs(const Runs &runs) {
        std::unique_ptr<Runs> longer = new_runs();
        for (size_t first = 0; first < runs.count(); first += texts_at_once()) {
            merge(runs, first, std::min(texts_at_once(), runs.count() - first), writer_to(longer->target()));
            longer->close_run();
        }
        return longer;
    }

    // Everything is read by now, so that the output may be one of the input files.
    template <typename Fill> void write(uint64_t size, const Fill &fill) {
        OutputFile output(request_.output, {});
        Progress progress(size, messages_, output.is_terminal());
        fill([&](std::string_view bytes) {
            output.write(bytes);
            progress.add(bytes.size());
        });
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
    std::optional<TextCheck> check_; // the order takes any bytes: only where bad lines go elsewhere, or the extension orders
    LineStore store_{memory_};
    uint64_t bad_lines_ = 0;
};

} // namespace

ExitStatus run_sort(const SortRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale, messages);
    try {
        Sorting sorting(request, messages, *locale);
        return request.check || request.check_quietly ? sorting.check() : sorting.sort();
    } catch (const std::bad_alloc &) {
        return messages.fail(ExitStatus::SYSTEM,
                             fmt::format("out of memory: a line may take {} times its bytes beside what -S allows ({})",
                                         LONGEST_KEY, request.memory.empty() ? "256M" : printable(request.memory)));
    } catch (const TemporaryFileError &error) {
        return messages.fail(ExitStatus::SYSTEM, error.what(),
                             JsonObject().text("file", error.directory).text("reason", error.reason));
    }
}

} // namespace qbgl
