// The decoder library's faults as results.
//
// On some faults the library means to end the process. Inside a guarded call such a fault is logged
// and the call returns false instead; what the library was working on is then lost and is not to be
// touched again.
#pragma once

namespace vantel::ostrel
{

// Sends the library's messages to the engine's log; once per process is enough, more do no harm.
void decoderMessagesToLog();

// Runs action(context). Between the two no frame may have anything to destroy.
bool guardedCall(void (*action)(void *context), void *context);

// The same for a lambda, whose own locals are plain values.
template <typename Action> bool guarded(Action &action)
{
    return guardedCall([](void *context) { (*static_cast<Action *>(context))(); }, &action);
}

} // namespace vantel::ostrel
