#include "tests/support/bus_spy.h"

#include "contracts/quillon.h"

// The linker leads every use of quillon_X to __wrap_quillon_X, and __real_quillon_X to the bus.
extern "C" {
decltype(quillon_bus_new) __real_quillon_bus_new;
decltype(quillon_bus_delete) __real_quillon_bus_delete;
decltype(quillon_server_stop) __real_quillon_server_stop;
decltype(quillon_node_new) __real_quillon_node_new;
decltype(quillon_node_subscribe) __real_quillon_node_subscribe;
decltype(quillon_node_delete) __real_quillon_node_delete;
decltype(quillon_publish) __real_quillon_publish;
decltype(quillon_call) __real_quillon_call;
}

using spy::record;

namespace
{

void recordLife(const std::string &what, void *node)
{
    const auto locked = record();
    const std::string &name = locked->names[node];
    if (name != spy::kOutside) locked->lives.push_back(what + " " + name);
}

void recordSent(void *node, const std::string &to, const void *data, uint32_t length)
{
    const char *bytes = static_cast<const char *>(data);
    const std::string payload = bytes ? std::string(bytes, length) : "(null)";
    const auto locked = record();
    if (locked->names[node] != spy::kOutside) locked->trace.push_back(to + " " + payload);
}

} // namespace

spy::LockedRecord spy::record()
{
    static std::mutex mutex;
    static Record everything;
    return {std::unique_lock{mutex}, everything};
}

extern "C" {

void *__wrap_quillon_bus_new(const char *configuration)
{
    record()->lives.push_back("bus_new");
    record()->busConfiguration = configuration ? configuration : "(null)";
    return record()->areBusesRefused ? nullptr : __real_quillon_bus_new(configuration);
}

int32_t __wrap_quillon_bus_delete(void *bus)
{
    record()->lives.push_back("bus_delete");
    return __real_quillon_bus_delete(bus);
}

int32_t __wrap_quillon_server_stop(void *bus)
{
    record()->lives.push_back("server_stop");
    return __real_quillon_server_stop(bus);
}

void *__wrap_quillon_node_new(void *bus, const char *name, quillon_onmessage onmessage,
                              quillon_oncall oncall, void *user)
{
    if (record()->nodeRefused == name) return nullptr;
    void *node = __real_quillon_node_new(bus, name, onmessage, oncall, user);
    record()->names[node] = name;
    recordLife("node_new", node);
    const auto handler = record()->onNodeNew;
    if (handler) handler(name);
    return node;
}

int32_t __wrap_quillon_node_subscribe(void *node, const char *topicsJsonArray)
{
    recordLife("subscribe", node);
    if (const auto locked = record(); locked->topicsRefused == locked->names[node]) return -1;
    return __real_quillon_node_subscribe(node, topicsJsonArray);
}

int32_t __wrap_quillon_node_delete(void *node)
{
    recordLife("delete", node);
    return __real_quillon_node_delete(node);
}

int32_t __wrap_quillon_publish(void *node, const char *topic, const void *data, uint32_t length)
{
    const std::string name = topic;
    if (name == "sys.localAgent.exit") recordLife("exit", node);
    recordSent(node, name.starts_with("sys.") ? name.substr(4) : name, data, length);
    return __real_quillon_publish(node, topic, data, length);
}

const char *__wrap_quillon_call(void *node, const char *path, const char *data, uint32_t length)
{
    recordSent(node, path, data, length);
    {
        const auto locked = record();
        const auto served = locked->replies.find(path);
        if (served != locked->replies.end()) return served->second.c_str();
    }
    return __real_quillon_call(node, path, data, length);
}

} // extern "C"
