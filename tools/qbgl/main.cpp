// qbgl: the command-line client. It is a host like any other: everything goes through the public header.
#include "commands/cal.h"
#include "commands/case.h"
#include "commands/class.h"
#include "commands/conv.h"
#include "commands/date.h"
#include "commands/explain.h"
#include "commands/key.h"
#include "commands/list.h"
#include "commands/locale.h"
#include "commands/locale_items.h"
#include "commands/num.h"
#include "commands/sort.h"
#include "commands/symbols.h"
#include "commands/width.h"
#include "common/nearest.h"
#include "frame/files.h"
#include "tree/directories.h"

#include "qbgl.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <fmt/format.h>
#include <functional>

using namespace qbgl;

namespace {

constexpr const char *EXIT_STATUSES =
    "Exit status: 0 done, 1 the text could not be read or converted (or not whole), 2 the call is wrong, "
    "3 the system or the installation failed.";

// What the command line asks for.
class CommandLine {
  public:
    CommandLine() {
        app_.set_version_flag("-V,--version", "qbgl " QBGL_CLIENT_VERSION);
        app_.add_flag("--icu", icu_, "Let the extension library over ICU serve what its map says (`qbglc tree --icu` installs it)");
        app_.require_subcommand(1);
        app_.footer(EXIT_STATUSES);
        add_conv();
        add_case("upper", "Change text to upper case", upper_);
        add_case("lower", "Change text to lower case", lower_);
        add_class();
        add_width();
        add_sort();
        add_key();
        add_explain();
        add_symbols();
        add_num();
        add_cal();
        add_date();
        add_locale();
        add_lists();
        for (CLI::App *command : app_.get_subcommands({})) take_marks(command);
    }

    int run(std::vector<std::string> words) {
        const bool as_json = std::find(words.begin(), words.end(), "--json") != words.end();
        if (!words.empty() && words[0] == "help") { // `qbgl help conv` is `qbgl conv --help`
            words.erase(words.begin());
            words.emplace_back("--help");
        }
        const CLI::App *command = &app_;
        try {
            for (const std::string &word : words) {
                if (word.starts_with("-") || command->get_subcommands({}).empty()) break;
                command = known_command(*command, word);
            }
            mark_operands(words);
            std::reverse(words.begin(), words.end()); // as the parser takes them
            app_.parse(words);
        } catch (const CLI::ParseError &error) {
            if (error.get_exit_code() == 0) return app_.exit(error); // --help, --version
            return static_cast<int>(
                Messages(as_json).fail(ExitStatus::CALL, fmt::format("{}; see `{} --help`", error.what(), path_of(command))));
        } catch (const Failure &unknown) {
            return static_cast<int>(Messages(as_json).fail(unknown));
        }
        use_tree_beside_program();
        gl_cache_registry(nullptr, nullptr);
        const Messages messages(json_);
        try {
            if (icu_) use_extension();
            return static_cast<int>(command_(messages));
        } catch (const Failure &failure) {
            return static_cast<int>(messages.fail(failure));
        }
    }

  private:
    static std::string path_of(const CLI::App *command) {
        return (command->get_parent() != nullptr ? path_of(command->get_parent()) + " " : "") + command->get_name();
    }

    // Behind the first "--" all words are operands. The parser takes them as such only before any other operand, so a NUL
    // character, which no argument holds, goes in front of them in its place.
    static void mark_operands(std::vector<std::string> &words) {
        const auto mark = std::find(words.begin(), words.end(), "--");
        if (mark == words.end()) return;
        for (auto word = mark + 1; word != words.end(); ++word) word->insert(0, 1, '\0');
        words.erase(mark);
    }

    static void take_marks(CLI::App *command) {
        for (CLI::Option *option : command->get_options()) {
            if (option->get_items_expected_max() == 0) continue;
            const bool operand = option->get_positional();
            const auto take = [operand](std::string &word) -> std::string {
                if (!word.starts_with('\0')) return "";
                word.erase(0, 1);
                return operand ? "" : "the argument is missing before --";
            };
            option->transform(CLI::Validator(take, "", ""));
        }
        for (CLI::App *inner : command->get_subcommands({})) take_marks(inner);
    }

    static void use_extension() {
        gl_useglu(1);
        setenv("GL_USEGLU", "1", 1);
        if (gl_init_glu(nullptr) != 0)
            throw Failure{ExitStatus::SYSTEM,
                          "the extension library cannot be used: `qbglc tree --icu` installs it, and with VRNLOG=on "
                          "the library writes to vrn.log what it lacks"};
    }

    // Throws Failure with the command that was likely meant.
    static const CLI::App *known_command(const CLI::App &of, const std::string &word) {
        std::vector<std::string> names;
        for (const CLI::App *command : of.get_subcommands({})) {
            if (command->get_name() == word) return command;
            names.push_back(command->get_name());
        }
        const std::string nearest = by_nearness(word, names).front();
        throw Failure{ExitStatus::CALL,
                      fmt::format("{} has no command {}: the nearest is {}; `{} --help` lists all", path_of(&of), printable(word),
                                  nearest, path_of(&of)),
                      JsonObject().text("command", word).text("nearest", nearest)};
    }

    static void add_examples(CLI::App *command, const std::string &examples) { command->footer("Examples:\n" + examples); }

    void add_conv() {
        CLI::App *conv = app_.add_subcommand("conv", "Convert files or standard input from one codeset to another");
        auto *from = conv->add_option("-f,--from-code", conv_.from, "Codeset of the input: a name, a number or a locale")
                         ->capture_default_str();
        auto *to = conv->add_option("-t,--to-code", conv_.to, "Codeset of the output")->capture_default_str();
        add_output(conv, conv_.output);
        add_files(conv, conv_.files);
        conv->add_flag("-c", conv_.leave_out, "Leave out what cannot be converted (exit status 1 if there was any)");
        conv->add_flag("--strict", conv_.strict, "Refuse similar characters in place of those that the target lacks");
        conv->add_option("--substitute", conv_.substitutions,
                         "What to write for a character that the target lacks, as in \u20AC=EUR")
            ->allow_extra_args(false)
            ->type_name("CHARACTER=TEXT");
        conv->add_option("--missing", conv_.missing, "What to write for all others: html (&#x20AC;), escape (\\u20AC) or a text")
            ->check(CLI::Validator([](const std::string &form) { return form.empty() ? "-c leaves characters out" : ""; }, ""))
            ->type_name("FORM");
        conv->add_option_function<std::string>(
                "--bom",
                [this](const std::string &what) {
                    conv_.bom = what == "add" ? Bom::ADD : what == "keep" ? Bom::KEEP : Bom::REMOVE;
                },
                "The byte order mark: add, remove or keep it")
            ->check(CLI::IsMember({"add", "remove", "keep"}))
            ->option_text("add|remove|keep");
        conv->add_option_function<std::string>(
                "--newline", [this](const std::string &what) { conv_.newline = what == "lf" ? Newline::LF : Newline::CRLF; },
                "Make all line ends LF, or CR LF")
            ->check(CLI::IsMember({"lf", "crlf"}))
            ->option_text("lf|crlf");
        conv->add_flag("--report", conv_.report, "Report each substituted and left-out character, and their numbers");
        conv->add_flag("-l,--list", list_, "List the codesets instead");
        conv->add_flag("--json", json_, "Messages (and lists) as JSON, an object a line");
        add_examples(conv, "  qbgl conv -f sjis -t utf8 letter.txt\n"
                           "  qbgl conv -t cp1252 --substitute '\u20AC=EUR' --missing '?' -o out.txt in.txt\n"
                           "  qbgl conv -f utf8 -t utf8 -c damaged.txt");
        conv->callback([this, from, to] {
            if (!list_ && from->count() == 0 && to->count() == 0) throw CLI::RequiredError("-f or -t");
            if (list_ && !conv_.files.empty()) throw CLI::ValidationError("-l", "lists the codesets and reads no files");
            command_ = [this](const Messages &messages) { return list_ ? list_codesets("", messages) : run_conv(conv_, messages); };
        });
    }

    void add_case(const char *name, const char *text, CaseRequest &request) {
        CLI::App *command = app_.add_subcommand(name, text);
        add_locale_option(command, "-l,--locale", request.locale);
        add_output(command, request.output);
        add_files(command, request.files);
        command->add_flag("-c", request.leave_out, "Leave out bytes that are no character (exit status 1 if there were any)");
        command->add_flag("--json", json_, "Messages as JSON, an object a line");
        add_examples(command, fmt::format("  qbgl {} -l tr_TR.utf8 names.txt", name));
        command->callback([this, &request] { command_ = [&](const Messages &messages) { return run_case(request, messages); }; });
    }

    void add_class() {
        CLI::App *command = app_.add_subcommand("class", "Tell code, width, case and classes of each character of a text");
        add_locale_option(command, "-l,--locale", class_.locale);
        add_files(command, class_.files);
        command->add_flag("--json", json_, "Print JSON, an object a line");
        add_examples(command, "  printf 'A\\xE4' | qbgl class -l de_DE.8859-1");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_class(class_, messages); }; });
    }

    void add_width() {
        CLI::App *command = app_.add_subcommand("width", "Measure each line of texts in columns of a terminal");
        add_locale_option(command, "-l,--locale", width_.locale);
        add_files(command, width_.files);
        command->add_flag("--max", width_.widest, "Only the width of the widest line, of each file");
        command->add_option("--tabs", width_.tab_stops, "Columns from one tab stop to the next; 0: tabs have no width")
            ->check(CLI::Range(0U, 1000U))
            ->type_name("COLUMNS")
            ->capture_default_str();
        command->add_flag("--json", json_, "Results and messages as JSON, an object a line");
        add_examples(command, "  qbgl width -l ja_JP.utf8 --max letter.txt");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_width(width_, messages); }; });
    }

    void add_sort() {
        CLI::App *command = app_.add_subcommand("sort", "Sort the lines of texts in the order of a locale");
        add_locale_option(command, "-l,--locale", sort_.locale);
        add_output(command, sort_.output);
        add_files(command, sort_.files);
        command
            ->add_option("-k,--key", sort_.parts,
                         "Part to sort by, as in sort: FIELD[.CHARACTER][bfhnrV][,FIELD[.CHARACTER][bfhnrV]]")
            ->allow_extra_args(false)
            ->type_name("PART");
        command->add_option("-t,--field-separator", sort_.separator, "Character that separates fields, instead of blanks");
        command->add_flag("-b,--ignore-leading-blanks", sort_.skip_blanks, "Parts begin behind blanks");
        command->set_help_flag("--help", "Print this help message and exit");
        const auto add_order = [&](const char *names, const char *text, PartOrder order) {
            return command->add_flag_callback(
                names, [this, order] { sort_.order = order; }, text);
        };
        auto *numbers = add_order("-n,--numeric-sort", "As numbers, as the locale writes them", PartOrder::NUMBERS);
        auto *sizes = add_order("-h,--human-numeric-sort", "As numbers that K, M, G and so on may follow", PartOrder::SIZES);
        auto *versions = add_order("-V,--version-sort", "Digits within text count as numbers", PartOrder::VERSIONS);
        numbers->excludes(sizes)->excludes(versions);
        sizes->excludes(versions);
        command->add_flag("-f,--ignore-case", sort_.fold, "Text in any case is alike");
        command->add_flag("-r,--reverse", sort_.reverse, "The greatest first");
        command->add_flag("-s,--stable", sort_.stable, "Lines that sort alike stay in their order");
        command->add_flag("-u,--unique", sort_.unique, "Of lines that sort alike only the first");
        command->add_flag("-m,--merge", sort_.merge, "The files are sorted, merge them");
        command->add_flag("-c,--check", sort_.check, "Tell the first line that is out of order (exit status 1), and do not sort");
        command->add_flag("-C", sort_.check_quietly, "As -c, but without a message");
        command->add_flag("-z,--zero-terminated", sort_.zero_terminated, "Lines end with NUL characters");
        command->add_flag("--keep-bad", sort_.keep_bad,
                          "Put lines with bytes that are no character, with NULs or too long behind the others (exit status 1)");
        command
            ->add_option("--files0-from", sort_.files_from,
                         "Read the names of the input files from FILE, NUL characters between them")
            ->type_name("FILE");
        command->add_option("-S,--buffer-size", sort_.memory, "Memory for lines, as in 64M (K, M, G); 256M by default");
        command->add_option("-T,--temporary-directory", sort_.temporary_directory, "For what exceeds it, instead of TMPDIR");
        command->add_flag("--json", json_, "Messages as JSON, an object a line");
        add_examples(command, "  qbgl sort -l cs_CZ.utf8 -t : -k 2,2 -k 1,1r names\n"
                              "  qbgl sort -l native -u words");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_sort(sort_, messages); }; });
    }

    void add_key() {
        CLI::App *command = app_.add_subcommand("key", "Write the sort key of each line in hexadecimal");
        add_locale_option(command, "-l,--locale", key_.locale);
        add_files(command, key_.files);
        command->add_flag("-v,--text", key_.with_text, "The line itself, too, behind a tab");
        command->add_flag("--dense", key_.dense, "The shorter keys for indexes, which any bytes have");
        command->add_flag("--json", json_, "Messages as JSON, an object a line");
        add_examples(command, "  qbgl key -l cs_CZ.utf8 -v words | LC_ALL=C sort | cut -f 2-");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_key(key_, messages); }; });
    }

    void add_explain() {
        CLI::App *command = app_.add_subcommand("explain", "Tell why one text sorts before another");
        add_locale_option(command, "-l,--locale", explain_.locale);
        command->add_option("a", explain_.a, "A text, in UTF-8")->required()->type_name("A");
        command->add_option("b", explain_.b, "Another one")->required()->type_name("B");
        command->add_flag("--json", json_, "Print JSON");
        add_examples(command, "  qbgl explain -l cs_CZ.utf8 chata cihla");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_explain(explain_, messages); }; });
    }

    void add_symbols() {
        CLI::App *command =
            app_.add_subcommand("symbols", "Write text as the symbolic names of its characters, or read such names");
        auto *locale = add_locale_option(command, "-l,--locale", symbols_.locale);
        command->add_option("--codeset", symbols_.codeset, "Codeset of the text, instead of a locale's")->excludes(locale);
        add_output(command, symbols_.output);
        add_files(command, symbols_.files);
        auto *to_text =
            command->add_flag("-d,--decode", symbols_.to_text, "Symbols to text; white space between them counts nothing");
        command->add_flag("-a,--all", symbols_.all, "All names of each character, a character a line")->excludes(to_text);
        command->add_flag("--json", json_, "Messages as JSON, an object a line");
        add_examples(command, "  qbgl symbols -l ja_JP.sjis letter.txt\n"
                              "  echo '<U0041>' | qbgl symbols -d --codeset utf8");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_symbols(symbols_, messages); }; });
    }

    void add_num() {
        CLI::App *command = app_.add_subcommand("num", "Read numbers as a locale writes them");
        add_locale_option(command, "-l,--locale", num_.locale);
        command
            ->add_option("--from", num_.from, "Locale that the numbers are read under; they are then written under the other one")
            ->type_name("LOCALE");
        const auto is_base = [](const std::string &text) {
            const int base = std::atoi(text.c_str());
            return base >= 2 && base <= 36 ? "" : "a base is 2 to 36";
        };
        const auto is_input_base = [is_base](const std::string &text) { return text == "0" ? "" : is_base(text); };
        auto *base = command->add_option("-b,--base", num_.base, "Read integers of this base, 2 to 36; 0 looks for 0x and 0");
        auto *to_base = command->add_option("--to-base", num_.to_base, "Write integers in this base");
        base->type_name("BASE")->check(CLI::Validator(is_input_base, ""));
        to_base->type_name("BASE")->check(CLI::Validator(is_base, ""));
        command->add_flag("-g,--grouping", num_.grouping, "Write as the locale does, with its decimal point and separators");
        command->add_flag("-m,--monetary", num_.monetary, "Read amounts of money, and write them with -g as such")
            ->excludes(base)
            ->excludes(to_base);
        command->add_flag("--currency{local}", num_.currency, "The same as -mg; with =international by the symbol as in EUR")
            ->check(CLI::IsMember({"local", "international"}))
            ->option_text("[=local|=international]")
            ->excludes(base)
            ->excludes(to_base);
        command->add_option("numbers", num_.numbers, "Numbers, in UTF-8; none: the lines of standard input")->type_name("NUMBER");
        command->add_flag("--json", json_, "Print JSON, an object a line");
        add_examples(command, "  qbgl num -l de_DE.utf8 1.234.567,5\n"
                              "  qbgl num --from en_US.utf8 -l fr_FR.utf8 1,234.5\n"
                              "  qbgl num --from en_US.utf8 -l de_DE.utf8 --currency -- -1234.5\n"
                              "  qbgl num --to-base 16 255");
        command->callback([this] {
            if (!num_.currency.empty()) num_.monetary = num_.grouping = true;
            command_ = [this](const Messages &messages) { return run_num(num_, messages); };
        });
    }

    void add_cal() {
        CLI::App *command = app_.add_subcommand("cal", "Tell dates in the Gregorian, the Hebrew and the Islamic calendar");
        add_locale_option(command, "-l,--locale", cal_.locale);
        command->add_option("--from", cal_.from, "Calendar of the dates given: gregorian, hebrew or islamic")
            ->check(CLI::IsMember({"gregorian", "hebrew", "islamic"}))
            ->capture_default_str();
        command->add_flag("--local", cal_.local, "In the locale's own calendar only");
        command->add_option("dates", cal_.dates, "YEAR-MONTH-DAY, \"DAY MONTH YEAR\", a month, or FIRST..LAST; none is today")
            ->type_name("DATE");
        command->add_flag("--json", json_, "Print JSON, an object a day");
        add_examples(command, "  qbgl cal 2024-10-03\n"
                              "  qbgl cal -l he_IL.utf8 --from hebrew \"1 Tishri 5785\"\n"
                              "  qbgl cal 2024-10");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_cal(cal_, messages); }; });
    }

    void add_date() {
        CLI::App *command = app_.add_subcommand("date", "Write dates as a locale does, or read them");
        auto *locale = add_locale_option(command, "-l,--locale", date_.locale);
        auto *read = command->add_option("--read", date_.read, "Read dates in this format; they are then written as ISO has them")
                         ->type_name("FORMAT");
        auto *from =
            command->add_option("--from", date_.from, "Locale that they are read under; they are then written under the other one")
                ->type_name("LOCALE")
                ->needs(read);
        command->add_option("--all", date_.all, "Write the dates in all locales of a language, or of any")
            ->expected(0, 1)
            ->type_name("LANGUAGE")
            ->excludes(locale)
            ->excludes(read)
            ->excludes(from);
        command->add_option("--zone", date_.zone, "Zone of the dates: utc, native, or a distance such as +02:00")
            ->type_name("ZONE")
            ->capture_default_str();
        command
            ->add_option("dates", date_.dates,
                         "YEAR-MONTH-DAY, with THH:MM or not, @SECONDS, or - for lines; none is now; +FORMAT as in date")
            ->type_name("[+FORMAT] DATE");
        command->add_flag("--json", json_, "Print JSON, an object a date");
        add_examples(command, "  qbgl date -l cs_CZ.utf8 2026-03-21T18:30\n"
                              "  qbgl date -l ja_JP.utf8 '+%Ex' 1989-01-08\n"
                              "  qbgl date --all de 2026-11-22\n"
                              "  qbgl date -l de_DE.utf8 --read '%e. %B %Y' '3. M\u00E4rz 2026'");
        command->callback([this] {
            // What is no name of a language is the first date, or the format.
            if (date_.all && !date_.all->empty() && std::isalpha(static_cast<unsigned char>(date_.all->front())) == 0)
                date_.dates.insert(date_.dates.begin(), *std::exchange(date_.all, ""));
            command_ = [this](const Messages &messages) { return run_date(date_, messages); };
        });
    }

    void add_locale() {
        CLI::App *command = app_.add_subcommand("locale", "Show what a locale holds");
        add_locale_option(command, "-l,--locale,locale", locale_)->type_name("LOCALE");
        std::vector<std::string> parts = {"LC_CTYPE", "LC_COLLATE", "LC_NUMERIC", "LC_MONETARY", "LC_TIME", "LC_MESSAGES"};
        for (const std::string &keyword : item_keywords()) parts.push_back(keyword);
        command->add_option("-k,--category", category_, "This category only, or this item, such as d_fmt")
            ->check(CLI::IsMember(parts))
            ->type_name("CATEGORY|ITEM");
        command->add_flag("--json", json_, "Print JSON");
        add_examples(command, "  qbgl locale cs_CZ.8859-2\n"
                              "  qbgl locale -k LC_TIME ja_JP.utf8\n"
                              "  qbgl locale -k d_fmt de_DE.utf8");
        command->callback(
            [this] { command_ = [this](const Messages &messages) { return run_locale(locale_, category_, messages); }; });
    }

    void add_lists() {
        CLI::App *lists = app_.add_subcommand("list", "List what the installation offers");
        lists->require_subcommand(1);
        lists->add_flag("--json", json_, "Print JSON");
        add_examples(lists, "  qbgl list locales cs_\n"
                            "  qbgl list codesets latin");
        const auto add = [&](const char *name, const char *text, ExitStatus (*function)(const std::string &, const Messages &)) {
            CLI::App *what = lists->add_subcommand(name, text);
            what->add_flag("--json", json_, "Print JSON");
            what->add_option("filter", filter_, "Only lines that contain this, in any case")->type_name("TEXT");
            what->callback([this, function] {
                command_ = [this, function](const Messages &messages) { return function(filter_, messages); };
            });
        };
        add("codesets", "All codesets, with number and names", list_codesets);
        add("conversions", "The direct conversions that are installed", list_conversions);
        add("locales", "The locales that are installed, with codeset and file", list_locales);
    }

    static CLI::Option *add_locale_option(CLI::App *command, const char *names, std::string &locale) {
        return command->add_option(names, locale,
                                   "Locale such as ja_JP.sjis, or native for that of LANG; without it, that of GL_ALL, GL_LANG");
    }

    static void add_output(CLI::App *command, std::string &output) {
        command->add_option("-o,--output", output, "Output file; - is standard output")->capture_default_str();
    }

    static void add_files(CLI::App *command, std::vector<std::string> &files) {
        command->add_option("files", files, "Input files; none or - is standard input")->type_name("FILE");
    }

    CLI::App app_{"Converts text between codesets, shows and uses locales, and tells what the installation offers.", "qbgl"};
    bool json_ = false, list_ = false, icu_ = false;
    ConvRequest conv_;
    CaseRequest upper_{LetterCase::UPPER, {}}, lower_{LetterCase::LOWER, {}};
    ClassRequest class_;
    WidthRequest width_;
    SortRequest sort_;
    KeyRequest key_;
    ExplainRequest explain_;
    NumRequest num_;
    SymbolsRequest symbols_;
    CalRequest cal_;
    DateRequest date_;
    std::string locale_, category_, filter_;
    std::function<ExitStatus(const Messages &)> command_;
};

} // namespace

int main(int argc, char **argv) {
    try {
        return CommandLine().run({argv + 1, argv + argc});
    } catch (const std::exception &error) {
        return static_cast<int>(Messages(false).fail(ExitStatus::SYSTEM, error.what()));
    }
}
