#include "tools/log.h"
#include "tools/quenda_mk_thread.h"

#include <gtest/gtest.h>
#include <string>

using namespace vantel;

namespace
{

TEST(PosixThreads, AThreadThatCannotBeMadeLeavesNoHandleAndIsLogged)
{
    logInit(kVerbose, nullptr, 0, 20);
    ThreadRecord record;
    quenda_mk_thread_init(&record, "sbcp_test");
    record.stackSize = 1; // below what the system allows
    testing::internal::CaptureStdout();
    auto nothing = [](void *) {};
    EXPECT_EQ(quenda_mk_thread_create(&record, nothing, nullptr), -1);
    std::string logged = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(logged.ends_with("  ZQ-thread 创建线程， handle: 0, name: sbcp_test\n")) << logged;
    EXPECT_EQ(record.handle, nullptr);
    logRelease();
}

} // namespace
