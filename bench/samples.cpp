#include "bench/samples.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <random>

namespace bench
{

Samples readSamples(const std::string &file)
{
    std::ifstream stream{file, std::ios::binary};
    std::string bytes{std::istreambuf_iterator<char>{stream}, {}};
    Samples samples(bytes.size() / sizeof(int16_t));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(int16_t));
    return samples;
}

std::vector<double> whiteNoise(size_t count, unsigned seed)
{
    std::mt19937 random{seed};
    std::vector<double> noise(count);
    for (double &sample : noise)
        sample = static_cast<double>(random()) / 2147483648.0 - 1;
    return noise;
}

// White noise through a filter of three poles.
std::vector<double> pinkNoise(size_t count, unsigned seed)
{
    std::vector<double> noise = whiteNoise(count, seed);
    double a = 0;
    double b = 0;
    double c = 0;
    for (double &sample : noise) {
        double white = sample;
        a = 0.99765 * a + white * 0.0990460;
        b = 0.96300 * b + white * 0.2965164;
        c = 0.57000 * c + white * 1.0526913;
        sample = a + b + c + white * 0.1848;
    }
    return noise;
}

} // namespace bench
