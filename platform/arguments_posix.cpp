// The command line as it is: terminals and arguments agree on the encoding.
#include "platform/arguments.h"

namespace vantel
{

std::vector<std::string> platformArguments(int count, char **values)
{
    return {values, values + count};
}

} // namespace vantel
