#include "io/io.SafePath.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "io.Scratch.h"

using iotest::Scratch;

namespace {

// Whether `path`, with every link resolved, lies inside (or is) `folder`.
bool inside(const std::string& folder, const std::string& path) {
    auto root = std::filesystem::weakly_canonical(folder);
    auto full = std::filesystem::weakly_canonical(path);
    auto r = root.begin();
    for (auto f = full.begin(); r != root.end(); ++r, ++f)
        if (f == full.end() || *f != *r) return false;
    return true;
}

struct HostileName {
    std::string stored;
    std::string expected;  // relative to the output folder, with "/"; "" is the folder itself
};

class SafePathTest : public ::testing::TestWithParam<HostileName> {};

TEST_P(SafePathTest, LandsInsideTheOutputFolder) {
    Scratch scratch;
    const HostileName& c = GetParam();
    std::string path = io::safePath(scratch.root(), c.stored);
    EXPECT_EQ(path, scratch.at(c.expected));
    EXPECT_TRUE(inside(scratch.root(), path)) << path;
}

std::string longName() { return std::string(300, 'n') + ".txt"; }

INSTANTIATE_TEST_SUITE_P(
    Hostile, SafePathTest,
    ::testing::Values(HostileName{"../../x", "x"}, HostileName{"/etc/x", "etc/x"}, HostileName{"C:\\x", "x"},
                      HostileName{"a/../../x", "a/x"}, HostileName{"..\\..\\x", "x"},
                      HostileName{"./.././x", "x"}, HostileName{"...", ""}, HostileName{"..", ""},
                      HostileName{"a/..../b", "a/b"}, HostileName{"dir/", "dir"}, HostileName{"dir\\", "dir"},
                      HostileName{"", ""}, HostileName{"//server/share/x", "server/share/x"},
                      HostileName{"/C:/x", "x"}, HostileName{"a/.\x01./x", "a/x"},
                      HostileName{"a//b\\\\c", "a/b/c"}, HostileName{"q?u*o\"te", "quote"},
                      HostileName{longName(), std::string(251, 'n') + ".txt"}));

#ifndef _WIN32
TEST(SafePathLinks, PlantedLinksAreNeverPassedThrough) {
    Scratch scratch;
    Scratch outside;
    std::filesystem::create_directory(scratch.at("out"));
    std::string out = scratch.at("out");
    std::filesystem::create_directory_symlink(outside.root(), out + "/link");
    std::filesystem::create_symlink(outside.at("victim"), out + "/file");
    std::filesystem::create_symlink(outside.at("other"), out + "/file_1");

    std::string through = io::safePath(out, "link/x");
    EXPECT_EQ(through, out + "/link_1/x");
    EXPECT_TRUE(inside(out, through));

    std::string onto = io::safePath(out, "file");
    EXPECT_EQ(onto, out + "/file_2");
    EXPECT_TRUE(inside(out, onto));

    std::filesystem::create_directory(out + "/real");
    EXPECT_EQ(io::safePath(out, "real/y"), out + "/real/y");
}
#else
TEST(SafePathWindows, DevicesAndStreamsBecomePlainNames) {
    Scratch scratch;
    EXPECT_EQ(io::safePath(scratch.root(), "a/CON.txt"), scratch.at("a/_CON.txt"));
    EXPECT_EQ(io::safePath(scratch.root(), "a/b:AFP_Resource"), scratch.at("a/b_AFP_Resource"));
    EXPECT_EQ(io::safePath(scratch.root(), "a/trail. . "), scratch.at("a/trail"));
}
#endif

} // namespace
