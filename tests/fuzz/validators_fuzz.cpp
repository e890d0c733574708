// The parameters of the host's requests. The first byte chooses the request.
#include "src/agent/agent_record.h"
#include "src/agent/check_params.h"
#include "tests/fuzz/fuzz.h"
#include "tools/json.h"

#include <iterator>

using namespace vantel;

namespace
{

constexpr int32_t (*kValidators[])(AgentRecord *, const char *) = {
    checkParamsSetWakeupWords, checkParamsEvaluateWakeupWords,
    checkParamsAgentInputText, checkParamsTriggerIntent,
    checkParamsSpeak,          checkParamsSetCustomAudio,
    checkParamsSetParams,      checkParamsOperateVocabs,
    checkParamsSystemSettings, checkParamsSkillSettings,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) return 0;
    AgentRecord agent; // on no bus: what it reports is refused
    const std::string params{reinterpret_cast<const char *>(data) + 1, size - 1};
    const int32_t result = kValidators[data[0] % std::size(kValidators)](&agent, params.c_str());
    // What is passed on is JSON that the receivers can read.
    fuzz::require(result == -1 || (result == 0 && jsonParse(params.c_str())));
    return 0;
}
