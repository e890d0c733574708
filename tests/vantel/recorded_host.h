// A host whose library runs over the recording bus and the scripted engine.
#pragma once

#include "include/vantel/vantel.h"
#include "src/vantel/instance.h"
#include "tests/support/scripted_engine.h"
#include "tests/support/system.h"
#include "tests/vantel/recording_bus.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

class RecordedHost : public testing::Test
{
protected:
    using Lines = std::vector<std::string>;

    RecordedHost() : folder(support::freshFolder())
    {
        recording::reset();
        scripted::reset();
    }
    ~RecordedHost() override
    {
        vantelDelete(handle);
        vantelRelease();
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    std::string logConfiguration() const
    {
        return R"({"level":1,"logDirPath":")" + folder + R"("})";
    }

    // An instance, once the library is initialised with a log below the folder.
    void start(const std::string &params)
    {
        vantelDelete(handle);
        ASSERT_EQ(vantelInit(logConfiguration().c_str()), 0);
        handle = vantelNew(params.c_str(), nullptr, nullptr);
        ASSERT_TRUE(handle);
        forget();
    }

    // Forgets publications and log lines so far.
    void forget()
    {
        recording::forgetPublished();
        logStart = support::readFile(folder + "/cache/log/vantel.log").size();
    }

    Lines log(const std::string &containing = "") const
    {
        return support::logLines(folder, containing, logStart);
    }

    std::string folder;
    size_t logStart = 0;
    void *handle = nullptr;
};
