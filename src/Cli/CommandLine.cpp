#include "Cli/CommandLine.h"

#include "Cli/Verb.h"
#include "Cli/VerbRun.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <vector>

namespace ombrel {

namespace {

/// One line, whatever a file name within it holds.
ExitStatus fail(ExitStatus status, std::string message) {
    for (char& c : message) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
    }
    std::fprintf(stderr, "ombrel: %s\n", message.c_str());
    return status;
}

int status(ExitStatus exit) {
    return static_cast<int>(exit);
}

/// A verb with the part of the command line that is its own.
struct DeclaredVerb {
    std::unique_ptr<Verb> verb;
    CLI::App* options;
};

std::vector<DeclaredVerb> declareVerbs(CLI::App& app, VerbRunOptions& runOptions) {
    std::vector<DeclaredVerb> declared;
    for (const VerbEntry& entry : verbs()) {
        CLI::App* const options = app.add_subcommand(entry.name, entry.summary);
        declared.push_back({entry.make(), options});
        declared.back().verb->declare(*options);
        runOptions.declare(*options);
    }
    return declared;
}

ExitStatus runVerb(Verb& verb, const VerbRunOptions& options) {
    std::expected<void, VerbError> result;
    {
        VerbRun run(options); // its progress line is gone before the message comes
        result = verb.run(run);
    }
    if (!result) return fail(result.error().status, result.error().message);
    return ExitStatus::done;
}

int runParsed(int argc, char** argv, const EditorFront& editor) {
    CLI::App app("Ombrel, a raster image editor.\n\nWithout a verb it opens the editor on the "
                 "files given. The verbs work without a window.",
                 "ombrel");
    app.set_version_flag("--version", "ombrel " OMBREL_VERSION);
    app.require_subcommand(0, 1);
    std::vector<std::string> files;
    app.add_option("FILE", files, "Files to open in the editor")->type_name("");
    VerbRunOptions runOptions;
    const std::vector<DeclaredVerb> declared = declareVerbs(app, runOptions);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) return status(fail(ExitStatus::wrongUsage, error.what()));
        app.exit(error); // help and version
        if (std::cout.flush() && std::fflush(stdout) == 0) return status(ExitStatus::done);
        return status(fail(ExitStatus::failed, "standard output could not be written"));
    }
    for (const DeclaredVerb& each : declared) {
        if (each.options->parsed()) return status(runVerb(*each.verb, runOptions));
    }
    return editor(files);
}

} // namespace

int runCommandLine(int argc, char** argv, const EditorFront& editor) {
    // A file that may grow no further is a write error, told like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    return runParsed(argc, argv, editor);
}

} // namespace ombrel
