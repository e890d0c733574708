// Capture files: their folder and names, and appending to them.
#include "src/node/pcm_capture.h"

#include "platform/platform.h"

#include <cstdio>
#include <memory>

#define CAPTURE_LOG(level, ...) VANTEL_LOG(owner.log.source, level, __VA_ARGS__)

namespace vantel
{
namespace
{

struct FileClose {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

std::string captureFolder(const CaptureOwner &owner, const std::string &homePath)
{
    return homePath + "/cache/" + owner.word;
}

} // namespace

CaptureStamp captureStamp(const char *deviceId)
{
    CaptureStamp stamp{nowMs(), {}};
    quendaGetUUID(stamp.id, deviceId);
    return stamp;
}

int32_t createCaptureFolder(const CaptureOwner &owner, const std::string &homePath)
{
    std::string folder = captureFolder(owner, homePath);
    int32_t result = makeDirs(folder.c_str());
    if (result == 0) {
        CAPTURE_LOG(kInfo, "  %s create %s cache dir success, path: %s\n", owner.log.tag,
                    owner.word, folder.c_str());
    } else {
        CAPTURE_LOG(kError, "  %s create %s cache dir failed, path: %s\n", owner.log.tag,
                    owner.word, folder.c_str());
    }
    return result;
}

std::string captureName(const CaptureOwner &owner, const std::string &homePath,
                        const CaptureStamp &stamp, const char *suffix)
{
    return captureFolder(owner, homePath) + "/" + std::to_string(stamp.milliseconds) + stamp.id +
           suffix + ".pcm";
}

void appendCapture(const CaptureOwner &owner, const std::string &path, const void *bytes,
                   uint32_t count)
{
    std::unique_ptr<std::FILE, FileClose> file{platformOpenPrivateFile(path.c_str(), "ab+")};
    if (!file) {
        CAPTURE_LOG(kError, "  %s open failed, %s path: %s\n", owner.log.tag, owner.word,
                    path.c_str());
        return;
    }
    // Unbuffered, so that the count below is what reached the file, also on a full disk.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    size_t written = count > 0 ? std::fwrite(bytes, 1, count, file.get()) : 0;
    std::fflush(file.get());
    file.reset();
    CAPTURE_LOG(kDebug, "  %s ret: %d, write path: %s\n", owner.log.tag, static_cast<int>(written),
                path.c_str());
}

} // namespace vantel
