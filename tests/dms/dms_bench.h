// The DMS node alone.
#pragma once

#include "tests/support/bench.h"

class DmsBench : public Bench
{
protected:
    DmsBench() { initialise(); }
    void begin(const char *configuration) { beginNode(Node::dms, configuration); }
    std::string ask(const std::string &verb, const char *data = nullptr)
    {
        return call("/localDms/" + verb, data);
    }

    // What is published since the last look.
    Lines published()
    {
        const Lines entries = trace();
        spy::record()->trace.clear();
        return entries;
    }

    // What a turn publishes in which the recogniser gives these results.
    Lines recognise(const Lines &results)
    {
        ask("start");
        for (const std::string &result : results)
            scripted::emit("ostrel_asr_stop", 0, result);
        ask("stop");
        return published();
    }
};
