#include "quillon/bus.h"

#include "quillon/node.h"
#include "tools/json.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#define BUS_LOG(bus, level, ...) QUILLON_LOG("quillon/bus", bus, level, __VA_ARGS__)

namespace vantel::quillon
{
namespace
{

constexpr int kDefaultLevel = kDebug;
constexpr double kDefaultSizeMb = 20;
constexpr int kDefaultClickMs = 3;

BusLogSettings logSettings(const cJSON *configuration)
{
    const cJSON *size = jsonMember(configuration, "size");
    double sizeMb = cJSON_IsNumber(size) ? size->valuedouble : kDefaultSizeMb;
    return {jsonInt(configuration, "level", kDefaultLevel), jsonString(configuration, "path"),
            jsonInt(configuration, "mode", 0), static_cast<float>(sizeMb)};
}

} // namespace

Bus *busNew(const char *configuration)
{
    Json json = jsonParse(configuration);
    if (!cJSON_IsObject(json.get())) return nullptr;
    auto bus = std::make_unique<Bus>();
    int clickMs = jsonInt(json.get(), "timerClickMs", kDefaultClickMs);
    bus->clickNs = clickMs > 1 ? clickMs * kNanosecondsPerMillisecond : 0;
    busLogOpen(&bus->log, logSettings(json.get()));
    BUS_LOG(bus, kDebug, "  %s bus new, timerClickMs: %d\n", kBusTag, clickMs);
    return bus.release();
}

void busRetain(Bus *bus)
{
    bus->references.fetch_add(1, std::memory_order_relaxed);
}

void busRelease(Bus *bus)
{
    if (bus->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    BUS_LOG(bus, kDebug, "  %s bus freed\n", kBusTag);
    delete bus;
}

void busDelete(Bus *bus)
{
    busServerStop(bus);
    {
        // Nodes cannot be freed meanwhile: that starts with leaving the names.
        std::lock_guard locked{bus->mutex};
        for (const auto &[name, node] : bus->nodes) {
            BUS_LOG(bus, kWarning, "  %s bus deleted before node %s\n", kBusTag, name.c_str());
            nodeStop(node);
        }
    }
    busRelease(bus);
}

void busServerRun(Bus *bus)
{
    busRetain(bus);
    {
        std::unique_lock locked{bus->mutex};
        bus->changed.wait(locked, [bus] { return bus->serverStopped; });
    }
    busRelease(bus);
}

void busServerStop(Bus *bus)
{
    std::lock_guard locked{bus->mutex};
    bus->serverStopped = true;
    bus->changed.notify_all();
}

int64_t busNowNs(const Bus *bus)
{
    auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() +
           bus->clockAheadNs.load(std::memory_order_seq_cst);
}

void busClockAdvance(Bus *bus, int32_t milliseconds)
{
    bus->clockAheadNs.fetch_add(milliseconds * kNanosecondsPerMillisecond,
                                std::memory_order_seq_cst);
    std::lock_guard locked{bus->mutex};
    for (const auto &[name, node] : bus->nodes)
        node->inbox.nudge();
}

} // namespace vantel::quillon
