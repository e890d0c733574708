#include "apps/session.h"

#include "apps/compile_grammar.h"
#include "contracts/quillon.h"
#include "tools/json.h"

#include <vantel/vantel.h>

namespace vantel::app
{
namespace
{

// The codes of the engine's parts that could not be made: without them nothing is ever recognised.
bool isFatal(int errorId)
{
    return errorId == VANTEL_ERROR_VAD_CORE || errorId == VANTEL_ERROR_GRAM_CORE ||
           errorId == VANTEL_ERROR_ASR_CORE;
}

std::string textOf(const char *text)
{
    return text ? text : "";
}

} // namespace

Session::Session(const std::string &initialisation, const std::string &parameters, EventSink sink)
    : sink_(std::move(sink))
{
    if (int32_t code = vantelInit(initialisation.c_str()); code != 0) {
        error_ = "the speech engine cannot be loaded (code " + std::to_string(code) + ")";
        return;
    }
    // The library reports no grammar that is wrong; it goes on without a recogniser.
    Json configuration = jsonParse(parameters.c_str());
    const cJSON *grammar = jsonObject(configuration.get(), "gram");
    if (int32_t code = grammar ? compileGrammar(grammar) : 0; code != 0) {
        error_ = "the grammar does not compile (code " + std::to_string(code) + ")";
        return;
    }
    handle_ = vantelNew(parameters.c_str(), callback, this);
    if (!handle_) {
        error_ = "the configuration is not a JSON object";
        return;
    }
    // The handle's first member is the bus; a member of our own can wait for the others' queues.
    void *bus = *static_cast<void **>(handle_);
    member_ = quillon_node_new(bus, "vantelTool", nullptr, nullptr, nullptr);
    settle();
}

Session::~Session()
{
    if (member_) quillon_node_delete(member_);
    vantelDelete(handle_);
    vantelRelease();
}

char *Session::callback(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    Session *session = static_cast<Session *>(user);
    const std::string text{data ? static_cast<const char *>(data) : "", data ? length : 0};
    session->observe(event, type, text);
    // Two of the library's threads deliver events.
    std::lock_guard locked{session->sinkMutex_};
    session->sink_(event, type, text);
    return nullptr;
}

void Session::observe(int32_t event, int32_t type, const std::string &text)
{
    if (type != VANTEL_TYPE_JSON) return;
    Json data = jsonParse(text.c_str());
    bool speaks = false;
    {
        std::lock_guard locked{mutex_};
        switch (event) {
        case VANTEL_EVENT_STATUS:
            status_ = textOf(jsonString(data.get(), "status"));
            if (status_ == "listening") ++dialogs_;
            break;
        case VANTEL_EVENT_DM_OUTPUT:
            speaks = !textOf(jsonString(jsonMember(data.get(), "dm"), "nlg")).empty();
            break;
        case VANTEL_EVENT_ERROR:
            if (isFatal(jsonInt(data.get(), "errId", 0))) hasFailed_ = true;
            break;
        default:
            break;
        }
    }
    changed_.notify_all();
    // The tool shows a reply's speech instead of playing it: its playback ends at once.
    if (speaks) vantelNotifyTTSEnd(handle_, nullptr);
}

// Returns once every node has handled what it was sent: a call is answered behind earlier messages.
void Session::settle()
{
    for (const char *path : {"/localVad/settle", "/localProcessor/settle", "/localDms/settle",
                             "/localProcessor/settle"}) {
        quillon_call(member_, path, nullptr, 0);
    }
}

void Session::startDialog()
{
    vantelStartDialog(handle_);
    settle();
}

void Session::stopDialog()
{
    vantelStopDialog(handle_);
    settle();
}

void Session::feed(const int16_t *samples, size_t count)
{
    vantelFeedData(handle_, samples, static_cast<int32_t>(count * sizeof *samples));
    settle();
}

std::string Session::status() const
{
    std::lock_guard locked{mutex_};
    return status_;
}

bool Session::waitForChange(const std::string &status, std::chrono::milliseconds limit)
{
    std::unique_lock locked{mutex_};
    return changed_.wait_for(locked, limit, [&] { return status_ != status; });
}

int32_t Session::dialogs() const
{
    std::lock_guard locked{mutex_};
    return dialogs_;
}

bool Session::hasFailed() const
{
    std::lock_guard locked{mutex_};
    return hasFailed_;
}

} // namespace vantel::app
