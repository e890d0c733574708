#include "tests/vad/vad_node.h"

#include "contracts/quillon.h"
#include "quillon/clock.h"
#include "tools/log.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace
{

const std::vector<std::string> kTopicsOut = {"sys.localVad.begin", "sys.localVad.end",
                                             "sys.localVad.pcm", "sys.snr.result",
                                             "sys.vantel.error"};

std::string withHome(std::string text, const std::string &home)
{
    size_t at = text.find("HOME");
    return at == std::string::npos ? text : text.replace(at, 4, home);
}

} // namespace

std::string began(int32_t offset)
{
    return R"({"status":1,"offset":)" + std::to_string(offset) + "}";
}

std::string ended(int32_t offset)
{
    return R"({"status":2,"offset":)" + std::to_string(offset) + "}";
}

VadNode::VadNode(const char *configuration)
    : home_(support::freshFolder()), bus_(quillon_bus_new("{}"))
{
    vantel::logInit(vantel::kVerbose, (home_ + "/log").c_str(), 0, 0);
    server_ = std::thread([bus = bus_] { quillon_server_run(bus); });
    instance_.bus = bus_;
    instance_.callback = onEvent;
    instance_.user = this;
    member_ = std::make_unique<support::Member>(bus_, "member", kTopicsOut);
    probe_ = std::make_unique<support::Member>(bus_, "probe", std::vector<std::string>{});
    const std::string text = withHome(configuration ? configuration : "", home_);
    record_ = vantel::vadNew(bus_, configuration ? text.c_str() : nullptr, &instance_);
    vantel::vadStart(record_);
}

VadNode::~VadNode()
{
    close();
    probe_.reset();
    member_.reset();
    quillon_server_stop(bus_);
    server_.join();
    quillon_bus_delete(bus_);
    vantel::logRelease();
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
}

void VadNode::close()
{
    vantel::vadStop(record_);
    vantel::_vadDelete(record_);
    record_ = nullptr;
}

void VadNode::feed(const std::string &pcm, size_t chunk)
{
    for (size_t at = 0; at < pcm.size(); at += chunk)
        publish("sys.localRecorder.pcm", pcm.substr(at, chunk));
}

void VadNode::advance(int32_t milliseconds)
{
    settle();
    quillon_clock_advance(bus_, milliseconds);
    settle();
}

void VadNode::settle()
{
    // A call is answered behind all that its node was sent before.
    if (record_) member_->call("/localVad/settle");
    probe_->call("/member/settle");
}

VadNode::Heard VadNode::heard()
{
    settle();
    Heard all;
    for (const support::Message &message : member_->heard())
        all.emplace_back(message.topic, message.data);
    return all;
}

std::vector<std::string> VadNode::topics()
{
    std::vector<std::string> names;
    for (const auto &message : heard())
        names.push_back(message.first.substr(4));
    return names;
}

std::vector<std::string> VadNode::heardOn(const std::string &topic)
{
    settle();
    return member_->heardOn(topic);
}

std::vector<support::Event> VadNode::events()
{
    settle();
    std::lock_guard locked{mutex_};
    return events_;
}

size_t VadNode::logged(const std::string &text)
{
    settle();
    const std::string log = support::readFile(home_ + "/log");
    size_t count = 0;
    for (size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
        ++count;
    return count;
}

std::map<std::string, std::vector<std::string>> VadNode::captures()
{
    settle();
    std::vector<std::string> paths;
    std::error_code absent;
    for (const auto &entry : std::filesystem::directory_iterator(home_ + "/cache/vad", absent))
        paths.push_back(entry.path().generic_string());
    std::sort(paths.begin(), paths.end());
    std::map<std::string, std::vector<std::string>> byKind;
    for (const std::string &path : paths) {
        const size_t kind = path.rfind('_') + 1;
        byKind[path.substr(kind, path.rfind('.') - kind)].push_back(support::readFile(path));
    }
    return byKind;
}

char *VadNode::onEvent(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    VadNode *node = static_cast<VadNode *>(user);
    const char *bytes = static_cast<const char *>(data);
    std::lock_guard locked{node->mutex_};
    node->events_.push_back({type, event, bytes ? std::string(bytes, length) : ""});
    // The node frees the answer.
    char *answer = static_cast<char *>(std::malloc(3));
    if (answer) std::copy_n("{}", 3, answer);
    return answer;
}
