#include "contracts/ostrel.h"
#include "ostrel/grammar.h"
#include "ostrel/model_files.h"
#include "tests/ostrel/commands.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

using namespace vantel::ostrel;
namespace fs = std::filesystem;

namespace
{

// Compiles and gives access to what was compiled and logged.
class GrammarTest : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto *test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::temp_directory_path() / ("vantel-" + std::string{test->name()});
        fs::create_directories(folder_);
        vantel::Json load{cJSON_CreateObject()};
        cJSON_AddStringToObject(load.get(), "logFile", path("log").c_str());
        cJSON_AddStringToObject(load.get(), "onnxRuntime", "");
        ASSERT_EQ(ostrel_library_load(vantel::jsonPrint(load.get()).get()), 0);
    }
    void TearDown() override
    {
        ostrel_library_release();
        fs::remove_all(folder_);
    }

    std::string path(const std::string &name) { return (folder_ / name).generic_string(); }

    std::string write(const std::string &name, const std::string &content)
    {
        std::ofstream{path(name), std::ios::binary} << content;
        return path(name);
    }

    std::string log()
    {
        std::ifstream stream{path("log")};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    bool logHas(const std::string &text) { return log().find(text) != std::string::npos; }

    static std::string words(const std::string &list, const std::string &more = "")
    {
        return commands::grammarText("#JSGF V1.0;\ngrammar t;\npublic <a> = " + list + ";\n", more);
    }

    static std::vector<std::string> phonesOf(const std::string &word)
    {
        std::vector<std::string> phones;
        auto grammar = grammarFind(kDefaultGrammarName);
        for (size_t i = 0; grammar && i < grammar->tree.words.size(); ++i) {
            if (grammar->tree.words[i].text != word) continue;
            for (const Pronunciation &each : grammar->pronunciations[i])
                phones.push_back(each.phones);
        }
        return phones;
    }

private:
    fs::path folder_;
};

using Phones = std::vector<std::string>;

TEST_F(GrammarTest, PronunciationsComeFromTheDictionaryTheUserOrAGuess)
{
    std::string user = write("user.dict", "vantel V AE N T EH L # van tel\r\n"
                                          "vantel(2) V AA N T EH L\r\nstop S T AA P\r\n");
    std::string more = R"(,"userDict":")" + user + R"(","words":{"stop":["S T AH P"]})";
    ASSERT_EQ(commands::compile(words("READ | vantel | stop | ostrel", more)), 0);
    EXPECT_EQ(phonesOf("read"), (Phones{"R EH D", "R IY D"}));
    EXPECT_EQ(phonesOf("vantel"), (Phones{"V AE N T EH L", "V AA N T EH L"}));
    EXPECT_EQ(phonesOf("stop"), (Phones{"S T AH P", "S T AA P"}));
#if HAS_LETTER_TO_SOUND
    EXPECT_EQ(phonesOf("ostrel"), (Phones{"AA S T R AH L"}));
#endif
    EXPECT_EQ(grammarFind(kDefaultGrammarName)->pronunciations[1][0].reading, "van tel");
}

TEST_F(GrammarTest, FaultsOfWordsAndFilesAreResultsAndNamed)
{
    EXPECT_EQ(commands::compile(words("йцу | go 42x")), kGrammarWrong);
    EXPECT_TRUE(logHas("grammar:3:14: no pronunciation of \"йцу\""));
    EXPECT_TRUE(logHas("grammar:3:23: no pronunciation of \"42x\""));
    EXPECT_EQ(commands::compile(words("ostrel", R"(,"guess":false)")), kGrammarWrong);
    EXPECT_EQ(commands::compile(words("go", R"(,"words":{"go":"G QQ"})")), kGrammarWrong);
    EXPECT_TRUE(logHas("has a phone \"QQ\""));
    EXPECT_EQ(commands::compile(words("go", R"(,"dict":")" + path("none") + "\"")),
              kGrammarDictionary);
    EXPECT_EQ(
        commands::compile(words("go", R"(,"userDict":")" + write("empty", "\n# x\nword\n") + "\"")),
        kGrammarDictionary);
    EXPECT_EQ(commands::compile(words("go", R"(,"out":")" + path("no/such/folder") + "\"")),
              kGrammarUnwritable);
    EXPECT_EQ(commands::compile(R"({"file":")" + path("none.gram") + "\"}"), kGrammarUnreadable);
    EXPECT_TRUE(logHas(path("none.gram")));
    EXPECT_EQ(commands::compile("{}"), kGrammarConfiguration);
    EXPECT_EQ(commands::compile("no JSON"), kGrammarConfiguration);
    EXPECT_EQ(grammarFind(kDefaultGrammarName), nullptr) << "a failed compilation keeps nothing";
    std::string file = write("wrong.gram", "#JSGF V1.0;\ngrammar w;\npublic <a> = <b>;\n");
    EXPECT_EQ(commands::compile(R"({"file":")" + file + "\"}"), kGrammarWrong);
    EXPECT_TRUE(logHas("wrong.gram:3:14: <b> is not defined"));
}

TEST_F(GrammarTest, CompiledFileIsAllThatIsNeededLater)
{
    std::string out = path("compiled");
    std::string more = R"(,"words":{"go":"G OW"},"out":")" + out + "\"";
    ASSERT_EQ(commands::compile(words("go {\"a\":1} | stop", more)), 0);
    auto made = grammarFind(kDefaultGrammarName);
    auto loaded = grammarLoad(out);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->source, made->source);
    EXPECT_EQ(loaded->network.arcs.size(), made->network.arcs.size());
    for (size_t i = 0; i < made->pronunciations.size(); ++i)
        EXPECT_EQ(loaded->pronunciations[i][0].phones, made->pronunciations[i][0].phones);
    EXPECT_EQ(grammarLoad(write("broken", R"({"vantelGrammar":1,"source":"x"})")), nullptr);
    EXPECT_TRUE(logHas("broken is no compiled grammar"));
}

TEST_F(GrammarTest, GrammarsAreKeptByNameUntilTheLibraryGoes)
{
    ASSERT_EQ(commands::compile(words("go", R"(,"name":"first")")), 0);
    ASSERT_EQ(commands::compile(words("stop", R"(,"name":"second")")), 0);
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
    EXPECT_FALSE(acousticModelUsable(path("none")));
    for (const char *name : {"mdef", "means", "variances", "transition_matrices", "sendump"}) {
        fs::remove_all(path("model"));
        fs::copy(model, path("model"), fs::copy_options::recursive);
        std::string file = path("model/") + name;
        for (uintmax_t size : {fs::file_size(file) - 100, uintmax_t{100}, uintmax_t{0}}) {
            fs::resize_file(file, size);
            EXPECT_FALSE(acousticModelUsable(path("model"))) << name << " of " << size;
        }
        EXPECT_TRUE(logHas(file));
    }
}

} // namespace
