// Grammars through the C interface: what is compiled, what is refused and logged.
#include "ostrel/grammar/grammar.h"

#include "ostrel/model_files.h"
#include "tests/ostrel/spoken_commands.h"
#include "tests/support/folder.h"

using namespace vantel::ostrel;
using commands::compile;
namespace fs = std::filesystem;

namespace
{

using Texts = std::vector<std::string>;

struct GrammarTest : testing::Test {
    GrammarTest()
    {
        std::string load = R"({"onnxRuntime":"","logFile":")" + folder / "log" + "\"}";
        EXPECT_EQ(ostrel_library_load(load.c_str()), 0);
    }
    ~GrammarTest() override { ostrel_library_release(); }

    bool logHas(const std::string &text) const
    {
        return folder.read("log").find(text) != std::string::npos;
    }
    // A configuration with these words; what else it has begins with a comma.
    static std::string words(const std::string &list, const std::string &more = "")
    {
        return commands::grammarText("#JSGF V1.0;\ngrammar t;\npublic <a> = " + list + ";\n", more);
    }
    static Texts phonesOf(const std::string &word)
    {
        Texts phones;
        auto grammar = grammarFind(kDefaultGrammarName);
        for (size_t i = 0; grammar && i < grammar->tree.words.size(); ++i) {
            if (grammar->tree.words[i].text != word) continue;
            for (const Pronunciation &each : grammar->pronunciations[i])
                phones.push_back(each.phones);
        }
        return phones;
    }

    Folder folder;
};

TEST_F(GrammarTest, PronunciationsComeFromTheDictionaryTheUserOrAGuess)
{
    std::string user = folder.write("user.dict", "vantel V AE N T EH L # van tel\r\n"
                                                 "vantel(2) V AA N T EH L\r\nstop S T AA P\r\n");
    std::string more = R"(,"userDict":")" + user + R"(","words":{"stop":["S T AH P"]})";
    ASSERT_EQ(compile(words("READ | vantel | stop | ostrel", more)), 0);
    EXPECT_EQ(phonesOf("read"), (Texts{"R EH D", "R IY D"}));
    EXPECT_EQ(phonesOf("vantel"), (Texts{"V AE N T EH L", "V AA N T EH L"}));
    EXPECT_EQ(phonesOf("stop"), (Texts{"S T AH P", "S T AA P"}));
#if HAS_LETTER_TO_SOUND
    EXPECT_EQ(phonesOf("ostrel"), (Texts{"AA S T R AH L"}));
#endif
    EXPECT_EQ(grammarFind(kDefaultGrammarName)->pronunciations[1][0].reading, "van tel");
}

TEST_F(GrammarTest, FaultsOfWordsAndFilesAreResultsAndNamed)
{
    const std::string none = folder / "no/such";
    const std::string empty = folder.write("empty", "\n# x\nword\n");
    const std::string wrong =
        folder.write("wrong.gram", "#JSGF V1.0;\ngrammar w;\npublic <a> = <b>;\n");
    const struct {
        std::string configuration;
        GrammarError error;
        std::string logged;
    } cases[] = {
        {words("йцу | go 42x"), kGrammarWrong, "grammar:3:14: no pronunciation of \"йцу\""},
        {words("йцу | go 42x"), kGrammarWrong, "grammar:3:23: no pronunciation of \"42x\""},
        {words("ostrel", R"(,"guess":false)"), kGrammarWrong, "no pronunciation of \"ostrel\""},
        {words("go", R"(,"words":{"go":"G QQ"})"), kGrammarWrong, "has a phone \"QQ\""},
        {words("go", R"(,"dict":")" + none + "\""), kGrammarDictionary, none},
        {words("go", R"(,"userDict":")" + empty + "\""), kGrammarDictionary, empty},
        {words("go", R"(,"out":")" + none + "/x\""), kGrammarUnwritable, none + "/x"},
        {R"({"file":")" + none + ".gram\"}", kGrammarUnreadable, none + ".gram"},
        {R"({"file":")" + wrong + "\"}", kGrammarWrong, "wrong.gram:3:14: <b> is not defined"},
        {"{}", kGrammarConfiguration, ""},
        {"no JSON", kGrammarConfiguration, ""},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(compile(each.configuration), each.error) << each.configuration;
        EXPECT_TRUE(logHas(each.logged)) << each.logged;
    }
    EXPECT_EQ(grammarFind(kDefaultGrammarName), nullptr) << "a failed compilation keeps nothing";
}

TEST_F(GrammarTest, CompiledFileIsAllThatIsNeededLater)
{
    std::string out = folder / "compiled";
    std::string more = R"(,"words":{"go":"G OW"},"out":")" + out + "\"";
    ASSERT_EQ(compile(words("go {\"a\":1} | stop", more)), 0);
    auto made = grammarFind(kDefaultGrammarName);
    auto loaded = grammarLoad(out);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->source, made->source);
    EXPECT_EQ(loaded->network.arcs.size(), made->network.arcs.size());
    for (size_t i = 0; i < made->pronunciations.size(); ++i)
        EXPECT_EQ(loaded->pronunciations[i][0].phones, made->pronunciations[i][0].phones);
    EXPECT_EQ(grammarLoad(folder.write("broken", R"({"vantelGrammar":1,"source":"x"})")), nullptr);
    EXPECT_TRUE(logHas("broken is no compiled grammar"));
}

TEST_F(GrammarTest, GrammarsAreKeptByNameUntilTheLibraryGoes)
{
    ASSERT_EQ(compile(words("go", R"(,"name":"first")")), 0);
    ASSERT_EQ(compile(words("stop", R"(,"name":"second")")), 0);
    EXPECT_EQ(grammarFind("first")->tree.words[0].text, "go");
    EXPECT_EQ(grammarFind(kDefaultGrammarName), nullptr);
    ostrel_library_release();
    EXPECT_EQ(grammarFind("first"), nullptr);
}

// A decoder would end the process on some of these, or die on a short file that it has mapped.
TEST_F(GrammarTest, BrokenAcousticModelIsRefusedByFile)
{
    const std::string model = modelFile(kDefaultAcousticModel);
    ASSERT_TRUE(acousticModelUsable(model));
    EXPECT_FALSE(acousticModelUsable(folder / "none"));
    const std::string copy = folder / "model";
    for (const char *name : {"mdef", "means", "variances", "transition_matrices", "sendump"}) {
        fs::remove_all(copy);
        fs::copy(model, copy, fs::copy_options::recursive);
        std::string file = copy + "/" + name;
        for (uintmax_t size : {fs::file_size(file) - 100, uintmax_t{100}, uintmax_t{0}}) {
            fs::resize_file(file, size);
            EXPECT_FALSE(acousticModelUsable(copy)) << name << " of " << size;
        }
        EXPECT_TRUE(logHas(file));
    }
}

} // namespace
