// SPDX-License-Identifier: Apache-2.0
#include "command/CommandLine.h"

#include <signal.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "command/Command.h"
#include "command/PlatformLog.h"
#include "support/Progress.h"
#include "support/Terminal.h"

namespace orvel {
namespace {

constexpr char kDescription[] =
        "Takes FLV files apart through the extractor plug-in, as a device does.\n"
        "  orvel-flv probe clip.flv\n"
        "  orvel-flv extract --recover broken.flv -o parts\n"
        "  orvel-flv check -r recordings\n"
        "  orvel-flv map clip.flv -o map.svg";
constexpr char kFooter[] =
        "Exit codes: 0 done; 1 an input is damaged, is not FLV or holds nothing of what was asked for; "
        "2 usage;\n3 input or output error; 4 the output is whole, but not all of the input is in it. Of "
        "several inputs, the "
        "worst\ncounts (3, then 1, 4 and 0).\n"
        "Data goes to standard output, messages to standard error.";

// What the options in front of or behind any subcommand say.
struct ProgramOptions {
    int verbosity = 0;
    std::string pluginPath;
    bool isQuiet = false;
    bool isRecursive = false;
    std::string progress;
};

void AddOptions(CLI::App& program, ProgramOptions* options) {
    program.add_flag("-r,--recursive", options->isRecursive,
                     "Take all FLV files in and below folders (not for remux and map)");
    program.add_flag("-q,--quiet", options->isQuiet, "No line of progress on a terminal");
    program.add_option("--progress", options->progress,
                       "Progress as JSON lines on standard error, for programs (default: on a terminal only)")
            ->check(CLI::IsMember({"json"}))
            ->type_name("json");
    program.add_flag("-v,--verbose", options->verbosity,
                     "Show the platform log from info priority on; twice: all of it");
    program.set_version_flag("--version", "orvel-flv " ORVEL_VERSION, "Print the version and exit");
    program.add_option("--plugin", options->pluginPath,
                       "The plug-in to load, rather than the one beside the program")
            ->type_name("PATH");
}

using Commands = std::vector<std::pair<CLI::App*, std::unique_ptr<Command>>>;

void Add(Commands* commands, CLI::App& program, std::unique_ptr<Command> command) {
    CLI::App* app = command->addTo(program);
    app->footer(kFooter);
    commands->emplace_back(app, std::move(command));
}

// Help goes where data goes. Of an error the first line says it all; the library's second one would tell
// people to read the help, and how.
ExitCode ReportUsage(const CLI::App& program, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        std::ostringstream help;
        program.exit(error, help, help);
        WriteOut(help.str());
        FlushOut();
        return ExitCode::kDone;
    }
    std::string text = error.what();
    Complain(text.substr(0, text.find('\n')));
    return ExitCode::kUsage;
}

bool IsSubcommand(const CLI::App& program, const std::string& word) {
    return !program.get_subcommands([&](const CLI::App* app) { return app->get_name() == word; }).empty();
}

// The words behind the program's name, in the reverse order that the library takes. It forgets a "--" as soon
// as a subcommand has the names that it cannot do without; so the names behind one are made such that nothing
// but a name can be meant.
std::vector<std::string> Words(int argc, const char* const* argv, const CLI::App& program) {
    std::vector<std::string> words;
    bool onlyNames = false;
    for (int i = 1; i < argc; ++i) {
        std::string word = argv[i];
        if (!onlyNames && word == "--") {
            onlyNames = true;
            continue;
        }
        bool isOther = word.size() > 1 && (word[0] == '-' || IsSubcommand(program, word));
        words.push_back(onlyNames && isOther ? "./" + word : word);
    }
    std::reverse(words.begin(), words.end());
    return words;
}

ExitCode Run(const Commands& commands, const ProgramOptions& options) {
    SetUpPlatformLog(options.verbosity);
    SetProgressMode(!options.progress.empty() ? ProgressMode::kJson
                    : options.isQuiet         ? ProgressMode::kNone
                                              : ProgressMode::kTerminal);
    Session session(options.pluginPath, options.isRecursive);
    ExitCode worst = ExitCode::kDone;
    for (const auto& [app, command] : commands) {
        if (app->parsed()) worst = Worse(worst, command->run(session));
    }
    FlushOut();
    return worst;
}

}  // namespace

int RunCommandLine(int argc, const char* const* argv) {
    // A socket or a pipe that goes away is an error where it is written to, not the end of the process.
    signal(SIGPIPE, SIG_IGN);
    CLI::App program(kDescription, "orvel-flv");
    ProgramOptions options;
    AddOptions(program, &options);
    program.footer(kFooter);
    program.fallthrough();
    Commands commands;
    Add(&commands, program, MakeProbeCommand());
    Add(&commands, program, MakeExtractCommand());
    Add(&commands, program, MakeRemuxCommand());
    Add(&commands, program, MakeThumbnailCommand());
    Add(&commands, program, MakeCheckCommand());
    Add(&commands, program, MakeMapCommand());
    try {
        try {
            program.parse(Words(argc, argv, program));
        } catch (const CLI::ParseError& error) {
            return static_cast<int>(ReportUsage(program, error));
        }
        if (program.get_subcommands().size() != 1) {
            throw Failure(ExitCode::kUsage, "a subcommand is expected (see orvel-flv --help)");
        }
        return static_cast<int>(Run(commands, options));
    } catch (const Failure& failure) {
        Complain(failure.what());
        return static_cast<int>(failure.code());
    } catch (const std::exception& error) {
        Complain(error.what());
        return static_cast<int>(ExitCode::kInputOutput);
    }
}

}  // namespace orvel
