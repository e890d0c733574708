#include "apps/compile_grammar.h"

#include "contracts/ostrel.h"

namespace vantel::app
{

int32_t compileGrammar(const cJSON *configuration)
{
    HeapText text = jsonPrint(configuration);
    void *grammar = ostrel_gram_new(text.get());
    if (!grammar) return -1;
    const int32_t result = ostrel_gram_start(grammar, text.get());
    ostrel_gram_delete(grammar);
    return result;
}

} // namespace vantel::app
