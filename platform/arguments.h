// The command line of a program.
#pragma once

#include <string>
#include <vector>

namespace vantel
{

// The arguments that main was given, program name first, as UTF-8. Once, at the start of main; from
// then on a console shows UTF-8 as well.
std::vector<std::string> platformArguments(int count, char **values);

} // namespace vantel
