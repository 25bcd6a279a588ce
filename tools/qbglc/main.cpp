// qbglc: compiles the platform's charmaps and locale definitions into the objects that the library reads.
#include "common/nearest.h"
#include "installation/extension.h"
#include "installation/tree.h"
#include "locale/compiler.h"
#include "object/charmap.h"
#include "object/conversion.h"
#include "order/report.h"
#include "system/error.h"

#include <CLI/CLI.hpp>
#include <qbgl.h>

#include <fmt/format.h>

#include <cstdio>
#include <new>
#include <thread>
#include <unistd.h>

using namespace qbgl::compiler;
namespace fs = std::filesystem;

namespace {

enum ExitStatus { EXIT_OK = 0, EXIT_DATA = 1, EXIT_CALL = 2, EXIT_SYSTEM = 3, EXIT_CHANGE = 4 };

// The recipes that belong to this program: installed beside it, or those of the source tree in whose build directory it stands.
fs::path default_data_directory() {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char *candidate : {"../share/qbgl/data", "../data", "../../data", "../../../data"})
        if (fs::is_regular_file(here / candidate / "codesets")) return (here / candidate).lexically_normal();
    throw SystemError("no recipes found beside the program: name their directory with --data");
}

// The extension library that belongs to this program: installed with it, or of the build directory in which it stands.
fs::path extension_library() {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    for (const fs::path &candidate : {here / "extension/icu", here / ".." / QBGL_EXTENSION_DIRECTORY})
        if (fs::is_regular_file(candidate / EXTENSION_FILE)) return (candidate / EXTENSION_FILE).lexically_normal();
    throw SystemError(fmt::format("no {} belongs to this program: it is built where ICU's packages are installed", EXTENSION_FILE));
}

struct Options {
    std::string data;
    std::string source, target, output, directory, calendar = "gregorian", strings;
    size_t shown = 10;
    unsigned threads = std::max(1u, std::thread::hardware_concurrency());
    bool accept_changes = false, verify = false, icu = false;

    fs::path data_directory() const { return data.empty() ? default_data_directory() : fs::path(data); }
};

// A text may have several lines; each says whose it is.
void complain(std::string_view text, std::string_view kind = "") {
    for (size_t end; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
        end = std::min(text.find('\n'), text.size());
        fmt::print(stderr, "qbglc: {}{}\n", kind, printable(text.substr(0, end)));
    }
}
void warn(const std::string &text) { complain(text, "warning: "); }

void write_output(const std::string &file, const std::string &content) {
    if (file != "-") return write_named_file(file, content);
    if (std::fwrite(content.data(), 1, content.size(), stdout) != content.size() || std::fflush(stdout) != 0)
        throw SystemError("standard output: cannot be written");
}

DataError unknown_codeset(const Library &library, const std::string &argument) {
    constexpr size_t SUGGESTED = 3;
    std::vector<std::string> names;
    for (const Catalogue::Name &name : library.catalogue().names()) names.push_back(name.name);
    names = qbgl::by_nearness(argument, names);
    names.resize(std::min(names.size(), SUGGESTED));
    return DataError(
        fmt::format("{}: neither a codeset of the recipes nor a charmap file; the nearest are {}; `qbglc list` lists all", argument,
                    fmt::join(names, ", ")));
}

// A side of `qbglc conv`: a codeset of the recipes, or a charmap file.
struct Side {
    CodesetPtr codeset;
    std::string description, name;
};
Side side_of(Library &library, const std::string &argument) {
    if (const auto index = library.catalogue().find(argument)) {
        const auto &codeset = library.catalogue().codesets()[*index];
        return {library.codeset(*index), fmt::format("{} {} {}", codeset.name, codeset.number, codeset.source.text()), argument};
    }
    if (!fs::is_regular_file(argument)) throw unknown_codeset(library, argument);
    std::string warning;
    CodesetPtr codeset = load_own_codeset(argument, warning);
    if (!warning.empty()) warn(warning);
    return {codeset, codeset->name() + " charmap", fs::path(argument).stem().string()};
}

void conv(const Options &options) {
    Library library(options.data_directory());
    const Side source = side_of(library, options.source), target = side_of(library, options.target);
    for (const std::string &warning : library.take_warnings()) warn(warning);
    std::vector<std::string> lines{"SOURCE=" + source.description, "TARGET=" + target.description};
    add_rules(lines, source.codeset->rule(), target.codeset->rule());
    const std::string header = conversion_header(lines);
    const std::string object = conversion_object(join(*source.codeset, *target.codeset, library.substitutions()), header);
    write_output(options.output.empty() ? fmt::format("{}_{}.cvo", source.name, target.name) : options.output, object);
}

void locale(const Options &options) {
    Library library(options.data_directory());
    LocaleCompiler compiler(library);
    std::string codeset = options.target, warning;
    const auto index = library.catalogue().find(codeset);
    if (!index && !fs::is_regular_file(codeset)) throw unknown_codeset(library, codeset);
    const LocaleCompiler::Target target = index ? compiler.target(*index) : compiler.own_target(codeset, warning);
    if (!index) codeset = target.codeset->name();
    if (!warning.empty()) warn(warning);
    if (!library.catalogue().find(codeset)) warn(codeset + ": not in the registry, where the library will look for it");
    for (const std::string &text : library.take_warnings()) warn(text);
    const std::string header = compiler.header(options.source, target.mark, options.calendar);
    const std::string name = fmt::format("{}.{}.lco", fs::path(options.source).filename().string(), codeset);
    const std::string object = compiler.object(options.source, target, codeset, options.calendar, header);
    for (const std::string &text : compiler.take_warnings()) warn(text);
    write_output(options.output.empty() ? name : options.output, object);
}

void charmap(const Options &options) {
    Library library(options.data_directory());
    std::string name, object;
    if (const auto index = library.catalogue().find(options.source)) {
        name = fmt::format("{:04x}", library.catalogue().codesets()[*index].number);
        object = charmap_object(symbolic_names(library, *index), charmap_header(library, *index));
    } else {
        if (!fs::is_regular_file(options.source)) throw unknown_codeset(library, options.source);
        const Charmap own = load_charmap(options.source);
        name = fs::path(options.source).stem().string();
        object = charmap_object(symbolic_names(own), charmap_header(own.codeset.empty() ? name : own.codeset, {}));
    }
    write_output(options.output.empty() ? name + ".cmo" : options.output, object);
}

ExitStatus tree(const Options &options) {
    Library library(options.data_directory());
    const bool terminal = isatty(STDERR_FILENO) == 1;
    TreeOptions tree{options.threads, options.accept_changes};
    if (options.icu) tree.icu = extension_library();
    tree.progress = [&](size_t done, size_t all) {
        if (terminal) fmt::print(stderr, "\rqbglc: {} of {} objects{}", done, all, done == all ? "\n" : "");
    };
    tree.waits = [&] { complain(options.directory + ": another run is at work on it; waiting for its end"); };
    if (options.verify) {
        const std::vector<std::string> findings = verify_tree(library, options.directory, tree);
        for (const std::string &finding : findings) complain(finding);
        return findings.empty() ? EXIT_OK : EXIT_DATA;
    }
    const TreeReport report = build_tree(library, options.directory, tree);
    for (const std::string &warning : library.take_warnings()) warn(warning);
    for (const std::string &text : report.damaged) warn(text);
    for (const std::string &text : report.changes) warn(text);
    for (const std::string &text : report.warnings) warn(text);
    fmt::print("{}: {} locales, {} conversions with {} names, {} charmaps: {} objects written, {} old files removed\n",
               options.directory, report.locales, report.conversions, report.links, report.charmaps, report.written,
               report.removed);
    if (options.icu) fmt::print("{}: {} locales served by ICU\n", options.directory, report.served);
    if (report.changes.empty() || options.accept_changes) return EXIT_OK;
    complain("what keeps sort keys must know of these changes; `qbglc diff` shows them, --accept-changes makes them");
    return EXIT_CHANGE;
}

// For a script, "they differ" must not look like "they could not be compared": what is wrong with the objects counts as a wrong
// call.
ExitStatus diff(const Options &options) {
    const auto codeset_of = [&](const std::string &name) -> CodesetPtr {
        try {
            Library library(options.data_directory());
            const auto index = library.catalogue().find(name);
            return index ? library.codeset(*index) : nullptr;
        } catch (const std::runtime_error &) {
            return nullptr; // no recipes: the bytes are shown, and that is enough
        }
    };
    try {
        const OrderReport report = report_order({options.source, options.target, options.strings, options.shown}, codeset_of);
        for (const std::string &text : report.warnings) warn(text);
        write_output("-", report.text);
        return report.same ? EXIT_OK : EXIT_DATA;
    } catch (const DataError &error) {
        complain(error.what());
        return EXIT_CALL;
    }
}

void list(const Options &options) {
    const Catalogue catalogue = Catalogue::load(options.data_directory());
    for (const Catalogue::Name &name : catalogue.names()) {
        const Catalogue::Codeset &codeset = catalogue.codesets()[name.codeset];
        fmt::print("{:<21} {:>5}  {:<16} {} {}\n", name.name, name.number, codeset.iconv.empty() ? "-" : codeset.iconv,
                   codeset.source.text(), codeset.reason);
    }
}

// What a call that cannot be taken should have been.
std::string wrong_call(const CLI::App &app, const CLI::ParseError &error, const char *first_word) {
    const std::vector<CLI::App *> commands = app.get_subcommands();
    if (!commands.empty()) return fmt::format("{}; see `qbglc {} --help`", error.what(), commands[0]->get_name());
    if (first_word == nullptr || first_word[0] == '-') return fmt::format("{}; see `qbglc --help`", error.what());
    std::vector<std::string> names;
    for (const CLI::App *command : app.get_subcommands({})) names.push_back(command->get_name());
    return fmt::format("no command {}: the nearest is {}; `qbglc --help` lists all", first_word,
                       qbgl::by_nearness(first_word, names).front());
}

int run(int argc, char **argv) {
    CLI::App app("Compiles charmaps and locale definitions into objects and whole installation trees.", "qbglc");
    app.set_version_flag("--version", fmt::format("qbglc {}.{}.{}", QBGL_VERSION_MAJOR, QBGL_VERSION_MINOR, QBGL_VERSION_PATCH));
    app.require_subcommand(1);
    app.footer("Exit status: 0 done, 1 wrong data, 2 wrong call, 3 the system refused something, 4 locales have changed (tree).");
    Options options;
    ExitStatus status = EXIT_OK;

    const auto command = [&](const char *name, const char *what, void (*action)(const Options &)) {
        CLI::App *sub = app.add_subcommand(name, what);
        sub->add_option("--data", options.data, "directory of the recipes (default: the one that belongs to this program)");
        sub->callback([action, &options] { action(options); });
        return sub;
    };
    CLI::App *sub = command("conv", "write the object of one conversion", conv);
    sub->add_option("SOURCE", options.source, "codeset name or number, or a charmap file")->required();
    sub->add_option("TARGET", options.target, "codeset name or number, or a charmap file")->required();
    sub->add_option("-o,--output", options.output, "file to write, - for standard output (default: SOURCE_TARGET.cvo)");
    sub = command("locale", "write a locale object", locale);
    sub->add_option("DEFINITION", options.source, "a locale definition file, or the name of one of the platform's")->required();
    sub->add_option("CODESET", options.target, "codeset name or number, or a charmap file")->required();
    sub->add_option("-o,--output", options.output, "file to write, - for standard output (default: DEFINITION.CODESET.lco)");
    sub->add_option("--calendar", options.calendar, "calendar of dates (default: gregorian)")
        ->check(CLI::IsMember({"gregorian", "hebrew", "islamic", "arabic"}));
    sub = command("charmap", "write the object of a codeset's symbolic names", charmap);
    sub->add_option("CODESET", options.source, "codeset name or number, or a charmap file")->required();
    sub->add_option("-o,--output", options.output,
                    "file to write, - for standard output (default: the codeset's number, or the file's name, and .cmo)");
    sub = command("registry", "write the registry of codeset names and numbers", [](const Options &o) {
        write_output(o.output.empty() ? "-" : o.output, Catalogue::load(o.data_directory()).registry());
    });
    sub->add_option("-o,--output", options.output, "file to write (default: standard output)");
    sub = command("tree", "bring an installation tree up to date", nullptr);
    sub->add_option("DIRECTORY", options.directory, "what QUORBANEDIR will point to")->required();
    sub->add_option("-j,--jobs", options.threads, "number of threads (default: one for each processor)")->check(CLI::Range(1, 256));
    sub->add_flag("--accept-changes", options.accept_changes,
                  "replace locales whose order of texts changed, and remove those that their codeset no longer carries");
    sub->add_flag("--icu", options.icu,
                  "put in the extension library over ICU, what it reads, and objects for the locales it serves");
    sub->add_flag("--verify", options.verify, "change nothing; name what is damaged, missing or out of date (exit status 1)");
    sub->callback([&] { status = tree(options); });
    sub = command("diff", "tell whether two locale objects order texts differently (exit status 1: they do)", nullptr);
    sub->add_option("OLD", options.source, "a locale object")->required();
    sub->add_option("NEW", options.target, "another one of the same codeset")->required();
    sub->add_option("-s,--strings", options.strings,
                    "compare the order of this file's lines, in the locales' codeset, instead of that of characters");
    sub->add_option("-n,--number", options.shown, "how many differences to show (default: 10)")->check(CLI::Range(0, 1000000000));
    sub->callback([&] { status = diff(options); });
    command("list", "list codeset names, numbers, the platform's names and sources", list);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) return app.exit(error); // --help, --version
        complain(wrong_call(app, error, argc > 1 ? argv[1] : nullptr));
        return EXIT_CALL;
    }
    return status;
}

} // namespace

int main(int argc, char **argv) {
    const auto end = [](const char *what, ExitStatus status) {
        complain(what);
        return static_cast<int>(status);
    };
    try {
        return run(argc, argv);
    } catch (const DataError &error) {
        return end(error.what(), EXIT_DATA);
    } catch (const std::bad_alloc &) {
        return end("out of memory", EXIT_SYSTEM);
    } catch (const std::exception &error) {
        return end(error.what(), EXIT_SYSTEM);
    }
}
