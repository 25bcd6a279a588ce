// qbgl: the command-line client. It is a host like any other: everything goes through the public header.
#include "commands/cal.h"
#include "commands/case.h"
#include "commands/class.h"
#include "commands/conv.h"
#include "commands/explain.h"
#include "commands/key.h"
#include "commands/list.h"
#include "commands/locale.h"
#include "commands/num.h"
#include "commands/sort.h"
#include "commands/symbols.h"
#include "commands/width.h"
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
        app_.set_version_flag("--version", "qbgl " QBGL_VERSION);
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
        add_locale();
        add_lists();
    }

    int run(int argc, char **argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::ParseError &error) {
            if (error.get_exit_code() == 0) return app_.exit(error); // --help, --version
            const bool as_json =
                std::any_of(argv, argv + argc, [](const char *word) { return std::string_view(word) == "--json"; });
            return static_cast<int>(Messages(as_json).fail(ExitStatus::CALL, fmt::format("{}; see `qbgl --help`", error.what())));
        }
        use_tree_beside_program();
        gl_cache_registry(nullptr, nullptr);
        const Messages messages(json_);
        try {
            return static_cast<int>(command_(messages));
        } catch (const Failure &failure) {
            return static_cast<int>(messages.fail(failure));
        }
    }

  private:
    void add_conv() {
        CLI::App *conv = app_.add_subcommand("conv", "Convert files or standard input from one codeset to another");
        auto *from = conv->add_option("-f,--from-code", conv_.from, "Codeset of the input: a name, a number or a locale")
                         ->capture_default_str();
        auto *to = conv->add_option("-t,--to-code", conv_.to, "Codeset of the output")->capture_default_str();
        add_output(conv, conv_.output);
        add_files(conv, conv_.files);
        conv->add_flag("-c", conv_.leave_out, "Leave out what cannot be converted (exit status 1 if there was any)");
        conv->add_flag("--report", conv_.report, "Report each substituted and left-out character, and their numbers");
        conv->add_flag("-l,--list", list_, "List the codesets instead");
        conv->add_flag("--json", json_, "Messages (and lists) as JSON, an object a line");
        conv->callback([this, from, to] {
            if (!list_ && from->count() == 0 && to->count() == 0) throw CLI::RequiredError("-f or -t");
            command_ = [this](const Messages &messages) { return list_ ? list_codesets(messages) : run_conv(conv_, messages); };
        });
    }

    void add_case(const char *name, const char *text, CaseRequest &request) {
        CLI::App *command = app_.add_subcommand(name, text);
        add_locale_option(command, "-l,--locale", request.locale);
        add_output(command, request.output);
        add_files(command, request.files);
        command->add_flag("--json", json_, "Messages as JSON, an object a line");
        command->callback([this, &request] { command_ = [&](const Messages &messages) { return run_case(request, messages); }; });
    }

    void add_class() {
        CLI::App *command = app_.add_subcommand("class", "Tell code, width, case and classes of each character of a text");
        add_locale_option(command, "-l,--locale", class_.locale);
        add_files(command, class_.files);
        command->add_flag("--json", json_, "Print JSON, an object a line");
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
        command->callback([this] { command_ = [this](const Messages &messages) { return run_width(width_, messages); }; });
    }

    void add_sort() {
        CLI::App *command = app_.add_subcommand("sort", "Sort the lines of texts in the order of a locale");
        add_locale_option(command, "-l,--locale", sort_.locale);
        add_output(command, sort_.output);
        add_files(command, sort_.files);
        command->add_option("-k,--key", sort_.parts, "Part to sort by, as in sort: FIELD[.CHARACTER][br][,FIELD[.CHARACTER][br]]")
            ->allow_extra_args(false)
            ->type_name("PART");
        command->add_option("-t,--field-separator", sort_.separator, "Character that separates fields, instead of blanks");
        command->add_flag("-b,--ignore-leading-blanks", sort_.skip_blanks, "Parts begin behind blanks");
        command->add_flag("-r,--reverse", sort_.reverse, "The greatest first");
        command->add_flag("-s,--stable", sort_.stable, "Lines that sort alike stay in their order");
        command->add_flag("-u,--unique", sort_.unique, "Of lines that sort alike only the first");
        command->add_flag("-m,--merge", sort_.merge, "The files are sorted, merge them");
        command->add_flag("-c,--check", sort_.check, "Tell the first line that is out of order (exit status 1), and do not sort");
        command->add_flag("-C", sort_.check_quietly, "As -c, but without a message");
        command->add_flag("-z,--zero-terminated", sort_.zero_terminated, "Lines end with NUL characters");
        command->add_option("-S,--buffer-size", sort_.memory, "Memory for lines, as in 64M (K, M, G); 256M by default");
        command->add_option("-T,--temporary-directory", sort_.temporary_directory, "For what exceeds it, instead of TMPDIR");
        command->add_flag("--json", json_, "Messages as JSON, an object a line");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_sort(sort_, messages); }; });
    }

    void add_key() {
        CLI::App *command = app_.add_subcommand("key", "Write the sort key of each line in hexadecimal");
        add_locale_option(command, "-l,--locale", key_.locale);
        add_files(command, key_.files);
        command->add_flag("-v,--text", key_.with_text, "The line itself, too, behind a tab");
        command->add_flag("--json", json_, "Messages as JSON, an object a line");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_key(key_, messages); }; });
    }

    void add_explain() {
        CLI::App *command = app_.add_subcommand("explain", "Tell why one text sorts before another");
        add_locale_option(command, "-l,--locale", explain_.locale);
        command->add_option("a", explain_.a, "A text, in UTF-8")->required()->type_name("A");
        command->add_option("b", explain_.b, "Another one")->required()->type_name("B");
        command->add_flag("--json", json_, "Print JSON");
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
        command->add_flag("-m,--monetary", num_.monetary, "Use the conventions of amounts of money")
            ->excludes(base)
            ->excludes(to_base);
        command->add_option("numbers", num_.numbers, "Numbers, in UTF-8; none: the lines of standard input")->type_name("NUMBER");
        command->add_flag("--json", json_, "Print JSON, an object a line");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_num(num_, messages); }; });
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
        command->callback([this] { command_ = [this](const Messages &messages) { return run_cal(cal_, messages); }; });
    }

    void add_locale() {
        CLI::App *command = app_.add_subcommand("locale", "Show what a locale holds");
        add_locale_option(command, "-l,--locale,locale", locale_)->type_name("LOCALE");
        command->add_flag("--json", json_, "Print JSON");
        command->callback([this] { command_ = [this](const Messages &messages) { return run_locale(locale_, messages); }; });
    }

    void add_lists() {
        CLI::App *lists = app_.add_subcommand("list", "List what the installation offers");
        lists->require_subcommand(1);
        const auto add = [&](const char *name, const char *text, ExitStatus (*function)(const Messages &)) {
            CLI::App *what = lists->add_subcommand(name, text);
            what->add_flag("--json", json_, "Print JSON");
            what->callback([this, function] { command_ = function; });
        };
        add("codesets", "All codesets, with number and names", list_codesets);
        add("conversions", "The direct conversions that are installed", list_conversions);
        add("locales", "The locales that are installed, with codeset and file", list_locales);
    }

    static CLI::Option *add_locale_option(CLI::App *command, const char *names, std::string &locale) {
        return command->add_option(names, locale,
                                   "Locale such as ja_JP.sjis; without it, that of the environment (GL_ALL, GL_LANG)");
    }

    static void add_output(CLI::App *command, std::string &output) {
        command->add_option("-o,--output", output, "Output file; - is standard output")->capture_default_str();
    }

    static void add_files(CLI::App *command, std::vector<std::string> &files) {
        command->add_option("files", files, "Input files; none or - is standard input")->type_name("FILE");
    }

    CLI::App app_{"Converts text between codesets, shows and uses locales, and tells what the installation offers.", "qbgl"};
    bool json_ = false, list_ = false;
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
    std::string locale_;
    std::function<ExitStatus(const Messages &)> command_;
};

} // namespace

int main(int argc, char **argv) {
    try {
        return CommandLine().run(argc, argv);
    } catch (const std::exception &error) {
        return static_cast<int>(Messages(false).fail(ExitStatus::SYSTEM, error.what()));
    }
}
