#include "bench/sides.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <zmq.hpp>

namespace bench::socket_side
{
namespace
{

constexpr char kPublications[] = "inproc://publications";
constexpr char kCalls[] = "inproc://calls";

// The first byte of a payload.
enum Mark : char { kProbe = 'p', kData = 'd', kEnd = 'e' };

// A subscriber on a thread of its own, until the end mark comes.
class Subscriber
{
public:
    Subscriber(zmq::context_t &context, const std::function<void(const char *data)> &onData)
        : thread_([this, &context, onData] {
              zmq::socket_t socket{context, zmq::socket_type::sub};
              socket.set(zmq::sockopt::rcvhwm, 0);
              socket.connect(kPublications);
              socket.set(zmq::sockopt::subscribe, "");
              zmq::message_t message;
              for (char mark = kProbe; mark != kEnd;) {
                  (void)socket.recv(message);
                  mark = *message.data<char>();
                  isReady = true;
                  if (mark == kData) onData(message.data<char>());
              }
          })
    {
    }
    ~Subscriber() { thread_.join(); }
    Subscriber(const Subscriber &) = delete;
    Subscriber &operator=(const Subscriber &) = delete;

    std::atomic<bool> isReady{false}; // before the thread, which sets it

private:
    std::thread thread_;
};

struct Publisher {
    explicit Publisher(zmq::context_t &context) : socket(context, zmq::socket_type::pub)
    {
        socket.set(zmq::sockopt::sndhwm, 0);
        socket.bind(kPublications);
    }
    void send(std::vector<char> &payload, Mark mark)
    {
        payload[0] = mark;
        socket.send(zmq::buffer(payload));
    }
    void waitFor(const Subscriber &subscriber)
    {
        std::vector<char> probe(1);
        while (!subscriber.isReady) {
            send(probe, kProbe);
            sleepUntilNs(nowNs() + 1000000);
        }
    }
    zmq::socket_t socket;
};

} // namespace

double oneWayP50(int messages)
{
    std::vector<double> latencies;
    latencies.reserve(static_cast<size_t>(messages));
    zmq::context_t context;
    Publisher publisher{context};
    {
        Subscriber subscriber{context, [&](const char *data) {
                                  int64_t sent;
                                  std::memcpy(&sent, data + 1, sizeof sent);
                                  latencies.push_back(static_cast<double>(nowNs() - sent));
                              }};
        publisher.waitFor(subscriber);
        std::vector<char> payload(kSmallBytes);
        int64_t next = nowNs();
        for (int i = 0; i < messages; ++i) {
            sleepUntilNs(next += kPaceNs);
            int64_t sent = nowNs();
            std::memcpy(payload.data() + 1, &sent, sizeof sent);
            publisher.send(payload, kData);
        }
        publisher.send(payload, kEnd);
    }
    return median(latencies);
}

Cost flood(size_t bytes, int messages, int subscribers)
{
    zmq::context_t context;
    Publisher publisher{context};
    std::atomic<int64_t> received{0};
    int64_t wall = 0;
    int64_t cpu = 0;
    {
        std::vector<std::unique_ptr<Subscriber>> all;
        for (int i = 0; i < subscribers; ++i) {
            all.push_back(std::make_unique<Subscriber>(context, [](const char *) {}));
            publisher.waitFor(*all.back());
        }
        std::vector<char> payload(bytes);
        wall = nowNs();
        cpu = cpuNs();
        for (int i = 0; i < messages; ++i)
            publisher.send(payload, kData);
        publisher.send(payload, kEnd);
    }
    double deliveries = static_cast<double>(messages) * subscribers;
    return {static_cast<double>(nowNs() - wall) / deliveries,
            static_cast<double>(cpuNs() - cpu) / deliveries};
}

double callP50(int calls)
{
    zmq::context_t context;
    zmq::socket_t request{context, zmq::socket_type::req};
    request.bind(kCalls);
    std::thread replier{[&] {
        zmq::socket_t socket{context, zmq::socket_type::rep};
        socket.connect(kCalls);
        zmq::message_t message;
        for (int i = 0; i < calls; ++i) {
            (void)socket.recv(message);
            socket.send(zmq::str_buffer("reply"));
        }
    }};
    std::vector<double> times;
    zmq::message_t reply;
    for (int i = 0; i < calls; ++i) {
        int64_t start = nowNs();
        request.send(zmq::str_buffer("request"));
        (void)request.recv(reply);
        times.push_back(static_cast<double>(nowNs() - start));
    }
    replier.join();
    return median(times);
}

double timerErrorP50(int timers)
{
    struct Timer {
        int64_t due;
        std::vector<double> *errors;
        bool hasExpired; // these repeat, but only the first time counts
    };
    auto onTimer = [](int, void *user) {
        Timer *timer = static_cast<Timer *>(user);
        int64_t error = nowNs() - timer->due;
        if (!timer->hasExpired) timer->errors->push_back(static_cast<double>(std::abs(error)));
        timer->hasExpired = true;
    };
    std::vector<double> errors;
    zmq::context_t context;
    Publisher publisher{context};
    std::atomic<bool> isReady{false};
    std::thread loop{[&] {
        zmq::socket_t socket{context, zmq::socket_type::sub};
        socket.connect(kPublications);
        socket.set(zmq::sockopt::subscribe, "");
        std::vector<std::unique_ptr<Timer>> timersSet;
        std::vector<int> ids;
        void *all = zmq_timers_new();
        zmq_pollitem_t item{socket.handle(), 0, ZMQ_POLLIN, 0};
        zmq::message_t message;
        for (char mark = kProbe; mark != kEnd;) {
            zmq_poll(&item, 1, zmq_timers_timeout(all));
            zmq_timers_execute(all);
            for (size_t i = 0; i < ids.size(); ++i) {
                if (!timersSet[i]->hasExpired || ids[i] == 0) continue;
                zmq_timers_cancel(all, ids[i]);
                ids[i] = 0;
            }
            if (!(item.revents & ZMQ_POLLIN)) continue;
            (void)socket.recv(message);
            mark = *message.data<char>();
            isReady = true;
            if (mark != kData) continue;
            int milliseconds = kTimerMs[ids.size() % 2];
            timersSet.push_back(
                std::make_unique<Timer>(Timer{nowNs() + milliseconds * 1000000LL, &errors, false}));
            ids.push_back(zmq_timers_add(all, static_cast<size_t>(milliseconds), onTimer,
                                         timersSet.back().get()));
        }
        zmq_timers_destroy(&all);
    }};
    std::vector<char> payload(1);
    while (!isReady) {
        publisher.send(payload, kProbe);
        sleepUntilNs(nowNs() + 1000000);
    }
    for (int i = 0; i < timers; ++i) {
        publisher.send(payload, kData);
        sleepUntilNs(nowNs() + kTimerPaceNs);
    }
    sleepUntilNs(nowNs() + 60000000);
    publisher.send(payload, kEnd);
    loop.join();
    return median(errors);
}

} // namespace bench::socket_side
