// CRwrk-Tuck as the host sees it, through the plug-in library: the archive's
// name and result, passwords, the progress display, Cancel, and archives that
// CRwrk-Expand gives back exactly.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "plugin/CRwrk_Win.h"
#include "plugin/plugin.Support.h"

namespace {

namespace fs = std::filesystem;
using plugintest::LoadedPlugin;
using plugintest::native;
using plugintest::readFile;
using plugintest::TempDir;
using plugintest::writeFile;
using Lines = std::vector<std::string>;
using Tree = std::map<std::string, std::string>;

std::string noise(size_t n, uint32_t seed) {
    std::mt19937 random(seed);
    std::string s(n, '\0');
    for (char& c : s) c = static_cast<char>(random());
    return s;
}

Tree treeOf(const std::string& root) {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::string relative = fs::relative(entry.path(), root).generic_string();
        tree[relative] = entry.is_directory() ? "/" : readFile(entry.path().string());
    }
    return tree;
}

TEST(Tuck, AnUnnamedArchiveIsTheSourceWithTheSuffixAndExpandsAgain) {
    TempDir dir;
    fs::create_directories(dir / native("src/empty"));
    writeFile(dir / native("src/a.txt"), "alpha\n");
    writeFile(dir / native("src/b.bin"), noise(200000, 1));
    const Tree tree = treeOf(dir / "src");
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkTuck, dir / "src"), dir / "src.tkt");
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "src.tkt|" + dir / "out"), dir / native("out/src"));
    EXPECT_EQ(treeOf(dir / native("out/src")), tree);
    EXPECT_EQ(plugin.host().openLocks(), 0);
    // Files are counted, folders aren't; the display shows the source's name.
    const Lines log = plugin.log();
    ASSERT_GE(log.size(), 4u);
    EXPECT_EQ(Lines(log.begin(), log.begin() + 3), (Lines{"display", "archiveName src", "begin 200006"}));
    EXPECT_NE(std::find(log.begin(), log.end(), "itemsLeft 2"), log.end());
    EXPECT_NE(std::find(log.begin(), log.end(), "itemsLeft 1"), log.end());
    EXPECT_EQ(std::find(log.begin(), log.end(), "itemsLeft 0"), log.end());
}

TEST(Tuck, ANamedArchiveReplacesItsNamesakeAndTakesThePassword) {
    TempDir dir;
    writeFile(dir / "letter.txt", "dear reader");
    writeFile(dir / "named.tkt", "an old archive of that name");
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkTuck, dir / "letter.txt|" + dir / "named.tkt|sesame"), dir / "named.tkt");
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "named.tkt|" + dir / "wrong|other"),
              "-1|password mismatch in tkt5 reader|");
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "named.tkt|" + dir / "right|sesame"), dir / native("right/letter.txt"));
    EXPECT_EQ(readFile(dir / native("right/letter.txt")), "dear reader");
    EXPECT_TRUE(plugin.asked().empty());
}

TEST(Tuck, AnEmptyFolderComesBackAsAnEmptyFolder) {
    TempDir dir;
    fs::create_directories(dir / native("from/nothing"));
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkTuck, dir / native("from/nothing") + "|" + dir / "nothing.tkt"), dir / "nothing.tkt");
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "nothing.tkt"), dir / "nothing");
    EXPECT_EQ(treeOf(dir / "nothing"), Tree{});
}

TEST(Tuck, CancelIsMinus128AndLeavesWhatWasWritten) {
    TempDir dir;
    writeFile(dir / "big", noise(600000, 2));
    LoadedPlugin plugin({"cancel-at 200000"});
    EXPECT_EQ(plugin.call(kCRwrkTuck, dir / "big"), "-128||");
    EXPECT_TRUE(fs::exists(dir / "big.tkt"));  // the driver leaves partial output where it is
    const Lines log = plugin.log();
    EXPECT_EQ(log.back(), "destroy");
}

TEST(Tuck, AFailureInTheEngineIsItsMessage) {
    TempDir dir;
    writeFile(dir / "a", "a");
    LoadedPlugin plugin;
    // A destination below a file can't be created.
    EXPECT_EQ(plugin.call(kCRwrkTuck, dir / "a|" + dir / native("a/b.tkt")),
              "-1|cannot create an output file in engine5::arc::Writer|");
    // gzip and tar have no writer.
    EXPECT_EQ(plugin.call(kCRwrkGZip, dir / "a"), "-1|archive format is not supported|");
    EXPECT_EQ(plugin.call(kCRwrkTar, dir / "a"), "-1|archive format is not supported|");
}

// CRwrk-Zip names an unnamed archive after its source with ".zip", ignores a
// password, and makes an archive that CRwrk-Expand gives back exactly.
TEST(Zip, AnArchiveOfAFolderExpandsToTheSameTree) {
    TempDir dir;
    fs::create_directories(dir / native("src/sub"));
    writeFile(dir / native("src/text.txt"), std::string(30000, 't') + noise(3000, 5));
    writeFile(dir / native("src/sub/empty"), "");
    fs::create_directories(dir / native("src/hollow"));
    writeFile(dir / "b.txt", "single\n");
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkZip, dir / "b.txt"), dir / "b.txt.zip");
    EXPECT_EQ(plugin.call(kCRwrkZip, dir / "src|" + dir / "named.zip|ignored"), dir / "named.zip");
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "named.zip|" + dir / "out"), dir / native("out/src"));
    EXPECT_EQ(treeOf(dir / "out"), (Tree{{"src", "/"},
                                        {"src/hollow", "/"},
                                        {"src/sub", "/"},
                                        {"src/sub/empty", ""},
                                        {"src/text.txt", std::string(30000, 't') + noise(3000, 5)}}));
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "b.txt.zip|" + dir / "one"), dir / native("one/b.txt"));
    EXPECT_EQ(readFile(dir / native("one/b.txt")), "single\n");
}

}  // namespace
