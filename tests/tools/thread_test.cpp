#include "tools/log.h"
#include "tools/quenda_mk_thread.h"

#include <future>
#include <gtest/gtest.h>
#include <new>
#include <string>

using namespace vantel;

namespace
{

struct Threads : testing::Test {
    Threads() { logInit(kVerbose, nullptr, 0, 20); }
    ~Threads() override { logRelease(); }

    // What `action` writes to the log, which goes to standard output here.
    template <typename Action> static std::string logged(Action action)
    {
        testing::internal::CaptureStdout();
        action();
        return testing::internal::GetCapturedStdout();
    }

    ThreadRecord record_;
    std::atomic<int32_t> running_{0};
};

TEST_F(Threads, JoinReportsExitCodeZeroAndClearsTheHandleSoThatASecondOneFails)
{
    quenda_mk_thread_init(&record_, "sbcp_test");
    std::string lines = logged([this] {
        auto nothing = [](void *) {};
        EXPECT_EQ(quenda_mk_thread_create(&record_, nothing, nullptr), 0);
    });
    EXPECT_NE(lines.find("  ZQ-thread 创建线程， handle: "), std::string::npos);
    EXPECT_TRUE(lines.ends_with(", name: sbcp_test\n"));
    lines = logged([this] { EXPECT_EQ(quenda_mk_thread_join(&record_), 0); });
    EXPECT_NE(lines.find("  ZQ-thread 线程正常退出, ret: 0, handle: "), std::string::npos);
    EXPECT_NE(lines.find(", threadName:sbcp_test\n"), std::string::npos);
    EXPECT_TRUE(lines.ends_with("  ZQ-thread 线程的返回值是0\n"));
    EXPECT_EQ(record_.handle, nullptr);
    lines = logged([this] { EXPECT_EQ(quenda_mk_thread_join(&record_), 1); });
    EXPECT_NE(lines.find("  ZQ-thread 等待线程退出等待失败。错误代码："), std::string::npos);
}

TEST_F(Threads, StartReturnsOnceTheLoopRunsAlsoWhenItEndsAtOnce)
{
    std::promise<void> leave;
    std::pair loop{&running_, leave.get_future()};
    auto entry = [](void *argument) {
        auto &[running, mayLeave] = *static_cast<decltype(loop) *>(argument);
        running->store(1);
        mayLeave.wait();
        running->store(0);
    };
    ASSERT_EQ(quenda_mk_thread_start(&record_, "sbcp_test", &running_, entry, &loop), 0);
    EXPECT_EQ(running_, 1);
    leave.set_value();
    EXPECT_EQ(quenda_mk_thread_join(&record_), 0);

    auto nothing = [](void *) {};
    ASSERT_EQ(quenda_mk_thread_start(&record_, "sbcp_test", &running_, nothing, nullptr), 0);
    EXPECT_EQ(quenda_mk_thread_join(&record_), 0);
}

TEST_F(Threads, AnExceptionEndsItsThreadAndNotTheProcess)
{
    auto entry = [](void *) { throw std::bad_alloc(); };
    std::string lines = logged([&] {
        ASSERT_EQ(quenda_mk_thread_start(&record_, "sbcp_test", &running_, entry, nullptr), 0);
        EXPECT_EQ(quenda_mk_thread_join(&record_), 0);
    });
    EXPECT_NE(lines.find("  ZQ-thread thread ended by: "), std::string::npos);
    EXPECT_TRUE(lines.ends_with("  ZQ-thread 线程的返回值是0\n"));
}

} // namespace
