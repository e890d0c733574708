// vantel: a command-line host of the library.
#include "apps/commands.h"
#include "platform/arguments.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace
{

constexpr char kAbout[] =
    "Spoken commands from recordings or the microphone.\n\n"
    "  vantel run hello.wav                    recognise a recording with the demo grammar\n"
    "  vantel run a.wav --grammar g.gram       with a grammar of yours\n"
    "  vantel listen                           speak: \"go forward ten meters\"\n"
    "  vantel grammar check g.gram             what is wrong with a grammar\n"
    "  vantel run --help                       everything about a command\n\n"
    "Exit codes: 0 a command was recognised, 2 none was, 1 something failed.";

void addCommonOptions(CLI::App *command, vantel::app::RunOptions *options)
{
    command
        ->add_option("--config", options->configurationPath,
                     "JSON file: the instance's configuration; its member \"init\" goes to the "
                     "library's initialisation. Without it the built-in one is used.")
        ->type_name("FILE");
    command
        ->add_option("--grammar", options->grammarPath,
                     "JSGF file that takes the place of the configuration's grammar")
        ->type_name("FILE");
    command
        ->add_option("--language", options->language,
                     "language of the built-in demo grammar: en or zh")
        ->check(CLI::IsMember({"en", "zh"}));
    command->add_option("--log", options->logFolder, "folder for the library's logs, in full")
        ->type_name("FOLDER");
    command->add_option("--device", options->device, "microphone by its number")
        ->type_name("NUMBER");
    command->add_flag("--json", options->isJson, "one JSON object per event and line");
    command->add_flag("--list-devices", options->listDevices, "show the microphones and end");
}

int run(int argc, char **argv)
{
    using namespace vantel::app;
    CLI::App app{kAbout, "vantel"};
    app.set_version_flag("--version", "vantel " VANTEL_VERSION);
    app.failure_message([](const CLI::App *, const CLI::Error &failure) {
        return std::string{"vantel: "} + failure.what() + "\nvantel --help tells more\n";
    });
    app.require_subcommand(0, 1);
    app.allow_windows_style_options(false); // a path may begin with a slash

    RunOptions options;
    CLI::App *run = app.add_subcommand("run", "Hold dialogs over recordings or the microphone");
    addCommonOptions(run, &options);
    auto *audio = run->add_option("RECORDING,--audio", options.audioPaths,
                                  "recordings, one after the other: sound files of any rate and "
                                  "channel count, or raw 16 kHz samples (.raw, .pcm)")
                      ->type_name("FILE");
    run->add_flag("--mic", options.useMicrophone, "hear the microphone")->excludes(audio);
    run->add_flag("--fast", options.isFast, "feed recordings as fast as the engine takes them");

    CLI::App *listen = app.add_subcommand("listen", "Hear the microphone, with the demo grammar");
    addCommonOptions(listen, &options);

    std::string grammarPath;
    CLI::App *grammar = app.add_subcommand("grammar", "Work with grammars");
    grammar->require_subcommand(0, 1);
    CLI::App *check = grammar->add_subcommand("check", "Compile a grammar and say what is wrong");
    check->add_option("FILE", grammarPath, "JSGF file")->required()->type_name("");

    CLI::App *version = app.add_subcommand("version", "Show the version");
    std::vector<std::string> arguments = vantel::platformArguments(argc, argv);
    std::vector<const char *> values;
    for (const std::string &argument : arguments)
        values.push_back(argument.c_str());
    try {
        app.parse(static_cast<int>(values.size()), values.data());
    } catch (const CLI::ParseError &failure) {
        return app.exit(failure) == 0 ? 0 : kExitError;
    }

    if (*version) {
        std::printf("vantel " VANTEL_VERSION "\n");
        return 0;
    }
    if (*check) return grammarCheckCommand(grammarPath);
    if (*listen) options.useMicrophone = true;
    if (*run || *listen) return runCommand(options);
    // Who gives no command wants to know which there are.
    std::fputs((*grammar ? grammar : &app)->help().c_str(), stderr);
    return kExitError;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "vantel: %s\n", failure.what());
        return vantel::app::kExitError;
    }
}
