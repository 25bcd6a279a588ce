// qbgl: the command-line client. It is a host like any other: everything goes through the public header.
#include "conv_command.h"
#include "list_command.h"
#include "tree.h"

#include "qbgl.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <fmt/format.h>
#include <functional>

using namespace qbgl;

namespace {

constexpr const char *EXIT_STATUSES = "Exit status: 0 done, 1 the text could not be converted (or not whole), 2 the call is wrong, "
                                      "3 the system or the installation failed.";

int run(int argc, char **argv) {
    CLI::App app{"Converts text between codesets and tells what the installation offers.", "qbgl"};
    app.set_version_flag("--version", "qbgl " QBGL_VERSION);
    app.require_subcommand(1);
    app.footer(EXIT_STATUSES);
    bool json = false;
    std::function<ExitStatus(const Messages &)> command;

    ConvRequest request;
    bool list = false;
    CLI::App *conv = app.add_subcommand("conv", "Convert files or standard input from one codeset to another");
    auto *from = conv->add_option("-f,--from-code", request.from, "Codeset of the input: a name, a number or a locale")
                     ->capture_default_str();
    auto *to = conv->add_option("-t,--to-code", request.to, "Codeset of the output")->capture_default_str();
    conv->add_option("-o,--output", request.output, "Output file; - is standard output")->capture_default_str();
    conv->add_option("files", request.files, "Input files; none or - is standard input")->type_name("FILE");
    conv->add_flag("-c", request.leave_out, "Leave out what cannot be converted (exit status 1 if there was any)");
    conv->add_flag("--report", request.report, "Report each substituted and left-out character, and their numbers");
    conv->add_flag("-l,--list", list, "List the codesets instead");
    conv->add_flag("--json", json, "Messages (and lists) as JSON, an object a line");
    conv->callback([&] {
        if (!list && from->count() == 0 && to->count() == 0) throw CLI::RequiredError("-f or -t");
        command = [&](const Messages &messages) { return list ? list_codesets(messages) : run_conv(request, messages); };
    });

    CLI::App *lists = app.add_subcommand("list", "List what the installation offers");
    lists->require_subcommand(1);
    const auto add_list = [&](const char *name, const char *text, ExitStatus (*function)(const Messages &)) {
        CLI::App *what = lists->add_subcommand(name, text);
        what->add_flag("--json", json, "Print JSON");
        what->callback([&command, function] { command = function; });
    };
    add_list("codesets", "All codesets, with number and names", list_codesets);
    add_list("conversions", "The direct conversions that are installed", list_conversions);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) return app.exit(error); // --help, --version
        const bool as_json = std::any_of(argv, argv + argc, [](const char *word) { return std::string_view(word) == "--json"; });
        return static_cast<int>(Messages(as_json).fail(ExitStatus::CALL, fmt::format("{}; see `qbgl --help`", error.what())));
    }
    use_tree_beside_program();
    gl_cache_registry(nullptr, nullptr);
    return static_cast<int>(command(Messages(json)));
}

} // namespace

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        return static_cast<int>(Messages(false).fail(ExitStatus::SYSTEM, error.what()));
    }
}
