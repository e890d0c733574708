// The files of an acoustic model. The first byte chooses the file, the others are as they should
// be.
#include "ostrel/model_files.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/folder.h"

#include <fstream>
#include <iterator>

namespace
{

constexpr const char *kFiles[] = {"feat.params",         "mdef",    "means",          "variances",
                                  "transition_matrices", "sendump", "mixture_weights"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) return 0;
    static const Folder folder;
    const std::filesystem::path model = folder / "model";
    const char *file = kFiles[data[0] % std::size(kFiles)];
    std::filesystem::remove_all(model);
    std::filesystem::create_directory(model);
    const std::filesystem::path good = vantel::ostrel::modelFile("en-us/en-us");
    for (const char *each : kFiles)
        if (std::filesystem::exists(good / each) && each != file)
            std::filesystem::create_symlink(good / each, model / each);
    std::ofstream{model / file, std::ios::binary}.write(reinterpret_cast<const char *>(data) + 1,
                                                        static_cast<std::streamsize>(size - 1));
    (void)vantel::ostrel::acousticModelUsable(model.string());
    return 0;
}
