// The tails of the wakeup word: after a one-shot wakeup the recogniser also hears the end of the
// word, which is then no part of the command.
#include "src/dms/dms_record.h"
#include "tools/quenda_tool.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace vantel::dms
{
namespace
{

constexpr int32_t kCharacterBytes = 3; // wakeup words are Chinese
// The work doubles with each character; this many take a few milliseconds.
constexpr size_t kMaxWordBytes = 12 * kCharacterBytes;

bool isWakeupWord(std::string_view word)
{
    return word.size() % kCharacterBytes == 0 && word.size() <= kMaxWordBytes;
}

std::vector<std::string_view> splitItems(std::string_view list)
{
    std::vector<std::string_view> items;
    while (!list.empty()) {
        size_t end = std::min(list.find(','), list.size());
        if (end > 0) items.push_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return items;
}

bool hasItem(std::string_view list, std::string_view item)
{
    for (std::string_view held : splitItems(list)) {
        if (held == item) return true;
    }
    return false;
}

// All subsequences of the word's characters as a JSON array; empty when they do not make JSON.
Json subsequences(const char *word, int32_t bytes)
{
    const int32_t size = static_cast<int32_t>(
        128 + (bytes + 3) * std::pow(2.0, static_cast<double>(bytes) / kCharacterBytes));
    std::vector<char> text(static_cast<size_t>(size) + 1);
    int32_t position = 0;
    expandSubsets(word, bytes, kCharacterBytes, text.data(), &position, size, bytes);
    return jsonParse(text.data());
}

bool endsWord(const char *word, const char *element)
{
    HeapText tail = lastOccurrenceTail(word, element, kCharacterBytes);
    return tail && std::strlen(tail.get()) == std::strlen(element);
}

// Shortest first, joined by ",".
std::string tailsOf(const char *word)
{
    std::string tails;
    Json all = subsequences(word, static_cast<int32_t>(std::strlen(word)));
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, all.get())
    {
        const char *element = cJSON_GetStringValue(item);
        if (!element || *element == '\0' || hasItem(tails, element)) continue;
        if (endsWord(word, element)) tails.append(element).append(",");
    }
    if (!tails.empty()) tails.pop_back();
    return tails;
}

void takeWakeupWord(DmsRecord *record, const char *word)
{
    if (isWakeupWord(word)) {
        record->subsets = tailsOf(word);
        return;
    }
    publishOrHoldError(record->node, &record->held, VANTEL_ERROR_WAKEUP_WORD_TAILS);
    DMS_LOG(kError, "  %s word must is chinese or config subsets\n", kDmsTag);
}

} // namespace

void _getWakeupWordsSets(DmsRecord *record, const char *params)
{
    if (record->subsets) DMS_LOG(kInfo, "  %s clear wakeupWordSets\n", kDmsTag);
    record->subsets.reset();
    Json parsed = jsonParse(params);
    if (const char *subsets = jsonString(parsed.get(), "subsets")) {
        record->subsets = subsets;
    } else if (const char *word = jsonString(parsed.get(), "wakeupWord")) {
        takeWakeupWord(record, word);
    }
    DMS_LOG(kInfo, "  %s subsets: %s\n", kDmsTag, orNull(textOrNull(record->subsets)));
}

std::string_view withoutWakeupTail(std::string_view text, std::string_view tails)
{
    size_t longest = 0;
    for (std::string_view tail : splitItems(tails)) {
        if (text.starts_with(tail)) longest = std::max(longest, tail.size());
    }
    return text.substr(longest);
}

} // namespace vantel::dms
