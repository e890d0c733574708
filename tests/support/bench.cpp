#include "tests/support/bench.h"

#include "contracts/quillon.h"
#include "quillon/clock.h"
#include "src/agent/agent.h"
#include "src/dms/dms.h"
#include "src/processor/processor.h"
#include "src/vad/vad.h"
#include "tools/quenda_tool.h"

#include <sstream>

using namespace vantel;

namespace
{

constexpr char kLog[] = "cache/log/vantel.log";

// "[04312:01876]2026-11-18 17:10:01.123 [D] src/vad/vad# 557#  ZQ-localVad ..." without its header.
std::string withoutHeader(const std::string &line)
{
    const size_t level = line.find("] ", line.find(" ["));
    const size_t file = line.find('#');
    const size_t message = file == std::string::npos ? file : line.find('#', file + 1);
    if (level == std::string::npos || message == std::string::npos) return line;
    return line.substr(level - 2, 3) + line.substr(message + 1);
}

template <typename Record> Record *running(Record *record, int32_t (*start)(Record *))
{
    EXPECT_EQ(start(record), 0);
    return record;
}

} // namespace

Bench::Bench()
{
    spy::record().record = {};
    scripted::reset();
}

Bench::~Bench()
{
    end();
    vantelRelease();
    EXPECT_EQ(scripted::liveHandles(), 0);
}

std::string Bench::logConfiguration() const
{
    return R"({"level":1,"logDirPath":")" + folder.path() + R"("})";
}

void Bench::initialise()
{
    ASSERT_EQ(vantelInit(logConfiguration().c_str()), 0);
    forget();
    scripted::reset();
}

void Bench::beginSystem(const char *params)
{
    end();
    handle = vantelNew(params, callback, this);
    void *bus = handle ? static_cast<Instance *>(handle)->bus : nullptr;
    if (bus) outside_ = quillon_node_new(bus, spy::kOutside, nullptr, nullptr, nullptr);
}

// What deletes an instance deletes whichever nodes it has.
void Bench::beginNode(Node node, const char *configuration, Host host)
{
    end();
    forget();
    void *bus = quillon_bus_new("{}");
    const HostCallback called = host == Host::present ? callback : nullptr;
    auto *instance = new Instance{bus, new NodeTable, called, this};
    NodeTable *nodes = instance->nodes;
    switch (node) {
    case Node::agent:
        nodes->agent = running(agentNew(bus, configuration, instance), agentStart);
        break;
    case Node::processor:
        nodes->processor = running(processor::processorNew(bus, configuration, instance),
                                   processor::processorStart);
        break;
    case Node::dms:
        nodes->dms = running(dms::dmsNew(bus, configuration, instance), dms::dmsStart);
        break;
    case Node::vad:
        nodes->vad = running(vad::vadNew(bus, configuration, instance), vad::vadStart);
        break;
    }
    handle = instance;
    outside_ = quillon_node_new(bus, spy::kOutside, nullptr, nullptr, nullptr);
}

void Bench::end()
{
    settle();
    if (outside_) quillon_node_delete(outside_);
    EXPECT_EQ(vantelDelete(handle), 0);
    outside_ = handle = nullptr;
    statuses_.clear();
    answers_.clear();
}

void Bench::send(const std::string &topic, const std::optional<std::string> &data)
{
    const uint32_t length = data ? static_cast<uint32_t>(data->size()) : 0;
    quillon_publish(outside_, topic.c_str(), data ? data->data() : nullptr, length);
}

Lines Bench::publish(const std::string &topic, const std::optional<std::string> &data)
{
    forget();
    send(topic, data);
    return trace();
}

std::string Bench::call(const std::string &path, const char *data)
{
    const size_t length = data ? std::string(data).size() : 0;
    const char *reply = quillon_call(outside_, path.c_str(), data, static_cast<uint32_t>(length));
    return reply ? reply : "(null)";
}

void Bench::advance(int32_t milliseconds)
{
    settle();
    quillon_clock_advance(static_cast<Instance *>(handle)->bus, milliseconds);
    settle();
}

void Bench::settle()
{
    if (!outside_) return;
    // A node answers a call behind all that it was sent before, and one that is not there answers
    // at once. When two rounds have brought nothing new, nothing is under way any more.
    for (int quietRounds = 0; quietRounds < 2;) {
        const size_t before = spy::record()->trace.size();
        for (const char *node : {"localAgent", "localProcessor", "localVad", "localDms"})
            call(std::string("/") + node + "/settle");
        quietRounds = spy::record()->trace.size() == before ? quietRounds + 1 : 0;
    }
}

void Bench::answer(int32_t event, const std::optional<std::string> &text)
{
    std::lock_guard locked{mutex_};
    answers_[event] = text;
}

char *Bench::callback(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    Bench *bench = static_cast<Bench *>(user);
    const std::string text = data ? std::string(static_cast<const char *>(data), length) : "(null)";
    spy::record()->trace.push_back((type == VANTEL_TYPE_JSON ? "" : std::to_string(type) + "/") +
                                   std::to_string(event) + " " + text);
    if (bench->onEvent) bench->onEvent(event, text);
    std::lock_guard locked{bench->mutex_};
    // {"status":"silence"}
    if (event == VANTEL_EVENT_STATUS) bench->statuses_.push_back(text.substr(11, text.size() - 13));
    const std::optional<std::string> &answer = bench->answers_[event];
    return answer ? dupString(answer->c_str()).release() : nullptr;
}

Lines Bench::trace()
{
    return traceOf("");
}

Lines Bench::traceOf(const std::string &prefix)
{
    settle();
    Lines entries = spy::record()->trace;
    std::erase_if(entries, [&](const std::string &entry) { return !entry.starts_with(prefix); });
    return entries;
}

Lines Bench::log(const std::string &containing)
{
    settle();
    std::istringstream text{folder.read(kLog).substr(logStart_)};
    Lines lines;
    for (std::string line; std::getline(text, line);) {
        line = withoutHeader(line);
        // The calls of settle() leave lines of their own.
        const bool isOwn = line.find("/settle") == std::string::npos;
        if (isOwn && line.find(containing) != std::string::npos) lines.push_back(line);
    }
    return lines;
}

void Bench::forget()
{
    settle();
    spy::record()->trace.clear();
    logStart_ = folder.read(kLog).size();
}

Lines Bench::statuses()
{
    settle();
    std::lock_guard locked{mutex_};
    return statuses_;
}
