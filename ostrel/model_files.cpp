#include "ostrel/model_files.h"

#include "ostrel/library.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#define MODEL_LOG(level, ...) ENGINE_LOG("ostrel/model_files", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

// A file's beginning and its size; reading goes on at `at`.
struct Head {
    std::string bytes;
    size_t at = 0;
    int64_t fileBytes = 0;
    bool swapped = false; // written on a machine of the other byte order

    bool read(int32_t *number)
    {
        if (bytes.size() - at < sizeof *number) return false;
        std::memcpy(number, &bytes[at], sizeof *number);
        if (swapped)
            *number = static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(*number)));
        at += sizeof *number;
        return true;
    }
};

bool readHead(const std::string &path, Head *head)
{
    constexpr size_t kHeadBytes = 16384;
    std::unique_ptr<std::FILE, decltype(&std::fclose)> file{platformOpenFile(path.c_str(), "rb"),
                                                            std::fclose};
    if (!file) return false;
    head->bytes.resize(kHeadBytes);
    head->bytes.resize(std::fread(head->bytes.data(), 1, kHeadBytes, file.get()));
    if (std::fseek(file.get(), 0, SEEK_END) != 0) return false;
    head->fileBytes = std::ftell(file.get());
    return !head->bytes.empty();
}

// Files of arrays: a text header, a number that tells the byte order, the dimensions, how many
// numbers follow, the numbers.
bool isWholeArray(Head *head, bool hasVectorLengths)
{
    constexpr int32_t kByteOrder = 0x11223344;
    constexpr const char *kHeaderEnd = "endhdr\n";
    size_t end = head->bytes.find(kHeaderEnd);
    int32_t order = 0;
    int32_t dimensions[3];
    int32_t ignored = 0;
    int32_t count = 0;
    if (!head->bytes.starts_with("s3\n") || end == std::string::npos) return false;
    head->at = end + std::strlen(kHeaderEnd);
    if (!head->read(&order)) return false;
    head->swapped = order != kByteOrder;
    for (int32_t &dimension : dimensions)
        if (!head->read(&dimension) || dimension <= 0) return false;
    for (int32_t i = 0; hasVectorLengths && i < dimensions[1]; ++i)
        if (!head->read(&ignored)) return false;
    if (!head->read(&count) || count <= 0) return false;
    return head->fileBytes >= static_cast<int64_t>(head->at) + int64_t{4} * count;
}

bool isWholeMeans(Head *head)
{
    return isWholeArray(head, true);
}

bool isWholeTable(Head *head)
{
    return isWholeArray(head, false);
}

// The number behind `name` in a text like "feature_count 4"; `fallback` for any other text.
int32_t named(const std::string &text, const char *name, int32_t fallback)
{
    const size_t length = std::strlen(name);
    return text.compare(0, length, name) == 0 ? std::atoi(text.c_str() + length) : fallback;
}

// Mixture weights of a byte or half of one: texts with their lengths in front, up to a length of 0,
// then, unless the texts tell them, the dimensions, and the weights. The decoder maps the file, so
// a short one would kill the process.
bool isWholeDump(Head *head)
{
    int32_t length = 0;
    int32_t rows = 0;
    int32_t columns = 0;
    int32_t streams = 1;
    int32_t bits = 8;
    // Read in the wrong byte order, the length of the first text is enormous.
    if (!head->read(&length)) return false;
    head->swapped = length < 0 || length > (1 << 24);
    head->at = 0;
    while (head->read(&length) && length > 0) {
        if (head->bytes.size() - head->at < static_cast<size_t>(length)) return false;
        std::string text{head->bytes.c_str() + head->at};
        streams = named(text, "feature_count ", streams);
        rows = named(text, "mixture_count ", rows);
        columns = named(text, "model_count ", columns);
        bits = named(text, "cluster_bits ", bits);
        head->at += static_cast<size_t>(length);
    }
    if (length != 0) return false;
    if (rows == 0 && (!head->read(&rows) || !head->read(&columns))) return false;
    if (rows <= 0 || columns <= 0 || streams <= 0 || bits <= 0) return false;
    return head->fileBytes >= static_cast<int64_t>(head->at) +
                                  int64_t{streams} * rows * ((int64_t{columns} * bits + 7) / 8);
}

// The model's units: as text, or as tables of known sizes behind a description.
bool isWholeDefinition(Head *head)
{
    enum {
        phones,
        triphones,
        states,
        ciStates,
        allStates,
        matrices,
        sequences,
        context,
        tree,
        silence
    };
    if (!head->bytes.starts_with("BMDF") && !head->bytes.starts_with("FDMB"))
        return head->bytes.find("n_base") != std::string::npos;
    int32_t version = 0;
    int32_t description = 0;
    int32_t numbers[silence + 1];
    head->swapped = head->bytes.starts_with("FDMB");
    head->at = 4;
    if (!head->read(&version) || !head->read(&description) || description < 0 ||
        static_cast<size_t>(description) > head->bytes.size() - head->at)
        return false;
    head->at += static_cast<size_t>(description);
    for (int32_t &number : numbers)
        if (!head->read(&number) || number < 0) return false;
    // The names of the units, each with its zero, up to a multiple of four.
    for (int32_t i = 0; i < numbers[phones] && head->at < head->bytes.size(); ++i)
        head->at = std::min(head->bytes.find('\0', head->at), head->bytes.size() - 1) + 1;
    head->at = (head->at + 3) / 4 * 4;
    int64_t bytes = 4 + int64_t{8} * numbers[tree] + int64_t{12} * numbers[triphones] +
                    int64_t{2} * numbers[sequences] * numbers[states];
    return numbers[phones] > 0 && head->fileBytes >= static_cast<int64_t>(head->at) + bytes;
}

struct Part {
    const char *name;
    bool (*isWhole)(Head *head); // null: any content
    const char *instead;         // a file that may stand in its place
};

constexpr Part kParts[] = {
    {"feat.params", nullptr, nullptr},
    {"mdef", isWholeDefinition, nullptr},
    {"means", isWholeMeans, nullptr},
    {"variances", isWholeMeans, nullptr},
    {"transition_matrices", isWholeTable, nullptr},
    {"sendump", isWholeDump, "mixture_weights"},
    {"mixture_weights", isWholeTable, "sendump"},
};

} // namespace

std::string modelFile(const std::string &name)
{
    std::string path = findResource("model/" + name);
    return path.empty() ? VANTEL_SPEECH_MODELS "/" + name : path;
}

bool acousticModelUsable(const std::string &folder)
{
    for (const Part &part : kParts) {
        std::string path = folder + "/" + part.name;
        Head head;
        if (!platformPathExists(path.c_str()) && part.instead &&
            platformPathExists((folder + "/" + part.instead).c_str()))
            continue;
        if (!readHead(path, &head)) {
            MODEL_LOG(kError, "  cannot read %s of the acoustic model\n", path.c_str());
            return false;
        }
        if (part.isWhole && !part.isWhole(&head)) {
            MODEL_LOG(kError, "  %s of the acoustic model is broken\n", path.c_str());
            return false;
        }
    }
    return true;
}

} // namespace vantel::ostrel
