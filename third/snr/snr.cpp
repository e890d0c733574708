#include "third/snr/snr.h"

#include "tools/log.h"

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>

#define SNR_LOG(level, ...) VANTEL_LOG("third/snr/snr", level, __VA_ARGS__)

namespace vantel
{
namespace
{

constexpr char kTag[] = "ZQ-SNR";

static_assert(FLT_EVAL_METHOD == 0, "float sums must not be kept in a wider type");

float sampleAt(const unsigned char *samples, int32_t index)
{
    int16_t sample;
    std::memcpy(&sample, samples + static_cast<size_t>(index) * sizeof sample, sizeof sample);
    return sample;
}

// The mean absolute deviation.
float levelOf(const void *samples, int32_t count)
{
    const unsigned char *bytes = static_cast<const unsigned char *>(samples);
    const float divisor = static_cast<float>(count);
    float sum = 0.0F;
    for (int32_t i = 0; i < count; ++i)
        sum += sampleAt(bytes, i);
    const float mean = sum / divisor;
    float deviations = 0.0F;
    for (int32_t i = 0; i < count; ++i)
        deviations += std::fabs(sampleAt(bytes, i) - mean);
    return deviations / divisor;
}

} // namespace

int32_t snr(const void *signal, int32_t signalCount, const void *noise, int32_t noiseCount,
            float *ratio)
{
    *ratio = 0.0F;
    if (!signal || !noise || signalCount <= 0 || noiseCount <= 0) {
        SNR_LOG(kError, "  %s Calculate snr error,data empty\n", kTag);
        return -1;
    }
    const float s = levelOf(signal, signalCount);
    const float n = levelOf(noise, noiseCount);
    if (s == 0.0F || n == 0.0F) {
        SNR_LOG(kError, "  %s Calculate snr error,energy is zero. s:%f, n:%f\n", kTag,
                static_cast<double>(s), static_cast<double>(n));
        return -1;
    }
    const float quotient = s / n;
    *ratio = static_cast<float>(20.0 * std::log10(static_cast<double>(quotient)));
    SNR_LOG(kInfo, "  %s Calculate snr:%f, s:%f, n:%f\n", kTag, static_cast<double>(*ratio),
            static_cast<double>(s), static_cast<double>(n));
    return 0;
}

} // namespace vantel
