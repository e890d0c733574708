#include "ostrel/asr/grammar_search.h"

#include "ostrel/library.h"

#define SEARCH_LOG(level, ...) ENGINE_LOG("ostrel/asr/grammar_search", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

struct SearchKind {
    const char *name;
    std::unique_ptr<GrammarSearch> (*open)(const AsrOptions &options,
                                           std::shared_ptr<const Grammar> grammar,
                                           std::string *reason);
};

constexpr SearchKind kSearches[] = {
    {"streaming", streamSearchOpen},
    {"fsg", fsgSearchOpen},
};

} // namespace

std::unique_ptr<GrammarSearch> grammarSearchOpen(const AsrOptions &options,
                                                 const std::shared_ptr<const Grammar> &grammar)
{
    const bool isChosen = options.engine != kAnyEngine;
    bool isKnown = false;
    for (const SearchKind &kind : kSearches) {
        if (isChosen && options.engine != kind.name) continue;
        isKnown = true;
        std::string reason;
        if (auto search = kind.open(options, grammar, &reason)) {
            SEARCH_LOG(kInfo, "  the grammar is recognised by %s\n", kind.name);
            return search;
        }
        SEARCH_LOG(isChosen ? kError : kWarning, "  the grammar is not recognised by %s: %s\n",
                   kind.name, reason.c_str());
    }
    if (!isKnown) SEARCH_LOG(kError, "  there is no \"engine\" %s\n", options.engine.c_str());
    return nullptr;
}

} // namespace vantel::ostrel
