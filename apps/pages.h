// The manual page and the shell's completion, from the table of commands and options.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vantel::app
{

std::string manualPage(const CLI::App &table); // for man, section 1
std::string bashCompletion(const CLI::App &table);

} // namespace vantel::app
