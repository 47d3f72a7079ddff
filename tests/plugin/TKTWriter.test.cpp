// CRwrk-Tuck as the host sees it, through the plug-in library: the archive's
// name and result, passwords, the progress display, Cancel, and archives that
// CRwrk-Expand gives back exactly.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "plugin/CRwrk_Win.h"
#include "plugin/plugin.Support.h"
#include "support/streams.h"

namespace {

namespace fs = std::filesystem;
using plugintest::LoadedPlugin;
using plugintest::native;
using plugintest::readFile;
using plugintest::TempDir;
using plugintest::writeFile;
using Lines = std::vector<std::string>;
using Tree = std::map<std::string, std::string>;
using test::treeOf;

TEST(Tuck, AnUnnamedArchiveIsTheSourceWithTheSuffixAndExpandsAgain) {
    TempDir dir;
    fs::create_directories(dir / native("src/empty"));
    writeFile(dir / native("src/a.txt"), "alpha\n");
    writeFile(dir / native("src/b.bin"), test::noise(200000, 1));
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

TEST(Tuck, CancelIsMinus128AndLeavesWhatWasWritten) {
    TempDir dir;
    writeFile(dir / "big", test::noise(600000, 2));
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

// CRwrk-Zip ignores a password and makes an archive that CRwrk-Expand gives
// back exactly.
TEST(Zip, AnArchiveOfAFolderExpandsToTheSameTree) {
    TempDir dir;
    fs::create_directories(dir / native("src/sub"));
    writeFile(dir / native("src/text.txt"), std::string(30000, 't') + test::noise(3000, 5));
    writeFile(dir / native("src/sub/empty"), "");
    fs::create_directories(dir / native("src/hollow"));
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.call(kCRwrkZip, dir / "src|" + dir / "named.zip|ignored"), dir / "named.zip");
    EXPECT_EQ(plugin.call(kCRwrkExpand, dir / "named.zip|" + dir / "out"), dir / native("out/src"));
    EXPECT_EQ(treeOf(dir / "out"), (Tree{{"src/", ""},
                                         {"src/hollow/", ""},
                                         {"src/sub/", ""},
                                         {"src/sub/empty", ""},
                                         {"src/text.txt", std::string(30000, 't') + test::noise(3000, 5)}}));
}

}  // namespace
