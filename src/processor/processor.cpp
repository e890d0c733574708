// The processor node: its record and loop. The file to read first.
#include "src/processor/processor.h"

#include "src/processor/processorRecord.h"

#include <memory>
#include <new>

namespace vantel::processor
{
namespace
{

void processorRun(void *argument)
{
    withoutThrowing(kProcessorLog, [record = static_cast<ProcessorRecord *>(argument)] {
        runNodeLoop(record, kProcessorNode);
    });
}

} // namespace

ProcessorRecord *processorNew(void *bus, const char *configuration, Instance *instance)
{
    try {
        auto record = std::make_unique<ProcessorRecord>();
        record->bus = bus;
        record->instance = instance;
        readConfiguration(record.get(), configuration);
        return record.release();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

int32_t processorStart(ProcessorRecord *record)
{
    return startNodeLoop(record, "sbcp_processor", processorRun);
}

int32_t processorStop(ProcessorRecord *record)
{
    if (record) stopNodeLoop(record);
    return 0;
}

int32_t processorDelete(ProcessorRecord *record)
{
    delete record;
    return 0;
}

} // namespace vantel::processor
