// Grammars and recognisers for the tests, over the engine's C interface.
#pragma once

#include "contracts/ostrel.h"
#include "tools/json.h"

#include <string>
#include <vector>

namespace commands
{

// A vehicle told where to go: go (forward | back...) <number> meters, with its command as a tag.
extern const char *const kVehicle;

// Ranks and suits of playing cards.
extern const char *const kCards;

// The JSON text of a configuration with the grammar's text; `more` holds further members, beginning
// with a comma.
std::string grammarText(const std::string &jsgf, const std::string &more = "");

// What ostrel_gram_start says of the configuration.
int32_t compile(const std::string &configuration);

// A recogniser over the engine's C interface, its results in order; no handle when it could not be
// made.
struct Recogniser {
    explicit Recogniser(const std::string &configuration);
    ~Recogniser();
    Recogniser(const Recogniser &) = delete;
    Recogniser &operator=(const Recogniser &) = delete;

    int32_t feed(const std::string &audio, size_t chunkBytes = 3200);

    // One utterance from start to stop; the last result.
    const cJSON *recognise(const std::string &audio, const char *startText = nullptr,
                           size_t chunkBytes = 3200);

    std::vector<vantel::Json> results;
    void *handle = nullptr;
};

// Members of a result's "grammar" or "ngram"; "", -1 and 0 where they are missing.
std::string rec(const cJSON *result, const char *kind = "grammar");
int eof(const cJSON *result, const char *kind = "grammar");
double conf(const cJSON *result, const char *kind = "grammar");

// "post"."sem" of the grammar result, printed; "" when there is none.
std::string sem(const cJSON *result);

} // namespace commands
