// ARJ archives made at test time by the real arj, with each of its methods,
// expanded by the cratewerk command and compared with what arj itself
// expands; and the peer archives through the tool and through the plug-in in
// the host emulator.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "interop.Shell.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using namespace interop;

const std::string kTool = quote(CRATEWERK_PROGRAM);
const std::string kXml = "<?xml version=\"1.0\"?>\n<empty/>";

std::map<std::string, std::string> tree(const fs::path& root) { return test::treeOf(root, test::kFolders | test::kLinks | test::kModes); }

// Text that compresses in long and short matches, a megabyte of noise that
// does not compress, an empty file and folder, a read-only file, a link.
void makeSources(const fs::path& at) {
    std::mt19937 random(7);
    std::string text, noise(1 << 20, '\0');
    for (int i = 0; text.size() < 600000; ++i)
        text += "line " + std::to_string(random() % 5000) + " of " + std::string(random() % 40, 'x') + "\n";
    for (char& c : noise) c = static_cast<char>(random());
    writeFile(at / "top/text.txt", text);
    writeFile(at / "top/noise.bin", noise);
    writeFile(at / "top/empty", "");
    writeFile(at / "top/sub/small.txt", "small\n");
    writeFile(at / "top/sub/locked.txt", "locked\n");
    fs::permissions(at / "top/sub/locked.txt", fs::perms::owner_read | fs::perms::group_read);
    fs::create_directories(at / "top/emptydir");
    fs::create_symlink("text.txt", at / "top/link");
}

class ArjMethods : public ::testing::TestWithParam<int> {};

TEST_P(ArjMethods, ExpandLikeArj) {
    if (!have("arj")) GTEST_SKIP() << "arj is not installed";
    test::Scratch scratch;
    const fs::path at = scratch.path();
    makeSources(at / "src");
    const std::string method = "-m" + std::to_string(GetParam());
    Ran made = run("cd src && arj a -r -a1 " + method + " ../a.arj top", at);
    ASSERT_EQ(made.status, 0) << made.out;
    ASSERT_EQ(run("mkdir reference tool && cd reference && arj x -y ../a.arj", at).status, 0);
    const auto expected = tree(at / "reference");
    std::string names;
    for (const auto& [name, bytes] : expected) names += name + "\n";
    ASSERT_EQ(expected.size(), 9u) << names;

    Ran tool = run(kTool + " expand -q a.arj tool", at);
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(tool.out, (at / "tool/top").string() + "\n");
    EXPECT_EQ(tree(at / "tool"), expected);
    Ran list = run(kTool + " list a.arj", at);
    EXPECT_NE(list.out.find("top/sub/small.txt"), std::string::npos) << list.out;
}

INSTANTIATE_TEST_SUITE_P(Arj, ArjMethods, ::testing::Values(0, 1, 2, 3, 4));

TEST(ArjPeers, ExpandThroughTheToolAndThePlugIn) {
    test::Scratch scratch;
    const fs::path at = scratch.path();
    const std::map<std::string, std::string> expected = {{"test1.xml", kXml}, {"test2.xml", kXml + "\n"}};
    for (const char* name : {"bla.arj", "bla.unix.arj"}) {
        const fs::path archive = fs::path(CRATEWERK_SOURCE_DIR) / "tests/data/classify" / name;
        const fs::path tool = at / name / "tool", host = at / name / "host";
        fs::create_directories(tool);
        fs::create_directories(host);
        Ran expanded = run(kTool + " expand -q " + quote(archive.string()) + " " + quote(tool.string()), at);
        EXPECT_EQ(expanded.status, 0) << expanded.err;
        Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                             quote(archive.string() + "|" + host.string() + "|"),
                         at);
        EXPECT_EQ(plugin.status, 0) << plugin.err;
        EXPECT_EQ(plugin.out, host.string() + "/\n");
        for (const fs::path& out : {tool, host}) {
            std::map<std::string, std::string> files;
            for (const auto& item : fs::directory_iterator(out))
                files[item.path().filename().string()] = readFile(item);
            EXPECT_EQ(files, expected) << out;
        }
    }
    // A Unix build keeps Unix time and the mode bits.
    struct stat info {};
    ASSERT_EQ(stat((at / "bla.unix.arj/tool/test1.xml").c_str(), &info), 0);
    EXPECT_EQ(info.st_mtime, 1223329852);
    EXPECT_EQ(info.st_mode & 0777, 0664u);
}

}  // namespace
