// vantel: a command-line host of the library.
#include "apps/command_line.h"
#include "platform/arguments.h"

#include <exception>

namespace vantel::app
{

int complain(const std::string &what)
{
    std::fprintf(stderr, "vantel: %s\n", what.c_str());
    return kExitFailure;
}

} // namespace vantel::app

int main(int argc, char **argv)
{
    using namespace vantel::app;
    try {
        Output output;
        const int code = CommandLine{}.run(vantel::platformArguments(argc, argv), &output);
        // A run has said so itself.
        return output.error().empty() || code == kExitFailure ? code : complain(output.error());
    } catch (const std::exception &failure) {
        return complain(failure.what());
    }
}
