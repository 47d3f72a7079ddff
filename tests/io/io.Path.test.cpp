#include "io/io.Path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "io/io.Exception.h"
#include "io.Scratch.h"

using io::Path;
using io::PathSplitter;
using iotest::native;
using iotest::Scratch;

namespace {

std::string messageOf(const std::function<void()>& action) { return iotest::failure<io::Exception>(action); }

void setVariable(const char* name, const char* value) {
#ifdef _WIN32
    _putenv_s(name, value ? value : "");
#else
    if (value) setenv(name, value, 1);
    else unsetenv(name);
#endif
}

} // namespace

TEST(PathChar, RefusesControlBytesAndTheFifteen) {
    const unsigned char refused[] = {0x22, 0x2A, 0x2F, 0x3C, 0x3E, 0x3F, 0x7C, 0x81,
                                     0x8D, 0x8E, 0x8F, 0x90, 0x9D, 0x9E, 0xBF};
    int count = 0;
    for (int b = 0; b < 256; ++b) {
        bool expected = b > 0x1F && std::find(std::begin(refused), std::end(refused), b) == std::end(refused);
        EXPECT_EQ(Path::pathChar(static_cast<char>(b)), expected) << "byte " << b;
        count += expected ? 0 : 1;
    }
    EXPECT_EQ(count, 32 + 15);
    EXPECT_TRUE(Path::pathChar(':'));
}

TEST(PathNormalize, RemovesRefusedBytesButKeepsSeparators) {
    std::string path = native("out/a\"b*c<d>e?f|g\x81h\xBFi\tj:k");
    EXPECT_TRUE(Path::normalize(path));
    EXPECT_EQ(path, native("out/abcdefghij:k"));
    EXPECT_FALSE(Path::normalize(path));
    EXPECT_EQ(path, native("out/abcdefghij:k"));
}

#ifndef _WIN32
// Names are UTF-8 here: a character's bytes are never refused one by one.
TEST(PathNormalize, KeepsUTF8CharactersWhole) {
    std::string path = "out/\xE6\x88\xBF\xC2\x81x\xBF\xE6\x88";
    EXPECT_TRUE(Path::normalize(path));
    EXPECT_EQ(path, "out/\xE6\x88\xBF\xC2\x81x\xE6\x88");
}
#endif

struct SplitCase {
    std::string path, folder, name, extension;
};

class PathSplitterTest : public ::testing::TestWithParam<SplitCase> {};

TEST_P(PathSplitterTest, Splits) {
    const SplitCase& c = GetParam();
    PathSplitter split(native(c.path));
    EXPECT_EQ(split.folder(), native(c.folder));
    EXPECT_EQ(split.name(), c.name);
    EXPECT_EQ(split.extension(), c.extension);
}

INSTANTIATE_TEST_SUITE_P(Paths, PathSplitterTest,
                         ::testing::Values(SplitCase{"archive.tar.gz", "", "archive.tar", ".gz"},
                                           SplitCase{"a.b/c", "a.b", "c", ""},
                                           SplitCase{"f/a.txt", "f", "a", ".txt"},
                                           SplitCase{"f/.profile", "f", "", ".profile"},
                                           SplitCase{"/x/y/", "/x/y", "", ""},
                                           SplitCase{"name", "", "name", ""}));

TEST(PathSplitterTest, BackslashSeparatorFallsBackToSlash) {
    PathSplitter split("a.b/c/d.e", '\\');
    EXPECT_EQ(split.folder(), "a.b/c");
    EXPECT_EQ(split.name(), "d");
    EXPECT_EQ(split.extension(), ".e");
}

TEST(CompositePathTest, JoinsWithOneSeparator) {
    io::CompositePath path('/');
    path << "out/" << "" << "a" << "/b" << "c.txt";
    EXPECT_EQ(path.str(), "out/a/b/c.txt");
    path.removeLast();
    EXPECT_EQ(path.str(), "out/a/b");
    EXPECT_EQ(io::CompositePath::join("", "a", ".txt", '/'), "a.txt");
    EXPECT_EQ(io::CompositePath::join("f", "a_1", ".txt", '/'), "f/a_1.txt");
}

struct TruncateCase {
    std::string path;
    uint32_t limit;
    bool changed;
    std::string result;
};

class PathTruncate : public ::testing::TestWithParam<TruncateCase> {};

TEST_P(PathTruncate, KeepsTheExtensionOnlyWithSevenBytesOfName) {
    const TruncateCase& c = GetParam();
    std::string path = native(c.path);
    EXPECT_EQ(Path::truncate(path, c.limit), c.changed);
    EXPECT_EQ(path, native(c.result));
    EXPECT_LE(path.size(), c.limit);
}

INSTANTIATE_TEST_SUITE_P(
    Limits, PathTruncate,
    ::testing::Values(TruncateCase{"d/abcdefghij.txt", 16, false, "d/abcdefghij.txt"},  // limit equals length
                      TruncateCase{"d/abcdefghij.txt", 15, true, "d/abcdefghi.txt"},
                      TruncateCase{"d/abcdefghij.txt", 13, true, "d/abcdefg.txt"},  // keep is exactly 7
                      TruncateCase{"d/abcdefghij.txt", 12, true, "d/abcdefghij"},   // keep 6: cut blindly
                      TruncateCase{"d/abcdefghij.txt", 8, true, "d/abcdef"},
                      TruncateCase{"abcdefghij.txt", 11, true, "abcdefg.txt"},
                      TruncateCase{"abcdefghij.txt", 10, true, "abcdefghij"}));

TEST(PathTruncateFailure, FolderLeavesNoRoom) {
    std::string path = native("folder/abcdefghij.txt");
    EXPECT_EQ(messageOf([&] { Path::truncate(path, 12); }), "cannot truncate " + path);
    EXPECT_EQ(path, native("folder/abcdefghij.txt"));
}

TEST(PathMakeUnique, CountsUpPastTakenNames) {
    Scratch scratch;
    std::filesystem::create_directory(scratch.at("f"));
    scratch.write("f/a.txt", "x");
    std::string path = scratch.at("f/a.txt");
    EXPECT_TRUE(Path::makeUnique(path, 999));
    EXPECT_EQ(path, scratch.at("f/a_1.txt"));

    scratch.write("f/a_1.txt", "x");
    scratch.write("f/a_2.txt", "x");
    path = scratch.at("f/a.txt");
    EXPECT_TRUE(Path::makeUnique(path, 999));
    EXPECT_EQ(path, scratch.at("f/a_3.txt"));

    path = scratch.at("f/free.txt");
    EXPECT_FALSE(Path::makeUnique(path, 999));
    EXPECT_EQ(path, scratch.at("f/free.txt"));

    std::filesystem::create_directory(scratch.at("f/dir.d"));
    path = scratch.at("f/dir.d");
    EXPECT_TRUE(Path::makeUnique(path, 1));
    EXPECT_EQ(path, scratch.at("f/dir_1.d"));
}

TEST(PathMakeUnique, GivesUpAfterTheLimit) {
    Scratch scratch;
    scratch.write("a.txt", "x");
    scratch.write("a_1.txt", "x");
    std::string path = scratch.at("a.txt");
    EXPECT_EQ(messageOf([&] { Path::makeUnique(path, 0); }),
              "io::Path::makeUnique() cannot resolve name conflict for " + path);
    EXPECT_EQ(messageOf([&] { Path::makeUnique(path, 1); }),
              "io::Path::makeUnique() cannot resolve name conflict for " + path);
    EXPECT_TRUE(Path::makeUnique(path, 2));
    EXPECT_EQ(path, scratch.at("a_2.txt"));
}

TEST(PathMakeAbsolute, FoldsDotsWithoutTouchingTheDisk) {
    Scratch scratch;
    std::string path = scratch.at("x/../y/./z/..") + Path::separator + "w";
    Path::makeAbsolute(path);
    EXPECT_EQ(path, scratch.at("y/w"));

    std::string empty;
    Path::makeAbsolute(empty);
    std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(empty, here);

    std::string relative = native("a/b/../../c");
    Path::makeAbsolute(relative);
    EXPECT_EQ(relative, here + (here.back() == Path::separator ? "" : std::string(1, Path::separator)) + "c");
}

TEST(PathMakeAbsolute, TooLongForAnyRepair) {
    std::string path;
    for (int i = 0; i < 500; ++i) path += native("abcdefghij/");
    path += "x";
    std::string original = path;
    EXPECT_EQ(messageOf([&] { Path::makeAbsolute(path); }), "cannot resolve " + original + " to an absolute name");
    EXPECT_EQ(path, original);
}

TEST(PathDirectories, CreateRecursivelyAndReport) {
    Scratch scratch;
    std::string deep = scratch.at("a/b/c");
    Path::createDirectory(deep);
    EXPECT_TRUE(Path::directory(deep));
    Path::createDirectory(deep);  // already there
    Path::createDirectory("");

    Path::createDirectoryFor(scratch.at("p/q/file.txt"));
    EXPECT_TRUE(Path::directory(scratch.at("p/q")));
    EXPECT_FALSE(Path::exists(scratch.at("p/q/file.txt")));
    EXPECT_EQ(Path::getDirectoryFor(scratch.at("p/q/file.txt")), scratch.at("p/q"));
    EXPECT_EQ(Path::getDirectoryFor(""), "");

    scratch.write("plain", "x");
    EXPECT_TRUE(Path::exists(scratch.at("plain")));
    EXPECT_FALSE(Path::directory(scratch.at("plain")));
    EXPECT_FALSE(Path::directory(""));
    EXPECT_EQ(messageOf([&] { Path::createDirectory(scratch.at("plain/sub")); }),
              "cannot create (directory) " + scratch.at("plain"));
}

#ifdef _WIN32
TEST(PathDirectories, BareDriveIsDone) { Path::createDirectory("C:"); }
#else
TEST(PathDirectories, DanglingLinkExistsButIsNoFolder) {
    Scratch scratch;
    std::filesystem::create_symlink(scratch.at("nowhere"), scratch.at("dangling"));
    EXPECT_TRUE(Path::exists(scratch.at("dangling")));
    EXPECT_TRUE(Path::link(scratch.at("dangling")));
    EXPECT_FALSE(Path::directory(scratch.at("dangling")));
}
#endif

TEST(PathTemp, TempThenTmpThenDot) {
    const char* oldTemp = std::getenv("TEMP");
    const char* oldTmp = std::getenv("TMP");
    std::string savedTemp = oldTemp ? oldTemp : "", savedTmp = oldTmp ? oldTmp : "";

    setVariable("TEMP", "first");
    setVariable("TMP", "second");
    EXPECT_EQ(Path::tempDirectory(), "first");
    setVariable("TEMP", nullptr);
    EXPECT_EQ(Path::tempDirectory(), "second");
    setVariable("TMP", nullptr);
    EXPECT_EQ(Path::tempDirectory(), ".");

    setVariable("TEMP", oldTemp ? savedTemp.c_str() : nullptr);
    setVariable("TMP", oldTmp ? savedTmp.c_str() : nullptr);
}
