// A bench for tests: one node or the whole system, on the real bus and over the scripted engine,
// with a host that keeps what it is given, a member outside that can speak for all others, and the
// log.
#pragma once

#include "include/vantel/vantel.h"
#include "tests/support/bus_spy.h"
#include "tests/support/folder.h"
#include "tests/support/scripted_engine.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

inline Lines operator+(Lines first, const Lines &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

enum class Node { agent, processor, dms, vad };
enum class Host { present, absent };

class Bench : public testing::Test
{
protected:
    Bench();
    // Ends what was begun, and expects that it left the engine nothing.
    ~Bench() override;

    const Folder folder; // for the log, and free for the test
    std::string logConfiguration() const;
    void initialise(); // the library, with the log at level 1

    // Each ends what was before. A configuration may be null.
    void beginSystem(const char *params);
    void beginNode(Node node, const char *configuration, Host host = Host::present);
    void end();

    void send(const std::string &topic, const std::optional<std::string> &data);
    // Forgets what was before and sends; the trace of all that follows.
    Lines publish(const std::string &topic, const std::optional<std::string> &data);
    std::string call(const std::string &path, const char *data = nullptr); // "(null)" for null
    // Moves the bus's timers on, and settles before and after it.
    void advance(int32_t milliseconds);
    // Waits until everything that was sent is handled, and all that followed from it.
    void settle();

    // The host's answer to an event from now on; none at first.
    void answer(int32_t event, const std::optional<std::string> &text);
    // Runs inside the host's callback, before it answers.
    std::function<void(int32_t event, const std::string &data)> onEvent;

    // What was published, called and delivered since it was last forgotten, as `spy::Record` has
    // it. "1012 {...}" is an event of the host, "102/1003 ..." one of another type than JSON.
    Lines trace();
    Lines traceOf(const std::string &prefix);
    // "[I]  ZQ-localVad onStart": level and message of the lines with this text, likewise.
    Lines log(const std::string &containing = "");
    size_t logged(const std::string &containing) { return log(containing).size(); }
    void forget();
    // The names that the host was told since the beginning.
    Lines statuses();

    void *handle = nullptr; // of the instance

private:
    static char *callback(void *user, const void *data, uint32_t length, int32_t type,
                          int32_t event);

    void *outside_ = nullptr; // the member's node
    std::mutex mutex_;
    std::map<int32_t, std::optional<std::string>> answers_;
    Lines statuses_;
    size_t logStart_ = 0; // bytes of the log that were forgotten
};
