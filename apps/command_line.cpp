#include "apps/command_line.h"

#include "apps/pages.h"
#include "tools/read_file.h"

#include <sstream>

namespace vantel::app
{
namespace
{

constexpr char kAbout[] =
    "Spoken commands from recordings or the microphone.\n\n"
    "  vantel run hello.wav                    recognise a recording with the demo grammar\n"
    "  vantel run a.wav --grammar g.gram       with a grammar of yours\n"
    "  arecord -f S16_LE -r 16000 | vantel run -   hear another program\n"
    "  vantel listen                           speak: \"go forward ten meters\"\n"
    "  vantel grammar check g.gram             what is wrong with a grammar\n"
    "  vantel grammar try g.gram \"go left\"     what a sentence means\n"
    "  vantel config example                   a configuration to begin with\n"
    "  vantel run --help                       everything about a command\n";

constexpr char kExitCodes[] = "Exit codes: 0 recognised, or done; 1 something failed; "
                              "2 nothing was recognised; 3 wrong usage.";

} // namespace

CommandLine::CommandLine() : app_{kAbout, "vantel"}
{
    app_.set_version_flag("--version", "vantel " VANTEL_VERSION, "show the version");
    app_.set_help_flag("-h,--help", "show this help");
    app_.footer(kExitCodes);
    app_.failure_message([](const CLI::App *, const CLI::Error &failure) {
        return std::string{"vantel: "} + failure.what() + "\nvantel --help tells more\n";
    });
    app_.require_subcommand(0, 1);
    app_.allow_windows_style_options(false); // a path may begin with a slash
    addRunCommands();
    addGrammarCommands();
    addConfigCommands();
    addPageCommand();
    addCommand(&app_, "version", "Show the version", [](Output *output) {
        output->write("vantel " VANTEL_VERSION "\n");
        return kExitDone;
    });
}

CLI::App *CommandLine::addCommand(CLI::App *parent, const std::string &name,
                                  const std::string &about, Command command)
{
    CLI::App *added = parent->add_subcommand(name, about);
    commands_.emplace_back(added, std::move(command));
    return added;
}

void CommandLine::addDialogOptions(CLI::App *command)
{
    command
        ->add_option("--config", run_.configurationPath,
                     "JSON file: the instance's configuration; its member \"init\" goes to the "
                     "library's initialisation; without it the built-in one is used")
        ->type_name("FILE");
    command
        ->add_option("--grammar", run_.grammarPath,
                     "JSGF file that takes the place of the configuration's grammar")
        ->type_name("FILE");
    command
        ->add_option("--language", run_.language, "language of the built-in demo grammar: en or zh")
        ->check(CLI::IsMember({"en", "zh"}));
    command->add_option("--log", run_.logFolder, "folder for the library's logs, in full")
        ->type_name("FOLDER");
    command->add_option("--device", run_.device, "microphone by its number")->type_name("NUMBER");
    command->add_flag("--full-duplex", run_.isFullDuplex,
                      "the detector runs on from one command to the next; commands whose meaning "
                      "says \"shouldEndSession\":\"false\" share one dialog");
    command->add_flag("--json", run_.isJson, "one JSON object per event and line");
    command->add_flag("--list-devices", run_.listDevices, "show the microphones and end");
}

void CommandLine::addRunCommands()
{
    CLI::App *run = addCommand(&app_, "run", "Hold dialogs over recordings or the microphone",
                               [this](Output *output) { return runCommand(run_, output); });
    addDialogOptions(run);
    auto *audio =
        run->add_option("RECORDING,--audio", run_.audioPaths,
                        "recordings, one after the other: sound files of any rate and "
                        "channel count, raw 16 kHz samples (.raw, .pcm), or - for standard "
                        "input, WAV or raw")
            ->type_name("FILE");
    run->add_flag("--mic", run_.useMicrophone, "hear the microphone")->excludes(audio);
    run->add_flag("--fast", run_.isFast, "feed recordings as fast as the engine takes them");

    CLI::App *listen = addCommand(&app_, "listen", "Hear the microphone, with the demo grammar",
                                  [this](Output *output) {
                                      run_.useMicrophone = true;
                                      return runCommand(run_, output);
                                  });
    addDialogOptions(listen);
}

CLI::App *CommandLine::addGrammarCommand(CLI::App *parent, const std::string &name,
                                         const std::string &about, GrammarCommand command)
{
    CLI::App *added = addCommand(
        parent, name, about, [this, command](Output *output) { return command(grammar_, output); });
    added
        ->add_option("--config", grammar_.configurationPath,
                     "JSON file whose member \"gram\" names the dictionaries")
        ->type_name("FILE");
    return added;
}

void CommandLine::addGrammarCommands()
{
    CLI::App *grammar = app_.add_subcommand("grammar", "Work with grammars");
    grammar->require_subcommand(0, 1);
    CLI::App *check = addGrammarCommand(grammar, "check", "Compile grammars and say what is wrong",
                                        grammarCheckCommand);
    check->add_option("FILE", grammar_.paths, "JSGF files; - is standard input")
        ->required()
        ->type_name("");
    CLI::App *attempt = addGrammarCommand(
        grammar, "try", "Show what sentences mean, or where they leave the grammar",
        grammarTryCommand);
    CLI::App *words = addGrammarCommand(
        grammar, "words", "List the words with their pronunciations", grammarWordsCommand);
    for (CLI::App *each : {attempt, words})
        each->add_option("FILE", grammar_.path, "JSGF file; - is standard input")
            ->required()
            ->type_name("");
    attempt->add_option("SENTENCE", grammar_.sentences, "what somebody might say")
        ->required()
        ->type_name("");
}

void CommandLine::addConfigCommands()
{
    CLI::App *config = app_.add_subcommand("config", "Work with configurations");
    config->require_subcommand(0, 1);
    CLI::App *check =
        addCommand(config, "check", "Say what is wrong with configurations",
                   [this](Output *output) { return configCheckCommand(configurations_, output); });
    check
        ->add_option("FILE", configurations_,
                     "JSON files, as for run --config; - is standard input")
        ->required()
        ->type_name("");
    CLI::App *example =
        addCommand(config, "example", "Print a complete configuration, with comments",
                   [this](Output *output) { return configExampleCommand(isPlain_, output); });
    addCommand(config, "keys", "List every key and what it is for", configKeysCommand);
    example->add_flag("--plain", isPlain_, "without comments, as vantelNew takes it");
}

// For the build, and so not among the commands that are shown.
void CommandLine::addPageCommand()
{
    CLI::App *page =
        addCommand(&app_, "page", "Write the manual page or bash's completion", [this](Output *) {
            const std::string text = pageKind_ == "man" ? manualPage(app_) : bashCompletion(app_);
            if (writeFile(pagePath_, text.c_str())) return 0 + kExitDone;
            return complain(pagePath_ + ": cannot be written");
        });
    page->group("");
    page->add_option("KIND", pageKind_)->required()->check(CLI::IsMember({"man", "bash"}));
    page->add_option("FILE", pagePath_)->required();
}

int CommandLine::run(const std::vector<std::string> &arguments, Output *output)
{
    std::vector<const char *> values;
    for (const std::string &argument : arguments)
        values.push_back(argument.c_str());
    try {
        app_.parse(static_cast<int>(values.size()), values.data());
    } catch (const CLI::ParseError &failure) {
        std::ostringstream help;
        std::ostringstream complaint;
        const int code = app_.exit(failure, help, complaint);
        output->write(help.str());
        std::fputs(complaint.str().c_str(), stderr);
        return code == 0 ? kExitDone : kExitUsage;
    }
    const CLI::App *chosen = &app_;
    while (!chosen->get_subcommands().empty())
        chosen = chosen->get_subcommands().front();
    for (const auto &[app, command] : commands_)
        if (app == chosen) return command(output);
    // Who gives no command wants to know which there are.
    std::fputs(app_.help().c_str(), stderr);
    return kExitUsage;
}

} // namespace vantel::app
