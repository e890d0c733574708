/* The message bus: named nodes that publish topics, call each other's paths and own timers.
 *
 * This is the contract that libvantel relies on; any library with these functions can take the
 * place of libquillon. Texts are zero-terminated UTF-8. Handles are opaque. Functions that return
 * int32_t give 0 for success and -1 for failure unless they say otherwise; a null bus or node is
 * refused. Unless a function says otherwise it may be called from any thread and from inside any
 * callback.
 */
#ifndef VANTEL_CONTRACTS_QUILLON_H
#define VANTEL_CONTRACTS_QUILLON_H

#include "contracts/export.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A message on a subscribed topic. `data` belongs to the bus, is valid during the call only, and is
 * followed by a zero byte that `length` (bytes) does not count; it may be null with length 0.
 * The result is ignored. Runs on the thread inside quillon_node_run, like the two below. */
typedef int32_t (*quillon_onmessage)(void *user, void *node, const char *topic, const void *data,
                                     uint32_t length);

/* A call of `path` with a text that may be null. Returns null or a malloc'ed text, which passes to
 * the bus. */
typedef char *(*quillon_oncall)(void *user, void *node, const char *path, const char *data);

/* A timer that expired; it has ended and may be set again from here. */
typedef void (*quillon_timer)(void *user, void *node, int32_t tag);

/* Makes a bus from a JSON object ("level", "mode", "size", "path", "timerClickMs", "homePath"; all
 * optional). Null when the text is null or not JSON, or memory runs out. */
CONTRACT_API void *quillon_bus_new(const char *configuration);

/* Frees the bus; comes last, after its nodes are deleted and its server loop has returned. */
CONTRACT_API int32_t quillon_bus_delete(void *bus);

/* Blocks in the bus's server loop until quillon_server_stop; returns at once when the stop came
 * first. */
CONTRACT_API int32_t quillon_server_run(void *bus);
CONTRACT_API int32_t quillon_server_stop(void *bus);

/* Adds a node to the bus. `name` is unique on its bus and is the first part of the node's paths:
 * "/name/verb". Callbacks may be null; `user` is handed to them. */
CONTRACT_API void *quillon_node_new(void *bus, const char *name, quillon_onmessage onmessage,
                                    quillon_oncall oncall, void *user);

/* Subscribes the node to every topic of a JSON array of strings, in addition to earlier ones. */
CONTRACT_API int32_t quillon_node_subscribe(void *node, const char *topicsJsonArray);

/* Blocks, running the node's messages, calls and timers one by one on this thread, until
 * quillon_node_stop; returns at once when the stop came first. */
CONTRACT_API int32_t quillon_node_run(void *node);
CONTRACT_API int32_t quillon_node_stop(void *node);

/* Frees the node; after its loop has returned. */
CONTRACT_API int32_t quillon_node_delete(void *node);

/* Publishes a copy of `length` bytes to every subscriber of `topic`, the publisher included.
 * `data` may be null when length is 0. */
CONTRACT_API int32_t quillon_publish(void *node, const char *topic, const void *data,
                                     uint32_t length);

/* Calls `path` and waits for its reply, a text that stays the bus's and is valid until the calling
 * node's next call or its deletion. Null when nobody answers. `data` may be null with length 0. */
CONTRACT_API const char *quillon_call(void *node, const char *path, const char *data,
                                      uint32_t length);

/* Starts a one-shot timer; returns its id, above 0, or -1. */
CONTRACT_API int32_t quillon_timer_set(void *node, quillon_timer callback, int32_t milliseconds,
                                       int32_t tag, void *user);

/* Cancels a pending timer: it will not call back any more. */
CONTRACT_API int32_t quillon_timer_kill(void *node, int32_t id);

#ifdef __cplusplus
}
#endif

#endif
