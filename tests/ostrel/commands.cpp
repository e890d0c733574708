#include "tests/ostrel/commands.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace commands
{

const char *const kVehicle = R"(#JSGF V1.0;
grammar vehicle;
public <move> = go <direction> <distance> (meter | meters)
    {"dm":{"command":{"api":"vehicle.move","param":{"to":"$direction","meters":"$distance"}}}};
public <halt> = (stop | halt) {"dm":{"command":{"api":"vehicle.stop"},"shouldEndSession":"false"}};
<direction> = forward | backward {back};
<distance> = one {1} | two {2} | three {3} | four {4} | five {5} | six {6} | seven {7} |
             eight {8} | nine {9} | ten {10};
)";

const char *const kCards = R"(#JSGF V1.0;
grammar cards;
public <hand> = <card> + | <rank> <rank>;
<card> = <rank> of <suit>;
<suit> = clubs | hearts | diamonds | spades;
<rank> = ace | two | three | four | five | six | seven | eight | nine | ten | jack | queen | king;
)";

std::string grammarText(const std::string &jsgf, const std::string &more)
{
    vantel::Json text{cJSON_CreateString(jsgf.c_str())};
    return "{\"text\":" + std::string{vantel::jsonPrint(text.get()).get()} + more + "}";
}

int32_t compile(const std::string &configuration)
{
    void *handle = ostrel_gram_new(configuration.c_str());
    EXPECT_NE(handle, nullptr);
    int32_t result = ostrel_gram_start(handle, configuration.c_str());
    EXPECT_EQ(ostrel_gram_delete(handle), 0);
    return result;
}

Recogniser::Recogniser(const std::string &configuration)
{
    auto onResult = [](void *user, int32_t kind, const void *data, int32_t length) -> int32_t {
        EXPECT_EQ(kind, 0);
        std::string text{static_cast<const char *>(data), static_cast<size_t>(length)};
        Recogniser *recogniser = static_cast<Recogniser *>(user);
        recogniser->results.push_back(vantel::jsonParse(text.c_str()));
        EXPECT_TRUE(recogniser->results.back()) << text;
        return 0;
    };
    handle = ostrel_asr_new(configuration.c_str(), onResult, this);
}

Recogniser::~Recogniser()
{
    size_t before = results.size();
    if (handle) {
        EXPECT_EQ(ostrel_asr_delete(handle), 0);
    }
    EXPECT_EQ(results.size(), before) << "delete calls back";
}

int32_t Recogniser::feed(const std::string &audio, size_t chunkBytes)
{
    int32_t result = 0;
    for (size_t at = 0; at < audio.size() && result == 0; at += chunkBytes)
        result = ostrel_asr_feed(handle, &audio[at],
                                 static_cast<int32_t>(std::min(chunkBytes, audio.size() - at)));
    return result;
}

const cJSON *Recogniser::recognise(const std::string &audio, const char *startText,
                                   size_t chunkBytes)
{
    results.clear();
    EXPECT_EQ(ostrel_asr_start(handle, startText), 0);
    EXPECT_EQ(feed(audio, chunkBytes), 0);
    EXPECT_EQ(ostrel_asr_stop(handle), 0);
    EXPECT_FALSE(results.empty());
    return results.empty() ? nullptr : results.back().get();
}

std::string rec(const cJSON *result, const char *kind)
{
    const char *text = vantel::jsonString(vantel::jsonObject(result, kind), "rec");
    return text ? text : "";
}

int eof(const cJSON *result, const char *kind)
{
    return vantel::jsonInt(vantel::jsonObject(result, kind), "eof", -1);
}

double conf(const cJSON *result, const char *kind)
{
    const cJSON *number = vantel::jsonMember(vantel::jsonObject(result, kind), "conf");
    return number ? number->valuedouble : 0;
}

std::string sem(const cJSON *result)
{
    const cJSON *post = vantel::jsonObject(vantel::jsonObject(result, "grammar"), "post");
    vantel::HeapText text = vantel::jsonPrint(vantel::jsonObject(post, "sem"));
    return text ? text.get() : "";
}

} // namespace commands
