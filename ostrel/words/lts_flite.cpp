#include "ostrel/words/letter_to_sound.h"

#include <flite/flite.h>
#include <memory>

// No header declares it.
extern "C" cst_lexicon *cmu_lex_init(void);

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxLetters = 64;

// The rules write phones in lower case with the stress as a digit, and have one that the acoustic
// models do not know.
std::string modelPhone(const std::string &phone)
{
    std::string name;
    for (char c : phone)
        if (c < '0' || c > '9') name += static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    return name == "AX" ? "AH" : name;
}

} // namespace

std::string letterToSound(const std::string &word)
{
    // The lexicon is one per process and is filled in at the first call.
    static const cst_lexicon *lexicon = cmu_lex_init();
    std::string letters;
    for (char c : word) {
        if (c == '\'') continue;
        if (c < 'a' || c > 'z') return {};
        letters += c;
    }
    if (!lexicon || letters.empty() || letters.size() > kMaxLetters) return {};
    std::unique_ptr<cst_val, decltype(&delete_val)> phones{
        lts_apply(letters.c_str(), "", lexicon->lts_rule_set), delete_val};
    std::string result;
    for (const cst_val *at = phones.get(); at; at = val_cdr(at)) {
        std::string phone = modelPhone(val_string(val_car(at)));
        if (phone.empty() || phone == "PAU") continue;
        result += (result.empty() ? "" : " ") + phone;
    }
    return result;
}

} // namespace vantel::ostrel
