#include "apps/pages.h"

#include <algorithm>
#include <cctype>

namespace vantel::app
{
namespace
{

// What follows an option: "FILE"; "en|zh" of a word; "" of a flag.
std::string valueOf(const CLI::Option &option)
{
    std::string type = option.get_type_name();
    if (option.get_expected_max() == 0) return "";
    const size_t brace = type.find('{');
    if (brace == std::string::npos) return type;
    type = type.substr(brace + 1, type.rfind('}') - brace - 1);
    std::replace(type.begin(), type.end(), ',', '|');
    return type;
}

std::vector<const CLI::App *> commandsOf(const CLI::App &app)
{
    return app.get_subcommands([](const CLI::App *each) { return !each->get_group().empty(); });
}

std::vector<std::string> namesOf(const CLI::Option &option)
{
    std::vector<std::string> names;
    for (const std::string &name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string &name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

std::string positionalOf(const CLI::Option &option)
{
    const std::string name = option.get_name(true);
    const std::string dots = option.get_items_expected_max() > 1 ? "..." : "";
    return option.get_required() ? name + dots : "[" + name + dots + "]";
}

std::string roff(const std::string &text)
{
    std::string escaped;
    bool isLineBegin = true;
    for (const char letter : text) {
        if (isLineBegin && (letter == '.' || letter == '\'')) escaped += "\\&";
        if (letter == '-') escaped += '\\';
        escaped += letter == '\\' ? "\\e" : std::string(1, letter);
        isLineBegin = letter == '\n';
    }
    return escaped;
}

void describeOption(const CLI::Option &option, std::string *page)
{
    std::string head;
    if (option.get_positional()) head = "\\fI" + roff(option.get_name(true)) + "\\fR";
    for (const std::string &name : namesOf(option))
        head += (head.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fR";
    const std::string value = valueOf(option);
    if (option.nonpositional() && !value.empty()) head += " \\fI" + roff(value) + "\\fR";
    *page += ".TP\n" + head + "\n" + roff(option.get_description()) + "\n";
}

// A command that holds others is described by these.
void describeCommand(const CLI::App &app, const std::string &path, std::string *page)
{
    const std::vector<const CLI::App *> commands = commandsOf(app);
    for (const CLI::App *each : commands)
        describeCommand(*each, path + " " + each->get_name(), page);
    if (!commands.empty()) return;
    std::string usage = path + " [OPTIONS]";
    for (const CLI::Option *option : app.get_options())
        if (option->get_positional()) usage += " " + positionalOf(*option);
    *page += ".SS \"" + roff(usage) + "\"\n" + roff(app.get_description()) + ".\n";
    for (const CLI::Option *option : app.get_options())
        describeOption(*option, page);
}

// What comes behind an option, by its kind of value.
std::string completionOf(const std::string &value)
{
    if (value.find('|') != std::string::npos) {
        std::string words = value;
        std::replace(words.begin(), words.end(), '|', ' ');
        return "mapfile -t COMPREPLY < <(compgen -W \"" + words + "\" -- \"$word\")";
    }
    if (value == "FILE") return "mapfile -t COMPREPLY < <(compgen -f -- \"$word\")";
    if (value == "FOLDER") return "mapfile -t COMPREPLY < <(compgen -d -- \"$word\")";
    return "COMPREPLY=()";
}

struct Completion {
    std::string commands; // patterns of the paths there are
    std::string values;   // cases of options with a value
    std::string words;    // cases of what may come
};

void completeCommand(const CLI::App &app, const std::string &path, Completion *out)
{
    std::string words;
    bool takesFiles = false;
    for (const CLI::App *each : commandsOf(app)) {
        const std::string inner = path + "/" + each->get_name();
        words += each->get_name() + " ";
        out->commands += (out->commands.empty() ? "" : " | ") + inner;
        completeCommand(*each, inner, out);
    }
    for (const CLI::Option *option : app.get_options()) {
        const std::string value = valueOf(*option);
        if (option->get_positional()) takesFiles = true;
        for (const std::string &name : namesOf(*option)) {
            words += name + " ";
            if (!value.empty())
                out->values +=
                    "    " + path + ":" + name + ") " + completionOf(value) + "; return ;;\n";
        }
    }
    words.pop_back();
    out->words +=
        "    " + path + ") words=\"" + words + "\" files=" + (takesFiles ? "1" : "") + " ;;\n";
}

} // namespace

std::string manualPage(const CLI::App &table)
{
    const std::string about = table.get_description();
    const size_t end = about.find("\n\n");
    const std::string version = table.version();
    std::string summary = about.substr(0, about.find('.'));
    summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
    std::string page = ".TH VANTEL 1 \"\" \"" + roff(version) +
                       "\" \"User Commands\"\n"
                       ".SH NAME\nvantel \\- " +
                       roff(summary) +
                       "\n"
                       ".SH SYNOPSIS\n\\fBvantel\\fR \\fICOMMAND\\fR [\\fIOPTIONS\\fR] ...\n"
                       ".SH EXAMPLES\n.nf\n" +
                       roff(about.substr(end + 2)) + ".fi\n.SH COMMANDS\n";
    describeCommand(table, "vantel", &page);
    return page + ".SH \"EXIT STATUS\"\n" + roff(table.get_footer()) + "\n";
}

std::string bashCompletion(const CLI::App &table)
{
    Completion all;
    completeCommand(table, "vantel", &all);
    return "# Completion of vantel's commands and options, for bash.\n"
           "_vantel() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    local command=vantel words=\"\" files=\"\" i\n"
           "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           "        case $command/${COMP_WORDS[i]} in\n"
           "        " +
           all.commands +
           ") command+=/${COMP_WORDS[i]} ;;\n"
           "        esac\n"
           "    done\n"
           "    case $command:$previous in\n" +
           all.values +
           "    esac\n"
           "    case $command in\n" +
           all.words +
           "    esac\n"
           "    if [[ $files && $word != -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
           "    else\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
           "    fi\n"
           "}\n"
           "complete -o filenames -F _vantel vantel\n";
}

} // namespace vantel::app
