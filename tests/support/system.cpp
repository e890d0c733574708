#include "tests/support/system.h"

#include "contracts/quillon.h"
#include "platform/platform.h"
#include "quillon/clock.h"
#include "src/vantel/instance.h"
#include "tools/quenda_tool.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>

extern "C" {
int32_t vantelInit(const char *configuration);
int32_t vantelRelease(void);
void *vantelNew(const char *params, vantel::HostCallback callback, void *user);
int32_t vantelDelete(void *handle);
}

namespace support
{
namespace
{

// What the nodes publish to each other and to outside members.
const std::vector<std::string> kAllTopics = {
    "api.localAgent.VprRegister",
    "api.localAgent.VprUnregister",
    "api.localAgent.VprVerify",
    "api.localAgent.asrCtrl",
    "api.localAgent.customDataBegin",
    "api.localAgent.customDataEnd",
    "api.localAgent.dialogCtrl",
    "api.localAgent.extendspCtrl",
    "api.localAgent.faceCtrl",
    "api.localAgent.inputText",
    "api.localAgent.operaeVocabs",
    "api.localAgent.operateOauth",
    "api.localAgent.setContextSync",
    "api.localAgent.setCustomAudio",
    "api.localAgent.setParams",
    "api.localAgent.setWakeupWords",
    "api.localAgent.setting",
    "api.localAgent.skillSettings",
    "api.localAgent.speak",
    "api.localAgent.systemSettings",
    "api.localAgent.triggerIntent",
    "api.localTts.customData",
    "sys.asr.result",
    "sys.context.sync",
    "sys.context.syncDmTimeoutAsrMaxText",
    "sys.dms.output",
    "sys.localAgent.exit",
    "sys.localAsr.result",
    "sys.localDm.result",
    "sys.localDms.cancel",
    "sys.localDms.commandApi",
    "sys.localDms.pcm",
    "sys.localDms.reset",
    "sys.localFace.image",
    "sys.localPlayer.ctrl",
    "sys.localPlayer.wait",
    "sys.localProcessor.TimerCtrl",
    "sys.localProcessor.cancelOneshotAudio",
    "sys.localProcessor.nativeResponse",
    "sys.localProcessor.netStatus",
    "sys.localRecorder.ctrl",
    "sys.localRecorder.pcm",
    "sys.localTts.begin",
    "sys.localTts.end",
    "sys.localTts.pcm",
    "sys.localVad.begin",
    "sys.localVad.end",
    "sys.localVad.pcm",
    "sys.qxDownload.result",
    "sys.qxFindDevice.result",
    "sys.qxdfu.result",
    "sys.qxreset.result",
    "sys.snr.calculation",
    "sys.snr.result",
    "sys.vantel.error",
    "sys.vantel.status",
};

std::string topicsJson(const std::vector<std::string> &topics)
{
    std::string json = "[";
    for (const std::string &topic : topics)
        json += (json.size() > 1 ? ",\"" : "\"") + topic + "\"";
    return json + "]";
}

std::string bytes(const void *data, uint32_t length)
{
    return data ? std::string(static_cast<const char *>(data), length) : std::string();
}

// "[04312:01876]2026-11-18 17:10:01.123 [D] src/vad/vad# 557#  ZQ-localVad ..." without its header.
std::string withoutHeader(const std::string &line)
{
    size_t level = line.find("] ", line.find(" ["));
    size_t file = line.find('#');
    size_t message = file == std::string::npos ? file : line.find('#', file + 1);
    if (level == std::string::npos || message == std::string::npos) return line;
    return line.substr(level - 2, 3) + line.substr(message + 1);
}

} // namespace

std::string freshFolder()
{
    char id[vantel::kUuidBytes];
    vantel::quendaGetUUID(id, "tests");
    auto path = std::filesystem::temp_directory_path() /
                ("vantel-" + std::to_string(vantel::platformProcessId()) + "-" + id);
    std::filesystem::create_directories(path);
    return path.generic_string();
}

std::string readFile(const std::string &path)
{
    std::ifstream file{std::filesystem::path{std::u8string{path.begin(), path.end()}},
                       std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

std::vector<std::string> logLines(const std::string &folder, const std::string &containing,
                                  size_t from)
{
    std::istringstream text{readFile(folder + "/cache/log/vantel.log").substr(from)};
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        // The barrier calls of settle() leave lines of their own.
        if (line.find("/settle") != std::string::npos) continue;
        if (line.find(containing) != std::string::npos) lines.push_back(withoutHeader(line));
    }
    return lines;
}

Member::Member(void *bus, const std::string &name, const std::vector<std::string> &topics)
    : node_(quillon_node_new(bus, name.c_str(), onMessage, onCall, this))
{
    quillon_node_subscribe(node_, topicsJson(topics).c_str());
    thread_ = std::thread([node = node_] { quillon_node_run(node); });
}

Member::~Member()
{
    quillon_node_stop(node_);
    thread_.join();
    quillon_node_delete(node_);
}

int32_t Member::onMessage(void *user, void *, const char *topic, const void *data, uint32_t length)
{
    Member *member = static_cast<Member *>(user);
    std::lock_guard locked{member->mutex_};
    member->heard_.push_back({topic, bytes(data, length), data == nullptr});
    return 0;
}

char *Member::onCall(void *user, void *, const char *path, const char *data)
{
    Member *member = static_cast<Member *>(user);
    std::function<std::string(const std::string &)> answer;
    {
        std::lock_guard locked{member->mutex_};
        auto found = member->served_.find(path);
        if (found == member->served_.end()) return nullptr;
        answer = found->second;
    }
    return vantel::dupString(answer(data ? data : "(null)").c_str()).release();
}

void Member::publish(const std::string &topic, const std::string &data)
{
    quillon_publish(node_, topic.c_str(), data.data(), static_cast<uint32_t>(data.size()));
}

void Member::publishNull(const std::string &topic)
{
    quillon_publish(node_, topic.c_str(), nullptr, 0);
}

std::string Member::call(const std::string &path)
{
    const char *reply = quillon_call(node_, path.c_str(), nullptr, 0);
    return reply ? reply : "(null)";
}

std::string Member::call(const std::string &path, const std::string &data)
{
    const char *reply =
        quillon_call(node_, path.c_str(), data.c_str(), static_cast<uint32_t>(data.size()));
    return reply ? reply : "(null)";
}

void Member::serve(const std::string &path, std::function<std::string(const std::string &)> answer)
{
    std::lock_guard locked{mutex_};
    served_[path] = std::move(answer);
}

std::vector<Message> Member::heard() const
{
    std::lock_guard locked{mutex_};
    return heard_;
}

std::vector<std::string> Member::heardOn(const std::string &topic) const
{
    std::vector<std::string> data;
    for (const Message &message : heard()) {
        if (message.topic == topic) data.push_back(message.data);
    }
    return data;
}

void Member::forget()
{
    std::lock_guard locked{mutex_};
    heard_.clear();
}

System::System(const SystemOptions &options)
    : folder_(freshFolder()), isInitialised_(options.isInitialised)
{
    if (isInitialised_) {
        std::string configuration = R"({"level":1,"logDirPath":")" + folder_ + R"("})";
        vantelInit(configuration.c_str());
    }
    handle_ = vantelNew(options.params.c_str(), options.hasCallback ? callback : nullptr, this);
    if (bus()) {
        const auto &topics = options.topics.empty() ? kAllTopics : options.topics;
        observer_ = std::make_unique<Member>(bus(), "observer", topics);
    }
}

System::~System()
{
    close();
    if (isInitialised_) vantelRelease();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void *System::bus() const
{
    return handle_ ? static_cast<vantel::Instance *>(handle_)->bus : nullptr;
}

char *System::callback(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    System *system = static_cast<System *>(user);
    Event delivered{type, event, bytes(data, length)};
    std::function<void(const Event &)> handler;
    vantel::HeapText answer;
    {
        std::lock_guard locked{system->mutex_};
        system->events_.push_back(delivered);
        handler = system->handler_;
        auto found = system->answers_.find(event);
        if (found != system->answers_.end()) answer = vantel::dupString(found->second.c_str());
    }
    ++system->delivered_;
    if (handler) handler(delivered);
    return answer.release();
}

uint64_t System::activity() const
{
    return delivered_ + (observer_ ? observer_->heard().size() : 0);
}

void System::settle()
{
    if (!observer_ || !bus()) return;
    // A call is answered behind all that its node was sent before. When a whole round over all
    // nodes, in both directions, has brought nothing new twice, nothing is under way any more.
    Member probe{bus(), "probe", {}};
    int quietRounds = 0;
    while (quietRounds < 3) {
        uint64_t before = activity();
        for (const char *node : {"localAgent", "localProcessor", "localVad", "localDms",
                                 "localProcessor", "localAgent"}) {
            observer_->call(std::string("/") + node + "/settle");
        }
        // Calls to oneself are refused, so another member asks the observer.
        probe.call("/observer/settle");
        quietRounds = activity() == before ? quietRounds + 1 : 0;
    }
}

void System::advance(int32_t milliseconds)
{
    settle();
    quillon_clock_advance(bus(), milliseconds);
    settle();
}

void System::answer(int32_t event, const std::string &text)
{
    std::lock_guard locked{mutex_};
    answers_[event] = text;
}

void System::onEvent(std::function<void(const Event &)> handler)
{
    std::lock_guard locked{mutex_};
    handler_ = std::move(handler);
}

std::vector<Event> System::events()
{
    settle();
    std::lock_guard locked{mutex_};
    return events_;
}

std::vector<std::string> System::eventData(int32_t event)
{
    std::vector<std::string> data;
    for (const Event &delivered : events()) {
        if (delivered.event == event) data.push_back(delivered.data);
    }
    return data;
}

std::vector<std::string> System::statuses()
{
    std::vector<std::string> names;
    for (const std::string &data : eventData(1012)) {
        size_t begin = data.find(":\"") + 2;
        names.push_back(data.substr(begin, data.rfind('"') - begin));
    }
    return names;
}

std::vector<Message> System::heard()
{
    settle();
    return observer_ ? observer_->heard() : heardBeforeClose_;
}

std::vector<std::string> System::log(const std::string &containing)
{
    settle();
    return logLines(folder_, containing, logStart_);
}

void System::forget()
{
    settle();
    if (observer_) observer_->forget();
    logStart_ = readFile(folder_ + "/cache/log/vantel.log").size();
    std::lock_guard locked{mutex_};
    events_.clear();
}

void System::close()
{
    if (!handle_) return;
    settle();
    heardBeforeClose_ = observer_ ? observer_->heard() : std::vector<Message>{};
    observer_.reset();
    vantelDelete(handle_);
    handle_ = nullptr;
}

} // namespace support
