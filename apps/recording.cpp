#include "apps/recording.h"

namespace vantel::app
{

void Recording::lookAhead()
{
    if (!ahead_.empty() || hasEnded_) return;
    ahead_ = source_->read();
    hasEnded_ = ahead_.empty();
}

std::vector<int16_t> Recording::next()
{
    constexpr int64_t kTrailingSamples = 3 * kSampleRate;
    lookAhead();
    std::vector<int16_t> chunk = std::move(ahead_);
    ahead_.clear();
    heard_ += static_cast<int64_t>(chunk.size());
    if (chunk.empty() && !isLive() && silence_ < kTrailingSamples) {
        chunk.resize(kChunkSamples);
        silence_ += kChunkSamples;
    }
    return chunk;
}

bool Recording::isSpent()
{
    constexpr double kShortestCommandSeconds = 0.3;
    if (isLive()) return hasEnded_;
    if (total() > 0) return total() - heard() < kShortestCommandSeconds;
    lookAhead();
    return hasEnded_;
}

} // namespace vantel::app
