// The status of the dialog, its reports and the timers that go with it.
#include "src/processor/processorRecord.h"
#include "tools/json.h"

namespace vantel::processor
{
namespace
{

const char *statusName(DialogStatus status)
{
    switch (status) {
    case DialogStatus::silence:
        return "silence";
    case DialogStatus::listening:
        return "listening";
    case DialogStatus::understanding:
        return "understanding";
    case DialogStatus::speaking:
        return "speaking";
    }
    return nullptr;
}

// What a status owns: silence ends the session for good after a while, understanding waits for a
// reply. The timers of the status before are cancelled by now.
void enterStatus(ProcessorRecord *record)
{
    switch (record->status) {
    case DialogStatus::silence:
        dropSession(record);
        setTimer(record, Timer::cancelDialog);
        return;
    case DialogStatus::understanding:
        // Whatever was on its way from a turn before has come by now.
        if (!hasFlag(record, kListenRequested)) record->listenedText.reset();
        setTimer(record, Timer::dm);
        return;
    case DialogStatus::listening:
    case DialogStatus::speaking:
        return;
    }
}

} // namespace

void _updateDmsStatus(ProcessorRecord *record, DialogStatus status)
{
    killTimer(record, Timer::dm);
    killTimer(record, Timer::cancelDialog);
    record->status = status;
    Json report{cJSON_CreateObject()};
    if (!report) {
        PROCESSOR_LOG(kWarning, "  %s create json object failed\n", kProcessorTag);
        return;
    }
    enterStatus(record);
    cJSON_AddStringToObject(report.get(), "status", statusName(status));
    const HeapText text = jsonPrint(report.get());
    publishText(record->node, "sys.vantel.status", text.get());
    deliverText(record, Delivery::status, text.get());
}

void changeStatus(ProcessorRecord *record, DialogStatus status)
{
    if (record->status != status) _updateDmsStatus(record, status);
}

} // namespace vantel::processor
