// The local recogniser and the grammar that is compiled for it.
#include "src/dms/dms_record.h"

namespace vantel::dms
{
namespace
{

enum class Grammar { made, missing, notCompiled };

int32_t compileGrammar(void *grammar, const char *text)
{
    int32_t result = ostrel_gram_start(grammar, text);
    LDM_LOG(kInfo, "  %s gram start, ret: %d, params: %s\n", kLdmTag, result, text);
    int32_t deleted = ostrel_gram_delete(grammar);
    LDM_LOG(kInfo, "  %s gram delete, dret: %d\n", kLdmTag, deleted);
    return result;
}

Grammar makeGrammar(DmsRecord *record, const char *text)
{
    if (!text) {
        LDM_LOG(kWarning, "  %s, gram not gramcfg\n", kLdmTag);
        return Grammar::missing;
    }
    void *grammar = ostrel_gram_new(text);
    LDM_LOG(kInfo, "  %s, gram new gramcfg: %s, ret: %d\n", kLdmTag, text, grammar ? 0 : -1);
    if (!grammar) {
        publishOrHoldError(record->node, &record->held, VANTEL_ERROR_GRAM_CORE);
        return Grammar::missing;
    }
    return compileGrammar(grammar, text) == 0 ? Grammar::made : Grammar::notCompiled;
}

void makeRecogniser(DmsRecord *record, const char *text, Grammar grammar)
{
    if (!text) {
        LDM_LOG(kWarning, "  %s, asr not asrcfg\n", kLdmTag);
        return;
    }
    LDM_LOG(kInfo, "  %s, asr new asrcfg: %s\n", kLdmTag, text);
    record->recogniser.reset(ostrel_asr_new(text, asrHandler, record));
    if (record->recogniser) return;
    if (grammar != Grammar::made)
        LDM_LOG(kError, "  %s, asr new asrcfg: %s, ret: %d\n", kLdmTag, text, -1);
    publishOrHoldError(record->node, &record->held, VANTEL_ERROR_ASR_CORE);
}

} // namespace

int32_t ldmNew(DmsRecord *record, const char *grammarText, const char *recogniserText)
{
    const Grammar grammar = makeGrammar(record, grammarText);
    if (grammar == Grammar::notCompiled) return -1;
    makeRecogniser(record, recogniserText, grammar);
    return grammar == Grammar::made || record->recogniser ? 0 : -1;
}

int32_t ldmStart(DmsRecord *record, const char *startText)
{
    LDM_LOG(kInfo, "  %s asr start begin, params: %s\n", kLdmTag, orNull(startText));
    void *recogniser = record->recogniser.get();
    int32_t result = recogniser ? ostrel_asr_start(recogniser, startText) : 0;
    LDM_LOG(kInfo, "  %s asr start end, ret: %d\n", kLdmTag, result);
    return result;
}

int32_t ldmStop(DmsRecord *record)
{
    void *recogniser = record->recogniser.get();
    int32_t result = recogniser ? ostrel_asr_stop(recogniser) : 0;
    LDM_LOG(kInfo, "  %s asr stop, ret: %d\n", kLdmTag, result);
    return result;
}

int32_t ldmReset(DmsRecord *record)
{
    void *recogniser = record->recogniser.get();
    int32_t result = recogniser ? ostrel_asr_cancel(recogniser) : 0;
    LDM_LOG(kInfo, "  %s asr reset, ret: %d\n", kLdmTag, result);
    return result;
}

int32_t ldmFeed(DmsRecord *record, const void *pcm, int32_t bytes)
{
    void *recogniser = record->recogniser.get();
    record->isFeeding = true;
    int32_t result = recogniser ? ostrel_asr_feed(recogniser, pcm, bytes) : 0;
    record->isFeeding = false;
    if (result == OSTREL_LIMIT_EXCEEDED) {
        LDM_LOG(kError, "  %s asr feed, %d\n", kLdmTag, result);
        publishError(record->node, VANTEL_ERROR_LOCAL_ASR_LIMIT);
    } else {
        LDM_LOG(kDebug, "  %s asr feed, %d\n", kLdmTag, result);
    }
    return result;
}

int32_t ldmExit(DmsRecord *record)
{
    if (!record || !record->recogniser) return 0;
    int32_t result = ostrel_asr_delete(record->recogniser.release());
    LDM_LOG(kInfo, "  %s asr delete, ret: %d\n", kLdmTag, result);
    return result;
}

} // namespace vantel::dms
