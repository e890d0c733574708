// Keeps an instance from being taken down while an operation of the host is under way.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

namespace vantel
{

class Usage
{
public:
    // Refuses uses from now on and waits until those that have begun are over, which is soon: an
    // operation waits for nothing. False when it was closed already.
    bool close()
    {
        if (state_.fetch_or(kClosed, std::memory_order_acq_rel) & kClosed) return false;
        while (state_.load(std::memory_order_acquire) != kClosed)
            std::this_thread::yield();
        return true;
    }

    // One use, ended by the destructor.
    class Scope
    {
    public:
        explicit Scope(Usage *usage) : usage_(usage->begin() ? usage : nullptr) {}
        ~Scope()
        {
            if (usage_) usage_->end();
        }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;
        bool isRefused() const { return !usage_; }

    private:
        Usage *usage_;
    };

private:
    // Begins a use; false once the instance is closed.
    bool begin()
    {
        if ((state_.fetch_add(1, std::memory_order_acquire) & kClosed) == 0) return true;
        end();
        return false;
    }
    void end() { state_.fetch_sub(1, std::memory_order_release); }

    static constexpr uint32_t kClosed = uint32_t{1} << 31;
    std::atomic<uint32_t> state_{0}; // uses under way, and whether it is closed
};

} // namespace vantel
