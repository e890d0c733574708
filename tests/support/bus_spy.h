// What is asked of the message bus, seen on its way to the real one. Everything is recorded on the
// thread that asks, before it is done, so that causes stand in front of their effects.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace spy
{

// The node of this name is the test's own, and nothing that it does is recorded.
constexpr char kOutside[] = "outside";

struct Record {
    // "vantel.status {...}" is a publication on that topic ("sys." is left out), "/localVad/start
    // (null)" a call with its data; what a test notes stands among them.
    std::vector<std::string> trace;
    // How buses and nodes come and go: "bus_new", "node_new localAgent", "subscribe localAgent",
    // "exit localAgent", "delete localAgent", "server_stop", "bus_delete". The exit is the
    // publication of its topic.
    std::vector<std::string> lives;
    std::string busConfiguration; // of the latest bus
    std::map<void *, std::string> names;

    // What a test arranges: quillon_bus_new gives null, quillon_node_new of a name gives null or
    // its topics are refused, something runs on the thread that makes a node, calls of a path get a
    // reply as from a member outside the library.
    bool areBusesRefused = false;
    std::string nodeRefused, topicsRefused; // names
    std::function<void(const std::string &name)> onNodeNew;
    std::map<std::string, std::string> replies;
};

// The one record, locked as long as this lives.
struct LockedRecord {
    std::unique_lock<std::mutex> lock;
    Record &record;
    Record *operator->() const { return &record; }
};
LockedRecord record();

} // namespace spy
