#include "contracts/quillon.h"
#include "quillon/clock.h"

// Placeholder until the bus lands: there is no bus to be had.
void *quillon_bus_new(const char *) { return nullptr; }
int32_t quillon_bus_delete(void *) { return -1; }
int32_t quillon_server_run(void *) { return -1; }
int32_t quillon_server_stop(void *) { return -1; }
void *quillon_node_new(void *, const char *, quillon_onmessage, quillon_oncall, void *)
{
    return nullptr;
}
int32_t quillon_node_subscribe(void *, const char *) { return -1; }
int32_t quillon_node_run(void *) { return -1; }
int32_t quillon_node_stop(void *) { return -1; }
int32_t quillon_node_delete(void *) { return -1; }
int32_t quillon_publish(void *, const char *, const void *, uint32_t) { return -1; }
const char *quillon_call(void *, const char *, const char *, uint32_t) { return nullptr; }
int32_t quillon_timer_set(void *, quillon_timer, int32_t, int32_t, void *) { return -1; }
int32_t quillon_timer_kill(void *, int32_t) { return -1; }
int32_t quillon_clock_advance(void *, int32_t) { return -1; }
