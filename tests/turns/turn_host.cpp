#include "tests/turns/turn_host.h"

#include "contracts/quillon.h"
#include "include/vantel/vantel.h"
#include "quillon/clock.h"
#include "tools/json.h"

#include <algorithm>

namespace turns
{

Host::Host(const std::string &params, std::string reply) : reply_(std::move(reply))
{
    handle_ = vantelNew(params.c_str(), callback, this);
    member_ = quillon_node_new(*static_cast<void **>(handle_), "turnHost", nullptr, nullptr, this);
    settle();
}

Host::~Host()
{
    quillon_node_delete(member_);
    vantelDelete(handle_);
}

char *Host::callback(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    Host *host = static_cast<Host *>(user);
    if (type != VANTEL_TYPE_JSON || !data) return nullptr;
    const std::string text(static_cast<const char *>(data), length);
    {
        std::lock_guard locked{host->mutex_};
        host->told_.push_back({event, text});
    }
    const bool isAsked = event == kStatus && text == R"({"status":"understanding"})";
    if (isAsked && !host->reply_.empty()) {
        quillon_publish(host->member_, "sys.dms.output", host->reply_.data(),
                        static_cast<uint32_t>(host->reply_.size()));
    }
    return nullptr;
}

// A node answers a call behind all that it was sent before. Rounds go on until none has brought an
// event any more.
void Host::settle()
{
    for (int quietRounds = 0; quietRounds < 2;) {
        const size_t before = count();
        for (const char *node : {"localAgent", "localVad", "localProcessor", "localDms",
                                 "localProcessor", "localVad", "localProcessor"})
            quillon_call(member_, ("/" + std::string(node) + "/settle").c_str(), nullptr, 0);
        quietRounds = count() == before ? quietRounds + 1 : 0;
    }
}

size_t Host::count() const
{
    std::lock_guard locked{mutex_};
    return told_.size();
}

void Host::startDialog()
{
    vantelStartDialog(handle_);
    settle();
}

void Host::stopDialog()
{
    vantelStopDialog(handle_);
    settle();
}

void Host::startListening()
{
    vantelStartListening(handle_);
    settle();
}

void Host::stopListening()
{
    vantelStopListening(handle_);
    settle();
}

void Host::feed(const std::string &audio, size_t chunkBytes)
{
    constexpr size_t kHandledBytes = 40 * 32;
    size_t unhandled = 0;
    size_t before = count();
    for (size_t at = 0; at < audio.size(); at += chunkBytes) {
        const size_t bytes = std::min(chunkBytes, audio.size() - at);
        vantelFeedData(handle_, audio.data() + at, static_cast<int32_t>(bytes));
        unhandled += bytes;
        if (unhandled < kHandledBytes) continue;
        unhandled = 0;
        // What the detector did not say concerns nobody else.
        quillon_call(member_, "/localVad/settle", nullptr, 0);
        if (count() == before) continue;
        settle();
        before = count();
    }
    settle();
}

void Host::publish(const std::string &topic, const std::string &data)
{
    quillon_publish(member_, topic.c_str(), data.data(), static_cast<uint32_t>(data.size()));
    settle();
}

void Host::advance(int32_t milliseconds)
{
    quillon_clock_advance(*static_cast<void **>(handle_), milliseconds);
    settle();
}

std::vector<std::string> Host::told(int32_t event) const
{
    std::lock_guard locked{mutex_};
    std::vector<std::string> texts;
    for (const Told &one : told_) {
        if (one.event == event) texts.push_back(one.data);
    }
    return texts;
}

std::vector<double> ratios(const Host &host)
{
    std::vector<double> decibels;
    for (const std::string &text : host.told(kRatio)) {
        const vantel::Json result = vantel::jsonParse(text.c_str());
        decibels.push_back(vantel::jsonMember(result.get(), "snr")->valuedouble);
    }
    return decibels;
}

} // namespace turns
