#include "apps/commands.h"

#include "apps/config_check.h"
#include "apps/config_keys.h"
#include "apps/configuration.h"

#include <algorithm>
#include <optional>

namespace vantel::app
{
namespace
{

// Prints the example from the table: what is not usual is commented out and stands before the rest
// of its object, so that a line can be switched on by itself.
class Example
{
public:
    explicit Example(bool isPlain) : isPlain_(isPlain) {}

    std::string print()
    {
        if (!isPlain_)
            text_ = "// A configuration for vantel run --config. For vantelNew and vantelInit the\n"
                    "// comments have to go, and \"init\" is what vantelInit takes:\n"
                    "// vantel config example --plain\n";
        text_ += "{\n";
        printMembers("", 1, std::nullopt);
        text_ += "}\n";
        return text_;
    }

private:
    static bool isMember(std::string_view path, std::string_view section)
    {
        if (section.empty()) return path.find('.') == std::string_view::npos;
        return path.starts_with(section) && path.size() > section.size() &&
               path[section.size()] == '.' &&
               path.find('.', section.size() + 1) == std::string_view::npos;
    }

    static std::vector<const ConfigKey *> members(std::string_view section, bool usual)
    {
        std::vector<const ConfigKey *> found;
        for (const ConfigKey &key : configKeys())
            if (isMember(key.path, section) && key.isUsual == usual) found.push_back(&key);
        return found;
    }

    // `offDepth` is how deep the outermost object stands that is commented out.
    void printMembers(std::string_view section, size_t depth, std::optional<size_t> offDepth)
    {
        const std::vector<const ConfigKey *> on = members(section, true);
        const std::vector<const ConfigKey *> off = members(section, false);
        if (!isPlain_)
            for (const ConfigKey *key : off)
                // Of an object that is off as a whole, the last member has no comma.
                printMember(*key, depth, offDepth.value_or(depth),
                            !on.empty() || !offDepth || key != off.back());
        for (const ConfigKey *key : on)
            printMember(*key, depth, offDepth, key != on.back());
    }

    void printMember(const ConfigKey &key, size_t depth, std::optional<size_t> offDepth,
                     bool hasNext)
    {
        constexpr size_t kIndent = 4;
        std::string head(depth * kIndent, ' ');
        if (offDepth) head.insert(*offDepth * kIndent, "// ");
        const std::string name{key.path.substr(key.path.rfind('.') + 1)};
        const std::string comma = hasNext ? "," : "";
        const std::string about = isPlain_ ? "" : " // " + std::string{key.about};
        if (key.kind == KeyKind::object) {
            text_ += head + "\"" + name + "\": {" + about + "\n";
            printMembers(key.path, depth + 1, offDepth);
            text_ += head + "}" + comma + "\n";
        } else {
            text_ += head + "\"" + name + "\": " + std::string{key.example} + comma + about + "\n";
        }
    }

    bool isPlain_;
    std::string text_;
};

} // namespace

int configExampleCommand(bool isPlain, Output *output)
{
    output->write(Example{isPlain}.print());
    return kExitDone;
}

int configKeysCommand(Output *output)
{
    size_t width = 0;
    for (const ConfigKey &key : configKeys())
        width = std::max(width, key.path.size());
    for (const ConfigKey &key : configKeys()) {
        if (key.kind == KeyKind::object) continue;
        const std::string padding(width - key.path.size() + 2, ' ');
        output->write(std::string{key.path} + padding + std::string{key.about} + "\n");
    }
    return kExitDone;
}

int configCheckCommand(const std::vector<std::string> &paths, Output *output)
{
    int code = kExitDone;
    for (const std::string &path : paths) {
        std::string error;
        Json root = readConfiguration(path, &error);
        std::vector<std::string> complaints{error};
        if (root) complaints = configComplaints(root.get());
        for (const std::string &complaint : complaints)
            complain(root ? path + ": " + complaint : complaint);
        if (complaints.empty())
            output->write(path + " is all right\n");
        else
            code = kExitFailure;
    }
    return code;
}

} // namespace vantel::app
