// A message bus that records what it is asked and delivers nothing by itself. Linked into a test
// program, it takes the real one's place: what the system sends is there as soon as it was sent.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace recording
{

struct Publication {
    std::string node;
    std::string topic;
    std::string data;
    bool isNull;
    bool operator==(const Publication &other) const = default;
};

// Forgets everything; no bus is alive.
void reset();

// quillon_bus_new gives null from now on.
void refuseBuses(bool isRefusing);

// Runs on the thread that makes a node, with the node's name.
void onNodeNew(std::function<void(const std::string &)> handler);

// "bus_new", "server_run", "node_new localAgent", "subscribe localAgent", "publish localAgent
// sys.localAgent.exit", ...: the calls so far. Those of node_run are left out, because their place
// among the others is not fixed.
std::vector<std::string> calls();

std::vector<Publication> published();
void forgetPublished();

// The configuration text of the latest bus; "(null)" for null.
std::string busConfiguration();

// The topics text of a node.
std::string topics(const std::string &node);

// Hands a message or a call to a node's callback on this thread. "(null)" for a null reply.
void send(const std::string &node, const std::string &topic, const std::string &data);
void sendNull(const std::string &node, const std::string &topic);
std::string call(const std::string &node, const std::string &path);

} // namespace recording
