// The DMS node alone.
#pragma once

#include "tests/support/bench.h"

class DmsBench : public Bench
{
protected:
    DmsBench() { initialise(); }
    void begin(const char *configuration) { beginNode(Node::dms, configuration); }

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
        call("/localDms/start");
        for (const std::string &result : results)
            scripted::emit(scripted::Part::asr, scripted::Moment::stop, 0, result);
        call("/localDms/stop");
        return published();
    }
};
