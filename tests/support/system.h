// A whole running system for tests: an instance of libvantel, its host, its log, and an outside
// member of its bus that hears what is published and can speak for absent members.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace support
{

struct Message {
    std::string topic;
    std::string data; // all bytes
    bool isNull;      // no payload at all
    bool operator==(const Message &other) const = default;
};

struct Event {
    int32_t type;
    int32_t event;
    std::string data;
};

// A node of the bus that records what it hears, on a thread of its own.
class Member
{
public:
    // Subscribes before it returns. `bus` outlives the member.
    Member(void *bus, const std::string &name, const std::vector<std::string> &topics);
    ~Member();
    Member(const Member &) = delete;
    Member &operator=(const Member &) = delete;

    void publish(const std::string &topic, const std::string &data);
    void publishNull(const std::string &topic);
    // Calls from this member's own node; "(null)" for a null reply.
    std::string call(const std::string &path);
    std::string call(const std::string &path, const std::string &data);

    // Serves "/name/verb": the answer to a call's data; calls of other paths get null.
    void serve(const std::string &path, std::function<std::string(const std::string &)> answer);

    std::vector<Message> heard() const; // in order
    std::vector<std::string> heardOn(const std::string &topic) const;
    void forget();

private:
    static int32_t onMessage(void *user, void *node, const char *topic, const void *data,
                             uint32_t length);
    static char *onCall(void *user, void *node, const char *path, const char *data);

    void *node_;
    mutable std::mutex mutex_;
    std::vector<Message> heard_;
    std::map<std::string, std::function<std::string(const std::string &)>> served_;
    std::thread thread_;
};

struct SystemOptions {
    std::string params = "{}";
    // Topics that the outside member "observer" hears. Empty: all that the nodes publish.
    std::vector<std::string> topics = {};
    bool hasCallback = true;
    bool isInitialised = true; // false: vantelNew without vantelInit
};

// Initialises the library with a log file at level 1 in a fresh folder, makes one instance, and
// takes both down again.
class System
{
public:
    explicit System(const std::string &params = "{}") : System(SystemOptions{.params = params}) {}
    explicit System(const SystemOptions &options);
    ~System();
    System(const System &) = delete;
    System &operator=(const System &) = delete;

    void *handle() const { return handle_; }
    void *bus() const;
    Member &observer() { return *observer_; }
    const std::string &folder() const { return folder_; } // home and log directory of its own

    // Waits until every node has handled everything that was sent, and all that followed from it.
    void settle();

    // Moves the bus's timers on, then settles.
    void advance(int32_t milliseconds);

    // Answers the host's callback for one event from now on.
    void answer(int32_t event, const std::string &text);
    // Runs inside the host's callback, before it answers.
    void onEvent(std::function<void(const Event &)> handler);

    // Each of these settles first.
    std::vector<Event> events();                       // all, in order
    std::vector<std::string> eventData(int32_t event); // of one kind
    std::vector<std::string> statuses();               // names, from event 1012
    std::vector<Message> heard();                      // by the observer
    // "[I]  ZQ-localVad onStart": level and message of the lines with this text, without the
    // newline.
    std::vector<std::string> log(const std::string &containing = "");
    void forget(); // events, messages and log lines so far

    // Deletes the instance now; afterwards only events, heard and log remain useful.
    void close();

private:
    static char *callback(void *user, const void *data, uint32_t length, int32_t type,
                          int32_t event);
    uint64_t activity() const;

    std::string folder_;
    void *handle_ = nullptr;
    bool isInitialised_;
    std::unique_ptr<Member> observer_;
    std::vector<Message> heardBeforeClose_;
    mutable std::mutex mutex_;
    std::vector<Event> events_;
    std::map<int32_t, std::string> answers_;
    std::function<void(const Event &)> handler_;
    std::atomic<uint64_t> delivered_{0};
    size_t logStart_ = 0; // bytes of the log that were forgotten
};

// A fresh folder below the system's temporary one.
std::string freshFolder();

// "[I]  ZQ-localVad onStart": level and message of the lines with this text in the log below
// `folder`, without the newline; lines in the first `from` bytes are left out.
std::vector<std::string> logLines(const std::string &folder, const std::string &containing = "",
                                  size_t from = 0);

// The file's bytes; empty when there is none.
std::string readFile(const std::string &path);

} // namespace support
