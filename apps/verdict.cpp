#include "apps/verdict.h"

#include <vantel/vantel.h>

namespace vantel::app
{
namespace
{

constexpr const char *kKindNames[] = {"no speech", "no result",  "error",     "no words",
                                      "rejected",  "no command", "recognised"};

std::string shownConfidence(double confidence)
{
    char text[32];
    std::snprintf(text, sizeof text, "confidence %.2f", confidence);
    return text;
}

} // namespace

bool Verdict::become(Kind kind, const std::string &text)
{
    if (kind < kind_) return false;
    if (kind > kind_) {
        texts_.clear();
        confidence_.reset();
    }
    kind_ = kind;
    if (!text.empty()) texts_.push_back(text);
    return true;
}

void Verdict::take(const HostEvent &event, const std::optional<HeardResult> &heard)
{
    if (event.type != VANTEL_TYPE_JSON) return;
    Json data = jsonParse(event.data.c_str());
    if (event.event == VANTEL_EVENT_VAD && jsonInt(data.get(), "status", 0) == 1)
        become(Kind::noResult, "");
    if (event.event == VANTEL_EVENT_ASR && jsonInt(data.get(), "eof", 0) == 1) {
        const char *text = jsonString(data.get(), "text");
        // Only a grammar's result has a meaning.
        const bool hasMeaning = jsonObject(data.get(), "post") != nullptr;
        const cJSON *confidence = jsonMember(data.get(), "conf");
        if (become(hasMeaning ? Kind::recognised : Kind::noCommand, text ? text : "") && confidence)
            confidence_ = confidence->valuedouble;
    }
    if (event.event == VANTEL_EVENT_ERROR) {
        const int id = jsonInt(data.get(), "errId", 0);
        const char *message = jsonString(data.get(), "errMsg");
        if (id == VANTEL_ERROR_LOCAL_ASR_CONFIDENCE) {
            if (become(Kind::rejected, heard ? heard->text : "") && heard)
                confidence_ = heard->confidence;
        } else if (id == VANTEL_ERROR_LOCAL_ASR_NULL) {
            become(Kind::noWords, "");
        } else {
            become(Kind::error, "");
            error_ = std::to_string(id) + " " + (message ? message : "");
        }
    }
}

std::string Verdict::text() const
{
    std::string text = kKindNames[static_cast<int>(kind_)];
    if (kind_ == Kind::noResult) return "speech, but no result";
    if (kind_ == Kind::noWords) return "speech, but no words";
    if (kind_ == Kind::error) return "error: " + error_;
    if (kind_ == Kind::rejected)
        return text + ": " +
               (confidence_ ? shownConfidence(*confidence_) : "confidence below the threshold");
    const char *separator = ": ";
    for (const std::string &said : texts_) {
        text += separator + ("\"" + said + "\"");
        separator = ", ";
    }
    return text;
}

Json Verdict::json() const
{
    Json data{cJSON_CreateObject()};
    cJSON_AddStringToObject(data.get(), "verdict", kKindNames[static_cast<int>(kind_)]);
    if (!texts_.empty()) {
        cJSON *texts = cJSON_AddArrayToObject(data.get(), "texts");
        for (const std::string &said : texts_)
            cJSON_AddItemToArray(texts, cJSON_CreateString(said.c_str()));
    }
    if (confidence_) cJSON_AddNumberToObject(data.get(), "confidence", *confidence_);
    if (kind_ == Kind::error) cJSON_AddStringToObject(data.get(), "error", error_.c_str());
    return data;
}

} // namespace vantel::app
