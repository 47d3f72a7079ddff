#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "plugin/FSObject_Win.h"
#include "plugin/plugin.Support.h"

namespace {

using plugintest::TempDir;
using plugintest::writeFile;
namespace fs = std::filesystem;

struct NameCase {
    std::string path;
    std::string cleaned;
    std::string name;
    std::string baseName;
    std::string suffix;
    std::string parent;
};

class NameParts : public ::testing::TestWithParam<NameCase> {};

// Separators are the platform's; the cases are written with "/" and "\" alike.
std::string native(std::string s) {
    for (char& c : s)
        if (c == '/' || c == '\\') c = FSObject::kSeparator;
    return s;
}

TEST_P(NameParts, SplitAtTheLastSeparator) {
    const NameCase& c = GetParam();
    FSObject o(native(c.path).c_str());
    EXPECT_EQ(std::string(o.path), native(c.cleaned));
    EXPECT_EQ(o.pathString, native(c.cleaned));
    EXPECT_EQ(o.pathLength, c.cleaned.size());
    EXPECT_EQ(std::string(o.name), c.name);
    EXPECT_EQ(std::string(o.baseName), c.baseName);
    EXPECT_EQ(std::string(o.suffix, o.suffix[0] ? 4 : 0), c.suffix);
    EXPECT_EQ(std::string(o.ParentFolder()), native(c.parent));
    EXPECT_EQ(o.parentLength, c.parent.size());
}

INSTANTIATE_TEST_SUITE_P(
    Paths, NameParts,
    ::testing::Values(NameCase{"/a/x.tkt", "/a/x.tkt", "x.tkt", "x", ".tkt", "/a"},
                      NameCase{"/a/a.gz", "/a/a.gz", "a.gz", "a.gz", "", "/a"},
                      NameCase{"/a/b/", "/a/b", "b", "b", "", "/a"},
                      NameCase{"/a/b///", "/a/b", "b", "b", "", "/a"},
                      NameCase{"/a/x", "/a/x", "x", "x", "", "/a"},
                      NameCase{"/a/arch.tar.zip", "/a/arch.tar.zip", "arch.tar.zip", "arch.tar", ".zip", "/a"},
                      NameCase{"/a/.tkt", "/a/.tkt", ".tkt", "", ".tkt", "/a"},
                      // Without a separator nothing is named, though the suffix is found.
                      NameCase{"file.tkt", "file.tkt", "", "", ".tkt", ""},
                      NameCase{"/x", "/x", "x", "x", "", ""}));

#if defined(_WIN32)
INSTANTIATE_TEST_SUITE_P(Drives, NameParts,
                         ::testing::Values(NameCase{"C:\\a\\b", "C:\\a\\b", "b", "b", "", "C:\\a"},
                                           NameCase{"C:\\a", "C:\\a", "a", "a", "", "C:"},
                                           NameCase{"C:x.tkt", "C:x.tkt", "", "", ".tkt", "C:"}));
#endif

TEST(FSObject, EmptyAndNullPaths) {
    FSObject o("/a/b");
    o.SetObject(nullptr);
    EXPECT_EQ(o.pathLength, 0u);
    EXPECT_TRUE(o.pathString.empty());
    EXPECT_FALSE(o.exists);
    EXPECT_TRUE(o.parentStale);
    FSObject empty;
    EXPECT_EQ(empty.pathLength, 0u);
    EXPECT_EQ(std::string(empty.ParentFolder()), "");
}

TEST(FSObject, AttributesAndParentFollowEachSetObject) {
    TempDir dir;
    writeFile(dir / "f.txt", "x");
    FSObject o((dir / "f.txt").c_str());
    EXPECT_TRUE(o.exists);
    EXPECT_FALSE(o.isDirectory);
    EXPECT_EQ(std::string(o.ParentFolder()), dir.str());
    o.SetObject(dir.str().c_str());
    EXPECT_TRUE(o.exists);
    EXPECT_TRUE(o.isDirectory);
    EXPECT_NE(std::string(o.ParentFolder()), dir.str());
    o.SetObject((dir / "missing").c_str());
    EXPECT_FALSE(o.exists);
    EXPECT_EQ(o.ObjectDelete(), 0);
}

TEST(FSObject, DeletesAFileOrAWholeTree) {
    TempDir dir;
    writeFile(dir / "single", "x");
    FSObject file((dir / "single").c_str());
    EXPECT_EQ(file.ObjectDelete(), 0);
    EXPECT_FALSE(file.exists);
    EXPECT_FALSE(fs::exists(dir / "single"));

    fs::create_directories(dir / "tree/sub/deeper");
    writeFile(dir / "tree/a", "1");
    writeFile(dir / "tree/sub/b", "2");
    writeFile(dir / "tree/sub/deeper/c", "3");
    fs::permissions(dir / "tree/sub/b", fs::perms::owner_read, fs::perm_options::replace);
    FSObject tree((dir / "tree").c_str());
    EXPECT_EQ(tree.ObjectDelete(), 0);
    EXPECT_FALSE(tree.exists);
    EXPECT_FALSE(fs::exists(dir / "tree"));
}

#if !defined(_WIN32)
TEST(FSObject, DeletingALinkLeavesWhatItPointsTo) {
    TempDir dir;
    fs::create_directory(dir / "elsewhere");
    writeFile(dir / "elsewhere/keep", "k");
    fs::create_directory(dir / "out");
    fs::create_directory_symlink(dir / "elsewhere", dir / "out/link");
    FSObject link((dir / "out/link").c_str());
    EXPECT_TRUE(link.isDirectory);
    EXPECT_EQ(link.ObjectDelete(), 0);
    EXPECT_FALSE(fs::exists(fs::symlink_status(dir / "out/link")));
    EXPECT_TRUE(fs::exists(dir / "elsewhere/keep"));

    fs::create_directory_symlink(dir / "elsewhere", dir / "out/link2");
    FSObject out((dir / "out").c_str());
    EXPECT_EQ(out.ObjectDelete(), 0);
    EXPECT_TRUE(fs::exists(dir / "elsewhere/keep"));
}
#endif

} // namespace
