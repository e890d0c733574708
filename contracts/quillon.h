/** @file
 * The message bus: named nodes that publish topics, call each other's paths and own timers.
 *
 * This is the contract that libvantel relies on; any library with these functions can take the
 * place of libquillon. Texts are zero-terminated UTF-8. Handles are opaque. Functions that return
 * int32_t give 0 for success and -1 for failure unless they say otherwise; a null bus or node is
 * refused, and so are null names, paths and topics, null data with a length, and lengths of 2 GiB
 * and more. What is refused leaves a line in the bus's log. Unless a function says otherwise it may
 * be called from any thread and from inside any callback.
 *
 * Order. What one thread publishes reaches each subscriber in that order, and a call is answered
 * behind what its caller published before it.
 */
#ifndef VANTEL_CONTRACTS_QUILLON_H
#define VANTEL_CONTRACTS_QUILLON_H

#include "contracts/export.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A message on a subscribed topic. `data` belongs to the bus, is valid during the call only, and
 * is followed by a zero byte that `length` (bytes) does not count; it may be null with length 0.
 * The result is ignored. Runs on the thread inside quillon_node_run, like the two below. */
typedef int32_t (*quillon_onmessage)(void *user, void *node, const char *topic, const void *data,
                                     uint32_t length);

/** A call of `path` with a text that may be null. Returns null or a malloc'ed text, which passes to
 * the bus. */
typedef char *(*quillon_oncall)(void *user, void *node, const char *path, const char *data);

/** A timer that expired; it has ended and may be set again from here. */
typedef void (*quillon_timer)(void *user, void *node, int32_t tag);

/** Makes a bus from a JSON object, all of whose members are optional:
 * "path"          file of the bus's log; without one that can be opened there is no log, because a
 *                 library does not print. Buses of one process that give the same text share the
 *                 file: "mode" and "size" of the first hold until the last of them is freed.
 * "level"         lowest level that the log shows: 1 verbose to 5 error, default 2.
 * "mode"          0 starts the file afresh, anything else appends; default 0.
 * "size"          megabytes at which the file starts afresh, default 20; 0: no limit.
 * "timerClickMs"  how late a timer may be so that several share a wake-up, default 3; 1 or less:
 *                 none waits for another.
 * "homePath"      not read.
 * Null when the text is null or not a JSON object, or memory runs out. */
CONTRACT_API void *quillon_bus_new(const char *configuration);

/** Frees the bus; comes last, after its nodes are deleted and its server loop has returned. If some
 * are left they are stopped, and the memory goes with the last of them: their handles stay good
 * until they are deleted, the bus's own handle ends here. */
CONTRACT_API int32_t quillon_bus_delete(void *bus);

/** Blocks in the bus's server loop until quillon_server_stop; returns at once when the stop came
 * first. */
CONTRACT_API int32_t quillon_server_run(void *bus);
/** Ends the server loop; any thread, before or after it has begun. */
CONTRACT_API int32_t quillon_server_stop(void *bus);

/** Adds a node to the bus. `name` is unique on its bus, without a slash, and is the first part of
 * the node's paths: "/name/verb". Callbacks may be null (messages are dropped then, calls get
 * null); `user` is handed to them. Null when the name is refused or memory runs out. */
CONTRACT_API void *quillon_node_new(void *bus, const char *name, quillon_onmessage onmessage,
                                    quillon_oncall oncall, void *user);

/** Subscribes the node to every topic of a JSON array of strings, in addition to earlier ones; to
 * one topic once at most. All of them, or none with -1 when the text is anything else or one of the
 * strings is empty. Names are compared whole. */
CONTRACT_API int32_t quillon_node_subscribe(void *node, const char *topicsJsonArray);

/** Blocks, running the node's messages, calls and timers one by one on this thread, until
 * quillon_node_stop; returns at once when the stop came first. Messages and calls that came before
 * it are kept. -1 at once when the node runs already. */
CONTRACT_API int32_t quillon_node_run(void *node);

/** Ends the node's loop for good, after the callback that is running. Messages left in its queue
 * are dropped. Callers that wait for the node get null, but for one whose call the stopping thread
 * is answering right now; and so does the node itself where it waits in a call. A stopped node
 * hears and answers nothing and makes no calls, but may still publish. */
CONTRACT_API int32_t quillon_node_stop(void *node);

/** Frees the node; comes after its loop has returned, and after every other use of its handle.
 * Others may be publishing to it or calling it meanwhile. A node that still runs is stopped first,
 * and its loop waited for; from inside one of its own callbacks the node is freed when its loop
 * returns. */
CONTRACT_API int32_t quillon_node_delete(void *node);

/** Publishes a copy of `length` bytes to every subscriber of `topic`, the publisher included. Never
 * waits. `data` may be null when length is 0, and arrives as null then. 0 also when there is no
 * subscriber; -1 when memory runs out, and then nobody hears it. */
CONTRACT_API int32_t quillon_publish(void *node, const char *topic, const void *data,
                                     uint32_t length);

/** Calls `path` and waits for its reply, a text that stays the bus's. It is the calling thread's:
 * valid until that thread's next quillon_call, on whatever node, or its end; calls of other threads
 * on the same handle do not touch it, nor does the deletion of a node or of the bus. The callee
 * gets a copy of `length` bytes with a zero byte behind them, or null when `data` is null. A node
 * that does not run yet is waited for.
 *
 * Null when the callee answers null, and at once when nobody can ever answer: no such node, a
 * stopped or deleted one, the caller itself, or a node that waits in calls of its own, directly or
 * through others, for the node whose callback makes this call. A thread from outside may call on a
 * node's handle while the node's loop goes on answering. */
CONTRACT_API const char *quillon_call(void *node, const char *path, const char *data,
                                      uint32_t length);

/** Starts a one-shot timer of 0 or more milliseconds on a monotonic clock; `callback`, `tag` and
 * `user` are what it calls back. Timers of a node expire in the order of their deadlines, never
 * early. Returns the timer's id, above 0 and of no other live timer of the node; -1 when the
 * arguments are refused, the node is stopped or memory runs out. */
CONTRACT_API int32_t quillon_timer_set(void *node, quillon_timer callback, int32_t milliseconds,
                                       int32_t tag, void *user);

/** Cancels a pending timer, also one that is due: it will not call back any more. -1 when there is
 * no such timer (any more). On another thread than the node's, a callback may be running just now.
 */
CONTRACT_API int32_t quillon_timer_kill(void *node, int32_t id);

#ifdef __cplusplus
}
#endif

#endif
