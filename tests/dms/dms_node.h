// The DMS node alone on a bus, over the scripted engine, with an outside member that hears what it
// publishes.
#pragma once

#include "contracts/quillon.h"
#include "src/dms/dms.h"
#include "tests/support/scripted_engine.h"
#include "tests/support/system.h"
#include "tools/log.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using Texts = std::vector<std::string>;

class DmsNode : public testing::Test
{
protected:
    DmsNode()
    {
        scripted::reset();
        std::filesystem::create_directories(folder_ + "/cache/log");
        vantel::logInit(1, (folder_ + "/cache/log/vantel.log").c_str(), 0, 0);
        bus_ = quillon_bus_new("{}");
        server_ = std::thread([bus = bus_] { quillon_server_run(bus); });
        observer_ = std::make_unique<support::Member>(
            bus_, "observer",
            Texts{"sys.localAsr.result", "sys.localDm.result", "sys.vantel.error"});
    }

    ~DmsNode() override
    {
        end();
        observer_.reset();
        quillon_server_stop(bus_);
        server_.join();
        quillon_bus_delete(bus_);
        EXPECT_EQ(scripted::liveHandles(), 0);
        vantel::logRelease();
        std::filesystem::remove_all(folder_);
    }

    // Makes and runs the node; null is no configuration at all.
    void begin(const char *configuration)
    {
        record_ = vantel::dmsNew(bus_, configuration, nullptr);
        ASSERT_NE(record_, nullptr);
        ASSERT_EQ(vantel::dmsStart(record_), 0);
    }

    void end()
    {
        if (!record_) return;
        vantel::dmsStop(record_);
        vantel::ldmExit(record_);
        vantel::_dmsDelete(record_);
        record_ = nullptr;
    }

    std::string call(const std::string &verb) { return observer_->call("/localDms/" + verb); }

    void call(const std::string &verb, const std::string &data)
    {
        observer_->call("/localDms/" + verb, data);
    }

    void publish(const std::string &topic, const std::string &data)
    {
        observer_->publish(topic, data);
    }

    // "topic payload" of all that was published since the last look.
    Texts published()
    {
        settle();
        Texts texts;
        for (const support::Message &message : observer_->heard())
            texts.push_back(message.topic + " " + message.data);
        observer_->forget();
        return texts;
    }

    // What a turn publishes in which the recogniser gives these results.
    Texts recognise(const Texts &results)
    {
        call("start");
        for (const std::string &result : results)
            scripted::emit(scripted::Part::asr, scripted::Moment::stop, 0, result);
        call("stop");
        return published();
    }

    // The node answers behind all that it was sent; a probe then asks the same of the observer.
    void settle()
    {
        call("settle");
        support::Member{bus_, "probe", {}}.call("/observer/settle");
    }

    Texts log(const std::string &containing) { return support::logLines(folder_, containing); }

    const std::string &folder() const { return folder_; }

private:
    std::string folder_ = support::freshFolder();
    void *bus_ = nullptr;
    std::thread server_;
    std::unique_ptr<support::Member> observer_;
    vantel::DmsRecord *record_ = nullptr;
};
