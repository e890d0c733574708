#include "tests/processor/processor_node.h"

#include "contracts/quillon.h"
#include "quillon/clock.h"
#include "tools/log.h"
#include "tools/quenda_tool.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>

namespace
{

constexpr char kNote[] = "test.note";

// All that the processor publishes.
constexpr char kTopicsOut[] =
    "test.note sys.asr.result sys.context.sync sys.context.syncDmTimeoutAsrMaxText sys.dms.output "
    "sys.localDms.cancel sys.localDms.commandApi sys.localDms.pcm sys.localDms.reset "
    "sys.localPlayer.ctrl sys.localProcessor.TimerCtrl sys.localProcessor.cancelOneshotAudio "
    "sys.localProcessor.nativeResponse sys.localProcessor.netStatus sys.localRecorder.ctrl "
    "sys.localTts.begin sys.localTts.end sys.localTts.pcm sys.snr.calculation sys.vantel.error "
    "sys.vantel.status";

std::vector<std::string> words(const std::string &text)
{
    std::istringstream stream{text};
    return {std::istream_iterator<std::string>{stream}, {}};
}

std::string entryOf(const support::Message &message)
{
    if (message.topic == kNote) return message.data;
    const size_t prefix = message.topic.starts_with("sys.") ? 4 : 0;
    return message.topic.substr(prefix) + " " + (message.isNull ? "(null)" : message.data);
}

} // namespace

ProcessorNode::ProcessorNode(const std::string &configuration, Host host)
    : folder_(support::freshFolder()), bus_(quillon_bus_new("{}"))
{
    vantel::makeDirs((folder_ + "/cache/log").c_str());
    vantel::logInit(vantel::kVerbose, (folder_ + "/cache/log/vantel.log").c_str(), 0, 0);
    server_ = std::thread([bus = bus_] { quillon_server_run(bus); });
    instance_.bus = bus_;
    instance_.callback = host == Host::present ? callback : nullptr;
    instance_.user = this;
    const std::vector<std::string> none;
    notes_ = std::make_unique<support::Member>(bus_, "notes", none);
    observer_ = std::make_unique<support::Member>(bus_, "observer", words(kTopicsOut));
    vad_ = std::make_unique<support::Member>(bus_, "localVad", none);
    dms_ = std::make_unique<support::Member>(bus_, "localDms", none);
    recorder_ = std::make_unique<support::Member>(bus_, "localRecorder", none);
    for (const char *verb : {"start", "stop"}) {
        serve(*vad_, std::string("/localVad/") + verb, "{}");
        serve(*dms_, std::string("/localDms/") + verb, "{}");
    }
    serve(*recorder_, "/localRecorder/stop", "{}");
    record_ = vantel::processorNew(bus_, configuration.c_str(), &instance_);
    vantel::processorStart(record_);
    forget();
}

ProcessorNode::~ProcessorNode()
{
    vantel::processorStop(record_);
    vantel::processorDelete(record_);
    for (auto *member : {&device_, &recorder_, &dms_, &vad_, &observer_, &notes_})
        member->reset();
    quillon_server_stop(bus_);
    server_.join();
    quillon_bus_delete(bus_);
    vantel::logRelease();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void ProcessorNode::note(const std::string &entry)
{
    notes_->publish(kNote, entry);
}

void ProcessorNode::serve(support::Member &member, const std::string &path,
                          const std::string &reply)
{
    member.serve(path, [this, path, reply](const std::string &data) {
        note(path + " " + data);
        return reply;
    });
}

void ProcessorNode::serveDevice(const std::string &path, const std::string &reply)
{
    device_.reset();
    device_ = std::make_unique<support::Member>(bus_, "localWakeup", std::vector<std::string>{});
    serve(*device_, path, reply);
}

char *ProcessorNode::callback(void *user, const void *data, uint32_t length, int32_t type,
                              int32_t event)
{
    ProcessorNode *node = static_cast<ProcessorNode *>(user);
    const std::string text = data ? std::string(static_cast<const char *>(data), length) : "(null)";
    node->note((type == vantel::kTypeJson ? "" : std::to_string(type) + "/") +
               std::to_string(event) + " " + text);
    std::lock_guard locked{node->mutex_};
    // {"status":"silence"}
    if (event == 1012) node->statuses_.push_back(text.substr(11, text.size() - 13));
    const auto found = node->answers_.find(event);
    return found == node->answers_.end() ? nullptr
                                         : vantel::dupString(found->second.c_str()).release();
}

void ProcessorNode::send(const std::string &topic, const std::string &data)
{
    sent_.push_back(entryOf({topic, data, false}));
    notes_->publish(topic, data);
}

void ProcessorNode::publish(const std::string &topic, const std::string &data)
{
    forget();
    send(topic, data);
    settle();
}

void ProcessorNode::publishNull(const std::string &topic)
{
    forget();
    sent_.push_back(entryOf({topic, "", true}));
    notes_->publishNull(topic);
    settle();
}

void ProcessorNode::advance(int32_t milliseconds)
{
    forget();
    quillon_clock_advance(bus_, milliseconds);
    settle();
}

std::string ProcessorNode::call(const std::string &path)
{
    forget();
    const std::string reply = notes_->call(path, "data");
    settle();
    return reply;
}

void ProcessorNode::answer(int32_t event, const std::string &text)
{
    std::lock_guard locked{mutex_};
    answers_[event] = text;
}

void ProcessorNode::settle()
{
    // A call is answered behind all that its node was sent before. When two rounds bring nothing
    // new, nothing is under way.
    for (int quietRounds = 0; quietRounds < 2;) {
        const size_t before = observer_->heard().size();
        notes_->call("/localProcessor/settle");
        notes_->call("/observer/settle");
        quietRounds = observer_->heard().size() == before ? quietRounds + 1 : 0;
    }
}

Trace ProcessorNode::trace()
{
    Trace trace;
    for (const support::Message &message : observer_->heard())
        trace.push_back(entryOf(message));
    // Its place among the rest is not fixed: the processor may hear it first.
    for (const std::string &entry : sent_) {
        const auto found = std::find(trace.begin(), trace.end(), entry);
        if (found != trace.end()) trace.erase(found);
    }
    return trace;
}

Trace ProcessorNode::traceOf(const std::string &prefix)
{
    Trace all = trace();
    std::erase_if(all, [&](const std::string &entry) { return !entry.starts_with(prefix); });
    return all;
}

std::vector<std::string> ProcessorNode::statuses()
{
    std::lock_guard locked{mutex_};
    return statuses_;
}

std::vector<std::string> ProcessorNode::log(const std::string &containing)
{
    std::vector<std::string> lines = support::logLines(folder_, "", logStart_);
    std::erase_if(lines,
                  [&](const std::string &line) { return line.find(containing) == line.npos; });
    return lines;
}

void ProcessorNode::forget()
{
    observer_->forget();
    sent_.clear();
    logStart_ = support::readFile(folder_ + "/cache/log/vantel.log").size();
}
