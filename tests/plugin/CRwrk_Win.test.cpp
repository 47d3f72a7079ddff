// The external functions as the host sees them: through the plug-in library,
// its exported entry and the host's handle callbacks.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "plugin/CRwrk_Win.h"
#include "plugin/FSObject_Win.h"
#include "plugin/plugin.Support.h"

namespace {

using plugintest::LoadedPlugin;
using plugintest::TempDir;
using plugintest::writeFile;
using Lines = std::vector<std::string>;

const char kUnsupported[] = "-1|archive format is not supported|";

TEST(Entry, InitAcceptsHostVersionsFrom4To255) {
    struct {
        int16_t version;
        int32_t answer;
    } cases[] = {{3, -1}, {4, 4}, {11, 4}, {255, 4}, {256, -1}, {0, -1}, {-4, -1}};
    for (auto& c : cases) {
        LoadedPlugin plugin({}, c.version);
        EXPECT_EQ(plugin.initAnswer(), c.answer) << c.version;
    }
}

TEST(Entry, SelectorsWithoutAnActionWriteNothing) {
    LoadedPlugin plugin;
    for (uint8_t selector : {1, 2, 4, 5, 6, 200, 255}) {
        auto outcome = plugin.host().raw(selector, kCRwrkVersion, "x|y");
        EXPECT_EQ(outcome.resultField, 0) << int(selector);
        EXPECT_EQ(outcome.resultText, "") << int(selector);
        EXPECT_EQ(outcome.handleCalls, 0u) << int(selector);
    }
    // Unknown function numbers do nothing either.
    auto outcome = plugin.host().raw(3, 8, "x");
    EXPECT_EQ(outcome.resultText, "");
    EXPECT_EQ(outcome.handleCalls, 0u);
}

TEST(Functions, VersionAndRegister) {
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkVersion, ""), "Cratewerk\xAA v1.0.1");
    EXPECT_EQ(plugin.call(kCRwrkRegister, "any|key"), "");
    EXPECT_EQ(plugin.host().openLocks(), 0);
}

// Parameter checks that stop a call before any chooser or engine runs.
struct Refusal {
    int32_t function;
    std::string parameters;  // "{dir}" and "{file}" stand for a folder and a file that exist
    std::string result;
};

class Refusals : public ::testing::TestWithParam<Refusal> {};

TEST_P(Refusals, GiveTheHostTheirCode) {
    TempDir dir;
    std::filesystem::create_directory(dir / "folder");
    writeFile(dir / "plain.txt", "not an archive at all\n");
    std::string text = GetParam().parameters;
    for (auto [key, value] : {std::pair<std::string, std::string>{"{dir}", dir / "folder"}, {"{file}", dir / "plain.txt"}})
        for (size_t at; (at = text.find(key)) != std::string::npos;) text.replace(at, key.size(), value);
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(GetParam().function, text), GetParam().result);
    EXPECT_TRUE(plugin.asked().empty());
    EXPECT_EQ(plugin.host().openLocks(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Parameters, Refusals,
    ::testing::Values(Refusal{kCRwrkTuck, "", "-50||"}, Refusal{kCRwrkZip, "|{file}", "-50||"},
                      Refusal{kCRwrkExpand, "|b", "-50||"}, Refusal{kCRwrkExpand, "", "-50||"},
                      Refusal{kCRwrkGZip, "{dir}", "-50||"}, Refusal{kCRwrkZip, "{file}|{dir}", "-50||"},
                      Refusal{kCRwrkTar, "{dir}", kUnsupported}, Refusal{kCRwrkGZip, "{file}", kUnsupported},
                      Refusal{kCRwrkTuck, "{file}|{dir}", "-50||"}, Refusal{kCRwrkTuck, "{dir}|{dir}/", "-50||"},
                      Refusal{kCRwrkExpand, "{file}|{file}", kUnsupported},
                      Refusal{kCRwrkExpand, "{file}||secret", kUnsupported},
                      Refusal{kCRwrkGetPath, "-files", "-50||"}, Refusal{kCRwrkGetPath, "-ask", "-50||"},
                      Refusal{kCRwrkGetPath, "onlyFiles", "-50||"}));

// A path of exactly 1023 bytes; outside Windows, whose paths are shorter,
// to an existing file that is no archive.
std::string longPath(const TempDir& dir) {
    std::string path = dir.str();
    while (1023 - path.size() > 200) {
        path.push_back(FSObject::kSeparator);
        path.append(150, 'd');
#if !defined(_WIN32)
        std::filesystem::create_directory(path);
#endif
    }
    path.push_back(FSObject::kSeparator);
    path.append(1023 - path.size(), 'f');
#if !defined(_WIN32)
    writeFile(path, "plain text");
#endif
    return path;
}

TEST(Functions, AnOverlongPathParameterReadsAsAbsent) {
    TempDir dir;
    std::string path = longPath(dir);
    ASSERT_EQ(path.size(), 1023u);
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkExpand, path + "|"), "-50||");
    EXPECT_EQ(plugin.call(kCRwrkExpand, path + "|" + dir.str()), "-50||");
    std::string whole = plugin.call(kCRwrkExpand, path);
    if (std::filesystem::exists(path))
        EXPECT_EQ(whole, kUnsupported);
    else
        EXPECT_EQ(whole.rfind("-1|", 0), 0u) << whole;  // read whole, then refused by the engine
}

struct Ask {
    int32_t function;
    std::string parameters;
    std::string question;
};

class Asks : public ::testing::TestWithParam<Ask> {};

TEST_P(Asks, RunTheChooserOfTheirKindWithItsPrompt) {
    LoadedPlugin plugin({"cancel"});
    EXPECT_EQ(plugin.call(GetParam().function, GetParam().parameters), "-128||");
    EXPECT_EQ(plugin.asked(), Lines{GetParam().question});
}

INSTANTIATE_TEST_SUITE_P(
    Words, Asks,
    ::testing::Values(Ask{kCRwrkExpand, "-ask", "ChooseFile: Select the file you want to expand."},
                      Ask{kCRwrkExpand, "-ASK", "ChooseFile: Select the file you want to expand."},
                      Ask{kCRwrkExpand, "/x.tkt|-Ask", "ChooseFolder: Select the destination for the expanded result."},
                      Ask{kCRwrkTuck, "-ask", "ChooseItem: Select the file, folder, or volume you want to compress."},
                      Ask{kCRwrkZip, "-ask", "ChooseItem: Select the file, folder, or volume you want to compress."},
                      Ask{kCRwrkGZip, "-ask", "ChooseFile: Select the file you want to compress."},
                      Ask{kCRwrkGZip, "/x|-ask", "ChooseNewFile: Choose an archive filename and location."},
                      Ask{kCRwrkGetPath, "", "ChooseItem: Select a file, folder or volume."},
                      Ask{kCRwrkGetPath, "-newfile", "ChooseNewFile: "},  // no default: the dialog's own title
                      Ask{kCRwrkGetPath, "-ONLYFILES", "ChooseFile: Select a file."},
                      Ask{kCRwrkGetPath, "-onlyFolders|Where to?", "ChooseFolder: Where to?"},
                      Ask{kCRwrkGetPath, "|Anything", "ChooseItem: Anything"}));

TEST(Functions, TheFirstAskFixesThePromptOfLaterOnes) {
    LoadedPlugin plugin({"cancel", "cancel", "cancel", "cancel"});
    EXPECT_EQ(plugin.call(kCRwrkExpand, "-ask"), "-128||");
    EXPECT_EQ(plugin.call(kCRwrkTuck, "-ask"), "-128||");
    EXPECT_EQ(plugin.call(kCRwrkGetPath, "-onlyFolders"), "-128||");  // has its own prompt
    EXPECT_EQ(plugin.call(kCRwrkGZip, "/x|-ask"), "-128||");
    EXPECT_EQ(plugin.asked(), (Lines{"ChooseFile: Select the file you want to expand.",
                                     "ChooseItem: Select the file you want to expand.",
                                     "ChooseFolder: Select a folder.",
                                     "ChooseNewFile: Select the file you want to expand."}));
}

TEST(Functions, ChosenPathsAreUsed) {
    TempDir dir;
    writeFile(dir / "plain.txt", "no archive");
    LoadedPlugin plugin({"choose " + dir / "picked", "choose " + dir / "plain.txt", "choose " + dir / "out"});
    EXPECT_EQ(plugin.call(kCRwrkGetPath, "-newFile"), dir / "picked");
    EXPECT_EQ(plugin.call(kCRwrkExpand, "-ask|-ask"), kUnsupported);
    EXPECT_EQ(plugin.asked().size(), 3u);
}

// Formats without a writer refuse the request only after the archive's place
// was cleared: the name is the source's with the format's suffix. CRwrk-Zip
// replaces what had its archive's name, and ignores a password.
TEST(Functions, CompressionClearsTheArchivesPlaceBeforeItIsRefused) {
    TempDir dir;
    writeFile(dir / "b.txt", "source");
    writeFile(dir / "b.txt.zip", "old archive");
    writeFile(dir / "named.tar", "old archive");
    writeFile(dir / "b.txt.tkt", "old archive");
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkZip, dir / "b.txt||password ignored"), dir / "b.txt.zip");
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "b.txt.zip|" + dir / "out"), dir / plugintest::native("out/b.txt"));
    EXPECT_EQ(plugin.call(kCRwrkTar, dir / "b.txt|" + dir / "named.tar"), kUnsupported);
    EXPECT_FALSE(std::filesystem::exists(dir / "named.tar"));
    EXPECT_TRUE(std::filesystem::exists(dir / "b.txt.tkt"));
    EXPECT_TRUE(std::filesystem::exists(dir / "b.txt"));
}

// Handle calls of a refused CRwrk-Tuck: 4 to read parameter 1, then per
// piece of the result a resize, a prepare, a lock and an unlock.
TEST(Functions, AMemoryErrorDropsTheRestOfTheResult) {
    struct {
        uint32_t failAt;
        std::string result;
    } cases[] = {{0, "-50||"}, {1, "-50||"}, {5, ""}, {6, "-50||"}, {9, "-50|"}};
    for (auto& c : cases) {
        LoadedPlugin plugin;
        plugin.host().failAtHandleCall(c.failAt);
        EXPECT_EQ(plugin.call(kCRwrkTuck, ""), c.result) << c.failAt;
    }
}

TEST(Functions, AMemoryErrorOnTheVersionTextIsReported) {
    LoadedPlugin plugin({"choose /some/where"});
    plugin.host().failAtHandleCall(1);
    EXPECT_EQ(plugin.call(kCRwrkVersion, ""), "-108||");
    plugin.host().failAtHandleCall(9);  // two parameter reads, then the path's resize
    EXPECT_EQ(plugin.call(kCRwrkGetPath, ""), "-108||");
}

} // namespace
