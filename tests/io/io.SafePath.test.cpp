#include "io/io.SafePath.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "io.Scratch.h"
#include "io/io.File.h"
#include "io/io.Folder.h"

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

// The name is made safe, and a file created at it lands on disk under
// exactly that name, inside the output folder.
TEST_P(SafePathTest, LandsInsideTheOutputFolder) {
    Scratch scratch;
    const HostileName& c = GetParam();
    std::string path = io::safePath(scratch.root(), c.stored);
    EXPECT_EQ(path, scratch.at(c.expected));
    EXPECT_TRUE(inside(scratch.root(), path)) << path;
    if (c.expected.empty()) return;

    io::Path::createDirectoryFor(path);
    io::File file;
    file.create(path);
    file.write("landed", 6);
    file.close();
    file.open(path);
    char back[8] = {};
    EXPECT_EQ(file.read(back, sizeof back), 6u);
    file.close();
    // Walk down from the output folder: every component is there by its name.
    std::string folder = scratch.root();
    std::string rest = c.expected;
    while (!rest.empty()) {
        const std::string component = rest.substr(0, rest.find('/'));
        rest = rest.find('/') == std::string::npos ? std::string() : rest.substr(rest.find('/') + 1);
        std::vector<std::string> names;
        for (const auto& entry : io::Folder::list(folder)) names.push_back(entry.name);
        ASSERT_EQ(names, std::vector<std::string>{component}) << "in " << folder;
        folder += io::Path::separator + component;
    }
}

std::string longName() { return std::string(300, 'n') + ".txt"; }
// Three folders of 100 characters: the path passes 260 characters.
std::string deepName(char separator) {
    std::string name;
    for (char c : {'x', 'y', 'z'}) name += std::string(100, c) + separator;
    return name + "file.txt";
}

INSTANTIATE_TEST_SUITE_P(
    Hostile, SafePathTest,
    ::testing::Values(HostileName{"../../x", "x"}, HostileName{"/etc/x", "etc/x"}, HostileName{"C:\\x", "x"},
                      HostileName{"a/../../x", "a/x"}, HostileName{"..\\..\\x", "x"}, HostileName{"./.././x", "x"},
                      HostileName{"...", ""}, HostileName{"..", ""}, HostileName{"a/..../b", "a/b"},
                      HostileName{"dir/", "dir"}, HostileName{"dir\\", "dir"}, HostileName{"", ""},
                      HostileName{"//server/share/x", "server/share/x"}, HostileName{"/C:/x", "x"},
                      HostileName{"a/.\x01./x", "a/x"}, HostileName{"a//b\\\\c", "a/b/c"},
                      HostileName{"q?u*o\"te", "quote"}, HostileName{"l<e>f|t", "left"},
                      HostileName{"c\x01o\x1Fn\ttrol", "control"},
                      HostileName{longName(), std::string(251, 'n') + ".txt"},
                      HostileName{deepName('/'), deepName('/')}, HostileName{deepName('\\'), deepName('/')}));

// The names that Windows refuses or takes for something else: devices with
// any suffix, trailing dots and blanks, and the colon of a stream.
#ifdef _WIN32
const std::vector<HostileName> windowsNames = {{"CON", "_CON"},
                                               {"con.txt", "_con.txt"},
                                               {"a/NUL.tar.gz", "a/_NUL.tar.gz"},
                                               {"prn", "_prn"},
                                               {"Aux .c", "_Aux .c"},
                                               {"COM1", "_COM1"},
                                               {"com9.log", "_com9.log"},
                                               {"LPT1", "_LPT1"},
                                               {"lpt9.x.y", "_lpt9.x.y"},
                                               {"COM\xB9", "_COM\xB9"},
                                               {"CON.", "_CON"},
                                               {"nul ", "_nul"},
                                               {"CONIN$", "_CONIN$"},
                                               {"COM10", "COM10"},
                                               {"CONSOLE", "CONSOLE"},
                                               {"LPT", "LPT"},
                                               {"trail. . ", "trail"},
                                               {"dots.../x", "dots/x"},
                                               {"a/b:AFP_Resource", "a/b_AFP_Resource"},
                                               {"c:d:e", "d_e"},
                                               {"x/c:d", "x/c_d"}};
#else
// Elsewhere the same names are plain names, but the colon of a drive at the start.
const std::vector<HostileName> windowsNames = {
    {"CON", "CON"}, {"con.txt", "con.txt"}, {"COM1", "COM1"}, {"trail. . ", "trail. . "}, {"c:d:e", "d:e"}};
#endif

INSTANTIATE_TEST_SUITE_P(Windows, SafePathTest, ::testing::ValuesIn(windowsNames));

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
#endif

}  // namespace
