// Grammars and recognisers for the tests, over the engine's C interface.
#pragma once

#include "tests/ostrel/recordings.h"
#include "tools/json.h"

#include <vector>

namespace commands
{

// A vehicle told where to go, with its command as a tag.
constexpr const char *kVehicle = R"(#JSGF V1.0;
grammar vehicle;
public <move> = go <direction> <distance> (meter | meters)
    {"dm":{"command":{"api":"vehicle.move","param":{"to":"$direction","meters":"$distance"}}}};
public <halt> = (stop | halt) {"dm":{"command":{"api":"vehicle.stop"},"shouldEndSession":"false"}};
<direction> = forward | backward {back};
<distance> = one {1} | two {2} | three {3} | four {4} | five {5} | six {6} | seven {7} |
             eight {8} | nine {9} | ten {10};
)";

// Ranks and suits of playing cards.
constexpr const char *kCards = R"(#JSGF V1.0;
grammar cards;
public <hand> = <card> + | <rank> <rank>;
<card> = <rank> of <suit>;
<suit> = clubs | hearts | diamonds | spades;
<rank> = ace | two | three | four | five | six | seven | eight | nine | ten | jack | queen | king;
)";

// The JSON text of a configuration with the grammar's text; `more` holds further members, beginning
// with a comma.
inline std::string grammarText(const std::string &jsgf, const std::string &more = "")
{
    vantel::Json text{cJSON_CreateString(jsgf.c_str())};
    return "{\"text\":" + std::string{vantel::jsonPrint(text.get()).get()} + more + "}";
}

// What ostrel_gram_start says of the configuration.
inline int32_t compile(const std::string &configuration)
{
    void *handle = ostrel_gram_new(configuration.c_str());
    EXPECT_NE(handle, nullptr);
    int32_t result = ostrel_gram_start(handle, configuration.c_str());
    EXPECT_EQ(ostrel_gram_delete(handle), 0);
    return result;
}

// A recogniser over the engine's C interface, its results in order; no handle when it could not be
// made.
struct Recogniser {
    explicit Recogniser(const std::string &configuration)
        : handle(ostrel_asr_new(configuration.c_str(), onResult, this))
    {
    }
    ~Recogniser()
    {
        size_t before = results.size();
        EXPECT_EQ(ostrel_asr_delete(handle) == 0, handle != nullptr);
        EXPECT_EQ(results.size(), before) << "delete calls back";
    }
    Recogniser(const Recogniser &) = delete;
    Recogniser &operator=(const Recogniser &) = delete;

    int32_t feed(const std::string &audio, size_t chunkBytes = 3200)
    {
        return recordings::feed(ostrel_asr_feed, handle, audio, chunkBytes);
    }
    // One utterance from start to stop; the last result.
    const cJSON *recognise(const std::string &audio, const char *startText = nullptr,
                           size_t chunkBytes = 3200)
    {
        results.clear();
        EXPECT_EQ(ostrel_asr_start(handle, startText), 0);
        EXPECT_EQ(feed(audio, chunkBytes), 0);
        EXPECT_EQ(ostrel_asr_stop(handle), 0);
        EXPECT_FALSE(results.empty());
        return results.empty() ? nullptr : results.back().get();
    }
    static int32_t onResult(void *user, int32_t kind, const void *data, int32_t length)
    {
        EXPECT_EQ(kind, 0);
        std::string text{static_cast<const char *>(data), static_cast<size_t>(length)};
        static_cast<Recogniser *>(user)->results.push_back(vantel::jsonParse(text.c_str()));
        EXPECT_TRUE(static_cast<Recogniser *>(user)->results.back()) << text;
        return 0;
    }

    std::vector<vantel::Json> results;
    void *handle;
};

inline std::string printed(const cJSON *result)
{
    return vantel::jsonPrint(result).get();
}

// Members of a result's "grammar" or "ngram"; "", -1 and 0 where they are missing.
inline std::string rec(const cJSON *result, const char *kind = "grammar")
{
    const char *text = vantel::jsonString(vantel::jsonObject(result, kind), "rec");
    return text ? text : "";
}

inline int eof(const cJSON *result, const char *kind = "grammar")
{
    return vantel::jsonInt(vantel::jsonObject(result, kind), "eof", -1);
}

inline double conf(const cJSON *result)
{
    const cJSON *number = vantel::jsonMember(vantel::jsonObject(result, "grammar"), "conf");
    return number ? number->valuedouble : 0;
}

} // namespace commands
