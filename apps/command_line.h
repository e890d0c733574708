// The table of the tool's commands and options: the command line is read with it, and the manual
// page and the shell's completion are made from it.
#pragma once

#include "apps/commands.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace vantel::app
{

class CommandLine
{
public:
    CommandLine();
    CommandLine(const CommandLine &) = delete;
    CommandLine &operator=(const CommandLine &) = delete;

    // Runs the command that the arguments name; the program's name is the first of them.
    int run(const std::vector<std::string> &arguments, Output *output);

private:
    using Command = std::function<int(Output *)>;

    // The command is run when it comes last on the command line.
    CLI::App *addCommand(CLI::App *parent, const std::string &name, const std::string &about,
                         Command command);
    void addRunCommands();
    void addGrammarCommands();
    void addConfigCommands();
    void addPageCommand();
    void addDialogOptions(CLI::App *command);
    using GrammarCommand = int (*)(const GrammarOptions &, Output *);
    CLI::App *addGrammarCommand(CLI::App *parent, const std::string &name, const std::string &about,
                                GrammarCommand command);

    CLI::App app_;
    std::vector<std::pair<const CLI::App *, Command>> commands_;
    RunOptions run_;
    GrammarOptions grammar_;
    std::vector<std::string> configurations_;
    bool isPlain_ = false;
    std::string pageKind_;
    std::string pagePath_;
};

} // namespace vantel::app
