#include "apps/output.h"

#include "platform/console.h"
#include "platform/platform.h"

#include <cerrno>
#include <cstring>

namespace vantel::app
{

Output::Output()
    : stream_(platformTakeOutput()), isTerminal_(stream_ && platformIsTerminal(stream_))
{
}

Output::~Output()
{
    if (stream_) std::fclose(stream_);
}

void Output::write(const std::string &text)
{
    if (!error_.empty()) return;
    errno = 0;
    if (!stream_ || std::fwrite(text.data(), 1, text.size(), stream_) != text.size() ||
        std::fflush(stream_) != 0)
        error_ = std::string{"the output cannot be written: "} +
                 (stream_ ? std::strerror(errno) : "there is none");
}

} // namespace vantel::app
