// The DMS node: its record and loop.
#include "src/dms/dms.h"

#include "src/dms/dms_record.h"

#include <new>

namespace vantel::dms
{
namespace
{

void runDms(void *argument)
{
    withoutThrowing(kDmsLog, [record = static_cast<DmsRecord *>(argument)] {
        runNodeLoop(record, kDmsNode, [record] { publishHeldErrors(record->node, &record->held); });
    });
}

} // namespace

DmsRecord *dmsNew(void *bus, const char *configuration, Instance *instance)
{
    try {
        auto record = std::make_unique<DmsRecord>();
        record->bus = bus;
        record->instance = instance;
        // The recogniser keeps the record's address, which stays the same.
        dmsConfigure(record.get(), configuration);
        return record.release();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

int32_t dmsStart(DmsRecord *record)
{
    return startNodeLoop(record, "sbcp_dms", runDms);
}

int32_t dmsStop(DmsRecord *record)
{
    if (record) stopNodeLoop(record);
    return 0;
}

int32_t _dmsDelete(DmsRecord *record)
{
    if (!record) return 0;
    DMS_LOG(kInfo, "  %s onDelete\n", kDmsTag);
    record->state = DmsState::created;
    delete record;
    return 0;
}

} // namespace vantel::dms
