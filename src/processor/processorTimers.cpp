// Every timer of the dialog: one table of their times and of what happens when they expire.
#include "src/agent/error_report.h"
#include "src/processor/processorRecord.h"
#include "tools/json.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vantel::processor
{
namespace
{

void dmExpired(ProcessorRecord *record)
{
    record->dmTimerId = kNoTimer;
    publishError(record->node, hasFlag(record, kAsrResConfigured) ? VANTEL_ERROR_CLOUD_ASR_TIMEOUT
                                                                  : VANTEL_ERROR_DM_TIMEOUT);
    setFlag(record, kListenRequested, false);
}

void skillExpired(ProcessorRecord *record)
{
    record->dmTimerId = kNoTimer;
    publishError(record->node, VANTEL_ERROR_SKILL_TIMEOUT);
}

// Nobody spoke behind the wake word: the held result becomes an ordinary wakeup, which the host may
// replace.
void interpretHeldWakeup(ProcessorRecord *record)
{
    HeapText held = std::move(record->oneshotText);
    const Json wakeup = jsonParse(held.get());
    HeapText answer;
    if (jsonMember(wakeup.get(), "type")) {
        // In this mode the host has spoken the greeting already.
        if (record->greetImmediate == 1 && jsonMember(wakeup.get(), "greeting")) {
            cJSON_DeleteItemFromObject(wakeup.get(), "greeting");
            held = jsonPrintFormatted(wakeup.get());
        }
        answer = deliverText(record, Delivery::oneshot, held.get());
    }
    _consoleParseEvent(record, answer ? answer.get() : held.get(), EventKind::wakeup);
}

void oneshotExpired(ProcessorRecord *record)
{
    record->oneshotTimerId = kNoTimer;
    if (record->oneshotText) interpretHeldWakeup(record);
    publishText(record->node, topics::kCancelOneshotAudio, nullptr);
}

void cancelDialogExpired(ProcessorRecord *record)
{
    PROCESSOR_LOG(kVerbose, "  %s finish cancel dilaog timerId %d\n", kProcessorTag,
                  record->cancelDialogTimerId);
    _consoleDmsReset(record, nullptr);
    _consoleVadStop(record);
    record->cancelDialogTimerId = kNoTimer;
    publishTimerCtrl(record, kOperationStop);
}

void keepAliveExpired(ProcessorRecord *record)
{
    PROCESSOR_LOG(kVerbose, "  %s finish keepAlive timerId %d\n", kProcessorTag,
                  record->keepAliveTimerId);
    _consoleDmsReset(record, nullptr);
    _consoleVadStop(record);
    record->keepAliveTimerId = kNoTimer;
    changeStatus(record, DialogStatus::silence);
    publishTimerCtrl(record, kOperationStop);
}

void checkValidDmExpired(ProcessorRecord *record)
{
    deliverText(record, Delivery::checkValidDm, R"({"reason":"not dm output"})");
    record->checkValidDmTimerId = kNoTimer;
}

struct TimerRow {
    Timer timer;
    int32_t tag; // one bit a kind, as the bus hands it back
    int32_t ProcessorRecord::*id;
    int32_t fixedMs; // 0: the record's duration
    int32_t ProcessorRecord::*durationMs;
    void (*expired)(ProcessorRecord *record);
    const char *setLabel; // hosts read these, spelling included
    const char *killLabel;
};

using Record = ProcessorRecord;

constexpr TimerRow kTimers[] = {
    {Timer::dm, 1, &Record::dmTimerId, 0, &Record::dmTimeOut, dmExpired, "timerId", "timerId"},
    {Timer::skill, 2, &Record::dmTimerId, 10000, nullptr, skillExpired, "skill timerId", "timerId"},
    {Timer::oneshot, 4, &Record::oneshotTimerId, 0, &Record::oneshotTimeout, oneshotExpired,
     "oneshot timerId", "oneshot timerId"},
    {Timer::cancelDialog, 8, &Record::cancelDialogTimerId, 40000, nullptr, cancelDialogExpired,
     "cancel dilaog timerId", "cancel dialog timerId"},
    {Timer::keepAlive, 64, &Record::keepAliveTimerId, 0, &Record::keepAliveTimeout,
     keepAliveExpired, "keepalive timerId", "keepalive timerId"},
    {Timer::checkValidDm, 128, &Record::checkValidDmTimerId, 0, &Record::vadTimeout,
     checkValidDmExpired, "check valid dm timerId", "check valid dm timerId"},
};

constexpr const TimerRow &rowOf(Timer timer)
{
    return kTimers[static_cast<size_t>(timer)];
}

static_assert(isIndexedBy(&TimerRow::timer, kTimers));

void timerHandler(void *user, void *, int32_t tag)
{
    ProcessorRecord *record = static_cast<ProcessorRecord *>(user);
    if (!record) {
        PROCESSOR_LOG(kError, "  %s processor is NULL\n", kProcessorTag);
        return;
    }
    const TimerRow *row = std::ranges::find(kTimers, tag, &TimerRow::tag);
    if (row == std::end(kTimers)) {
        PROCESSOR_LOG(kVerbose, "  %s timer default\n", kProcessorTag);
        return;
    }
    withoutThrowing(kProcessorLog, [&] { row->expired(record); });
}

} // namespace

void setTimer(ProcessorRecord *record, Timer timer)
{
    const TimerRow &row = rowOf(timer);
    const int32_t durationMs = row.durationMs ? record->*row.durationMs : row.fixedMs;
    const int32_t id = quillon_timer_set(record->node, timerHandler, durationMs, row.tag, record);
    record->*row.id = id;
    PROCESSOR_LOG(kDebug, "  %s set %s %d\n", kProcessorTag, row.setLabel, id);
}

void killTimer(ProcessorRecord *record, Timer timer)
{
    if (!isTimerLive(record, timer)) return;
    const TimerRow &row = rowOf(timer);
    const int32_t id = record->*row.id;
    PROCESSOR_LOG(kDebug, "  %s kill %s %d\n", kProcessorTag, row.killLabel, id);
    quillon_timer_kill(record->node, id);
    record->*row.id = kNoTimer;
}

void restartTimer(ProcessorRecord *record, Timer timer)
{
    killTimer(record, timer);
    setTimer(record, timer);
}

bool isTimerLive(const ProcessorRecord *record, Timer timer)
{
    return record->*rowOf(timer).id > 0;
}

void _killAllTimer(ProcessorRecord *record)
{
    killTimer(record, Timer::dm);
    killTimer(record, Timer::oneshot);
    record->oneshotText.reset();
}

} // namespace vantel::processor
