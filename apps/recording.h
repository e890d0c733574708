// One input of a run: a recording with silence behind it, standard input, or the microphone.
#pragma once

#include "apps/audio_source.h"

#include <string>

namespace vantel::app
{

class Recording
{
public:
    Recording(std::string name, std::unique_ptr<AudioSource> source)
        : name_(std::move(name)), source_(std::move(source))
    {
    }

    // The next chunk; silence for a while behind the source, so that its last utterance can end;
    // then none.
    std::vector<int16_t> next();
    // Nothing is left that could hold a command. Waits for a chunk where the source's length is
    // unknown.
    bool isSpent();

    const std::string &name() const { return name_; }
    bool isLive() const { return source_->isLive(); }
    // The silence behind what came at its own pace is due at once.
    bool isPaced() const { return source_->isPaced(); }
    double total() const { return source_->seconds(); } // 0: unknown
    double heard() const { return seconds(heard_); }    // of the source
    int64_t positionMs() const { return (heard_ + silence_) * 1000 / kSampleRate; }

private:
    static double seconds(int64_t samples) { return static_cast<double>(samples) / kSampleRate; }
    void lookAhead();

    std::string name_;
    std::unique_ptr<AudioSource> source_;
    std::vector<int16_t> ahead_; // read, but not given out
    bool hasEnded_ = false;      // the source
    int64_t heard_ = 0;          // samples of the source that were given out
    int64_t silence_ = 0;        // samples behind them
};

} // namespace vantel::app
