// Topics that are published here: between the nodes of an instance, and to other members of the
// bus.
#pragma once

namespace vantel::topics
{

// Requests of the host, published by the agent.
constexpr char kAsrCtrl[] = "api.localAgent.asrCtrl";
constexpr char kCustomDataBegin[] = "api.localAgent.customDataBegin";
constexpr char kCustomDataEnd[] = "api.localAgent.customDataEnd";
constexpr char kDialogCtrl[] = "api.localAgent.dialogCtrl";
constexpr char kExtendspCtrl[] = "api.localAgent.extendspCtrl";
constexpr char kFaceCtrl[] = "api.localAgent.faceCtrl";
constexpr char kInputText[] = "api.localAgent.inputText";
constexpr char kOperateOauth[] = "api.localAgent.operateOauth";
constexpr char kOperateVocabs[] = "api.localAgent.operaeVocabs";
constexpr char kSetContextSync[] = "api.localAgent.setContextSync";
constexpr char kSetCustomAudio[] = "api.localAgent.setCustomAudio";
constexpr char kSetParams[] = "api.localAgent.setParams";
constexpr char kSetWakeupWords[] = "api.localAgent.setWakeupWords";
constexpr char kSetting[] = "api.localAgent.setting";
constexpr char kSkillSettings[] = "api.localAgent.skillSettings";
constexpr char kSpeak[] = "api.localAgent.speak";
constexpr char kSystemSettings[] = "api.localAgent.systemSettings";
constexpr char kTriggerIntent[] = "api.localAgent.triggerIntent";
constexpr char kVprRegister[] = "api.localAgent.VprRegister";
constexpr char kVprUnregister[] = "api.localAgent.VprUnregister";
constexpr char kVprVerify[] = "api.localAgent.VprVerify";
constexpr char kTtsCustomData[] = "api.localTts.customData";

// Events between the nodes of an instance.
constexpr char kAgentExit[] = "sys.localAgent.exit";
constexpr char kCancelOneshotAudio[] = "sys.localProcessor.cancelOneshotAudio";
constexpr char kContextSync[] = "sys.context.sync";
constexpr char kDmsCancel[] = "sys.localDms.cancel";
constexpr char kDmsReset[] = "sys.localDms.reset";
constexpr char kError[] = "sys.vantel.error";
constexpr char kFaceImage[] = "sys.localFace.image";
constexpr char kLocalAsrResult[] = "sys.localAsr.result";
constexpr char kLocalDmResult[] = "sys.localDm.result";
constexpr char kNativeResponse[] = "sys.localProcessor.nativeResponse";
constexpr char kPlayerWait[] = "sys.localPlayer.wait";
constexpr char kProcessorNetStatus[] = "sys.localProcessor.netStatus";
constexpr char kRecorderPcm[] = "sys.localRecorder.pcm";
constexpr char kSnrCalculation[] = "sys.snr.calculation";
constexpr char kSnrResult[] = "sys.snr.result";
constexpr char kSyncDmTimeoutAsrMaxText[] = "sys.context.syncDmTimeoutAsrMaxText";
constexpr char kTimerCtrl[] = "sys.localProcessor.TimerCtrl";
constexpr char kVadBegin[] = "sys.localVad.begin";
constexpr char kVadControl[] = "sys.localVad.ctrl";
constexpr char kVadEnd[] = "sys.localVad.end";
constexpr char kVadPcm[] = "sys.localVad.pcm";
constexpr char kWakeupResult[] = "sys.localWakeup.result";

// Published by the processor, which hears them again.
constexpr char kAsrResult[] = "sys.asr.result";
constexpr char kCommandApi[] = "sys.localDms.commandApi";
constexpr char kDmsOutput[] = "sys.dms.output";
constexpr char kPlayerCtrl[] = "sys.localPlayer.ctrl";
constexpr char kRecorderCtrl[] = "sys.localRecorder.ctrl";
constexpr char kTtsBegin[] = "sys.localTts.begin";
constexpr char kTtsEnd[] = "sys.localTts.end";
constexpr char kTtsPcm[] = "sys.localTts.pcm";

} // namespace vantel::topics
