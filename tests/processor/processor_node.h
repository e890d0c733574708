// The processor node alone on a bus: a host that keeps what it is given, and members that stand for
// the other nodes and for those outside the library.
#pragma once

#include "src/processor/processor.h"
#include "tests/support/system.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// What the processor did since the last request, in one order: "vantel.status {...}" is a
// publication on that topic
// ("sys." is left out), "/localVad/start (null)" a call with its data, "1012 {...}" an event of the
// host. What the test published itself is left out.
using Trace = std::vector<std::string>;

inline Trace operator+(Trace first, const Trace &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

enum class Host { present, absent };

class ProcessorNode
{
public:
    explicit ProcessorNode(const std::string &configuration = "{}", Host host = Host::present);
    ~ProcessorNode();
    ProcessorNode(const ProcessorNode &) = delete;
    ProcessorNode &operator=(const ProcessorNode &) = delete;

    // Forgets nothing and waits for nothing.
    void send(const std::string &topic, const std::string &data);
    // Each forgets what was before it, and settles before it returns.
    void publish(const std::string &topic, const std::string &data);
    void publishNull(const std::string &topic);
    void advance(int32_t milliseconds);
    std::string call(const std::string &path);

    // The host's answer to an event from now on.
    void answer(int32_t event, const std::string &text);
    // A member outside the library: serves one path of "/localWakeup" from now on.
    void serveDevice(const std::string &path, const std::string &reply);

    Trace trace();
    Trace traceOf(const std::string &prefix); // its entries that begin so
    std::vector<std::string> statuses();      // as the host was told since the node was made
    std::vector<std::string> log(const std::string &containing = "");
    void settle();

private:
    static char *callback(void *user, const void *data, uint32_t length, int32_t type,
                          int32_t event);
    void serve(support::Member &member, const std::string &path, const std::string &reply);
    void note(const std::string &entry);
    void forget();

    std::string folder_;
    size_t logStart_ = 0;
    void *bus_;
    std::thread server_;
    vantel::Instance instance_;
    std::mutex mutex_;
    std::vector<std::string> sent_;
    std::vector<std::string> statuses_;
    std::map<int32_t, std::string> answers_;
    // Everything is noted on the bus, so that the observer hears it in the order in which it was
    // done, whatever the thread.
    std::unique_ptr<support::Member> notes_;
    std::unique_ptr<support::Member> observer_;
    std::unique_ptr<support::Member> vad_;
    std::unique_ptr<support::Member> dms_;
    std::unique_ptr<support::Member> recorder_;
    std::unique_ptr<support::Member> device_;
    vantel::ProcessorRecord *record_ = nullptr;
};
