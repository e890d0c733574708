// Prints what the bus costs, and its ratio to ZeroMQ's inproc sockets measured in the same run:
// alternating rounds on one processor, medians.
#include "bench/sides.h"

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace
{

using namespace bench;

struct Figures {
    std::vector<double> bus;
    std::vector<double> sockets;
};

enum class Target { atMost, atLeast };

void printRow(const char *name, const Figures &figures, Target target, double bound)
{
    double bus = median(figures.bus);
    double sockets = median(figures.sockets);
    // Both are times; throughput's ratio is that of their inverses.
    double ratio = target == Target::atMost ? bus / sockets : sockets / bus;
    bool isMet = target == Target::atMost ? ratio <= bound : ratio >= bound;
    std::printf("| %-42s | %9.0f ns | %9.0f ns | %6.2f | %s %4.2f | %s |\n", name, bus, sockets,
                ratio, target == Target::atMost ? "<=" : ">=", bound, isMet ? "yes" : "NO ");
    std::fflush(stdout);
}

Figures alternate(int rounds, const std::function<double()> &bus,
                  const std::function<double()> &sockets)
{
    Figures figures;
    for (int round = 0; round < rounds; ++round) {
        figures.bus.push_back(bus());
        figures.sockets.push_back(sockets());
    }
    return figures;
}

struct Floods {
    Figures wall;
    Figures cpu;
};

Floods alternateFloods(int rounds, size_t bytes, int messages, int subscribers)
{
    Floods floods;
    for (int round = 0; round < rounds; ++round) {
        Cost bus = bus_side::flood(bytes, messages, subscribers);
        Cost sockets = socket_side::flood(bytes, messages, subscribers);
        floods.wall.bus.push_back(bus.wall);
        floods.wall.sockets.push_back(sockets.wall);
        floods.cpu.bus.push_back(bus.cpu);
        floods.cpu.sockets.push_back(sockets.cpu);
    }
    return floods;
}

} // namespace

// usage: bench_bus [rounds]
int main(int argc, char **argv)
{
    int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 5;
    pinToOneProcessor();
    std::printf(
        "| figure                                     |       bus    |    ZeroMQ    |  ratio |"
        " target  | met |\n|---|---|---|---|---|---|\n");
    printRow("one-way latency p50, 320 bytes, 1,000/s",
             alternate(
                 rounds, [] { return bus_side::oneWayP50(1000); },
                 [] { return socket_side::oneWayP50(1000); }),
             Target::atMost, 0.5);
    Floods small = alternateFloods(rounds, kSmallBytes, 300000, 1);
    printRow("throughput, 320 bytes (time a message)", small.wall, Target::atLeast, 1.8);
    printRow("CPU a message, 320 bytes", small.cpu, Target::atMost, 0.55);
    Floods large = alternateFloods(rounds, kLargeBytes, 60000, 1);
    printRow("CPU a message, 3,200 bytes", large.cpu, Target::atMost, 0.8);
    Floods fan = alternateFloods(rounds, kSmallBytes, 100000, 4);
    printRow("CPU a delivery, four subscribers", fan.cpu, Target::atMost, 0.5);
    printRow("call round trip p50",
             alternate(
                 rounds, [] { return bus_side::callP50(20000); },
                 [] { return socket_side::callP50(20000); }),
             Target::atMost, 0.4);
    printRow("timers of 5 and 50 ms off by, p50",
             alternate(
                 rounds, [] { return bus_side::timerErrorP50(100); },
                 [] { return socket_side::timerErrorP50(100); }),
             Target::atMost, 0.1);
    std::printf("\nfour idle nodes and a far timer: %.0f wake-ups in a second\n",
                bus_side::idleWakeUps());
    std::printf("a publication without subscribers: %.0f ns\n", bus_side::unheard(1000000).wall);
    return 0;
}
