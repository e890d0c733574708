// The way from a node to the host callback.
#include "src/node/instance.h"

namespace vantel
{
namespace
{

// The instance whose callback runs on this thread.
thread_local const Instance *calledBack = nullptr;

class CallingBack
{
public:
    explicit CallingBack(const Instance *instance) : outer_(calledBack) { calledBack = instance; }
    ~CallingBack() { calledBack = outer_; }
    CallingBack(const CallingBack &) = delete;
    CallingBack &operator=(const CallingBack &) = delete;

private:
    const Instance *outer_;
};

} // namespace

HeapText deliver(const Instance *instance, const void *data, uint32_t length, int32_t type,
                 int32_t event)
{
    CallingBack here{instance};
    return HeapText{instance->callback(instance->user, data, length, type, event)};
}

bool isInsideCallback(const Instance *instance)
{
    return calledBack == instance;
}

} // namespace vantel
