// What the tool writes to standard output: nothing but that, and not unnoticed when it fails.
#pragma once

#include <cstdio>
#include <string>

namespace vantel::app
{

class Output
{
public:
    // Takes standard output for the tool alone: the libraries' own lines go to standard error.
    Output();
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    // Writes at once. After a failure nothing more is written.
    void write(const std::string &text);
    bool isTerminal() const { return isTerminal_; }
    // Why it could not be written; empty when all was.
    const std::string &error() const { return error_; }

private:
    std::FILE *stream_;
    bool isTerminal_;
    std::string error_;
};

} // namespace vantel::app
