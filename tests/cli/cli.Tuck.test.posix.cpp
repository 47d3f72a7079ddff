// `cratewerk tuck` as a script sees it: archives that `cratewerk expand`
// gives back exactly, names that never replace what exists, and runs that
// fail or are cancelled leaving nothing behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "cli.Shell.h"
#include "io/io.ntfs.Rsrc.h"
#include "plugin/plugin.Support.h"
#include "support/streams.h"

namespace {

namespace fs = std::filesystem;
using clitest::Outcome;
using clitest::quote;
using plugintest::readFile;
using plugintest::TempDir;
using plugintest::writeFile;
using test::treeOf;
using Tree = std::map<std::string, std::string>;

class Tuck : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(dir / "src/sub/empty");
        writeFile(dir / "src/a.txt", "alpha\n");
        writeFile(dir / "src/sub/b", test::words(300000, 1));
        writeFile(dir / "loose", "at the top");
    }
    TempDir dir;
};

TEST_F(Tuck, SourcesGoInAtTheTopAndExpandExactly) {
    for (const char* method : {"", "--method=stored", "--method isp", "--method arsenic"}) {
        fs::remove_all(dir / "out");
        fs::remove(dir / "both.tkt");
        Outcome made = clitest::tool(std::string("tuck -q ") + method + " " + quote(dir / "src") + " " +
                                     quote(dir / "loose") + " -o " + quote(dir / "both.tkt"));
        ASSERT_EQ(made.status, 0) << method << made.err;
        EXPECT_EQ(made.out, dir / "both.tkt" + "\n");
        Outcome back = clitest::tool("expand -q " + quote(dir / "both.tkt") + " " + quote(dir / "out"));
        ASSERT_EQ(back.status, 0) << back.err;
        Tree expected = treeOf(dir / "src");
        Tree got = treeOf(dir / "out");
        EXPECT_EQ(got["loose"], "at the top");
        for (const auto& [path, content] : expected) EXPECT_EQ(got["src/" + path], content) << method << path;
        EXPECT_EQ(got.size(), expected.size() + 2);
    }
}

TEST_F(Tuck, WhatExistsIsNeverReplaced) {
    writeFile(dir / "src.tkt", "someone else's");
    Outcome made = clitest::tool("tuck -q " + quote(dir / "src"));
    EXPECT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(made.out, dir / "src_1.tkt" + "\n");
    EXPECT_EQ(readFile(dir / "src.tkt"), "someone else's");
    // An archive named inside its own source is not stored in itself.
    Outcome inside = clitest::tool("tuck -q " + quote(dir / "src") + " -o " + quote(dir / "src/self.tkt"));
    EXPECT_EQ(inside.status, 0) << inside.err;
    Outcome listed = clitest::tool("list " + quote(dir / "src/self.tkt"));
    EXPECT_EQ(listed.status, 0);
    EXPECT_NE(listed.out.find("  src/a.txt\n"), std::string::npos) << listed.out;
    EXPECT_EQ(listed.out.find("  src/self.tkt\n"), std::string::npos) << listed.out;
}

TEST_F(Tuck, PasswordsAndForks) {
    const std::string path = dir / "src/Doc";
    writeFile(path, "data fork");
    io::ntfs::Rsrc fork(path);
    fork.create();
    fork.write("resource fork", 13);
    fork.close();
    format::data::FileInfo info;
    info.type(format::data::OSType("TEXT"));
    fork.fileInfo(info);

    // ISP would lose the fork, so that file takes Arsenic, and says so. A
    // password leaves the fork's record without a key: the fork is stored, but
    // cannot be expanded again, and the tool says that too.
    Outcome made =
        clitest::tool("tuck -q --method=isp -p secret " + quote(dir / "src") + " -o " + quote(dir / "x.tkt"));
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(made.err, "cratewerk: warning: " + path + " has a resource fork; it is stored with Arsenic\n" +
                            "cratewerk: warning: " + path +
                            " has a resource fork; under a password it cannot be expanded again\n");
    EXPECT_EQ(clitest::tool("expand -q -p wrong " + quote(dir / "x.tkt") + " " + quote(dir / "bad")).err,
              "cratewerk: " + dir / "x.tkt" + ": password mismatch in tkt5 reader\n");
    EXPECT_EQ(clitest::tool("expand -q -p secret " + quote(dir / "x.tkt") + " " + quote(dir / "bad")).status, 1);

    ASSERT_EQ(clitest::tool("tuck -q --method=isp " + quote(dir / "src") + " -o " + quote(dir / "y.tkt")).status, 0);
    Outcome back = clitest::tool("expand -q --macbinary=never " + quote(dir / "y.tkt") + " " + quote(dir / "out"));
    ASSERT_EQ(back.status, 0) << back.err;
    io::ntfs::Rsrc copy(dir / "out/src/Doc");
    copy.open();
    std::string text(copy.size(), '\0');
    copy.read(text.data(), uint32_t(text.size()));
    copy.close();
    EXPECT_EQ(text, "resource fork");
    EXPECT_EQ(copy.fileInfo().type().stringValue(), "TEXT");
    EXPECT_EQ(readFile(dir / "out/src/Doc"), "data fork");
    EXPECT_FALSE(fs::exists(dir / "out/src/._Doc._Doc"));
}

TEST_F(Tuck, FailedAndCancelledRunsLeaveNothing) {
    struct Case {
        std::string arguments, environment;
        int status;
        std::string err;
    } cases[] = {
        {"tuck", "", 2, "tuck needs at least one source"},
        {"tuck --method=zstd " + quote(dir / "src"), "", 2, "unknown value 'zstd' for --method"},
        {"tuck " + quote(dir / "missing"), "", 1, "cratewerk: cannot read " + dir / "missing" + "\n"},
        {"tuck -p - " + quote(dir / "src"), "", 1, "cratewerk: no password given\n"},
        {"tuck " + quote(dir / "src"), "CRATEWERK_UI_SCRIPT=" + quote(dir / "script"), 130, "cratewerk: cancelled\n"},
        {"tuck -q " + quote(dir / "src"), "", 1,
         "cratewerk: io::File::open() cannot open " + dir / "src/sub/dangling" + "\n"},
    };
    writeFile(dir / "script", "cancel-at 100000\n");
    for (const Case& c : cases) {
        if (c.status == 1 && c.err.find("dangling") != std::string::npos)
            fs::create_symlink(dir / "nowhere", dir / "src/sub/dangling");
        Outcome r = clitest::tool(c.arguments, c.environment);
        EXPECT_EQ(r.status, c.status) << c.arguments;
        if (c.status == 2)
            EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
        else
            EXPECT_EQ(r.err, c.err);
        std::vector<std::string> left;
        for (const auto& entry : fs::directory_iterator(dir.str())) left.push_back(entry.path().filename().string());
        std::sort(left.begin(), left.end());
        EXPECT_EQ(left, (std::vector<std::string>{"loose", "script", "src"})) << c.arguments;
    }
}

// cratewerk zip shares tuck's naming, temporary file and cancel.
using Zip = Tuck;

TEST_F(Zip, NamesLikeTuckAndLeavesNothingWhenItFails) {
    writeFile(dir / "src.zip", "someone else's");
    Outcome made = clitest::tool("zip -q -r -9 " + quote(dir / "src") + " " + quote(dir / "loose"));
    EXPECT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(made.out, dir / "src_1.zip" + "\n");
    EXPECT_EQ(readFile(dir / "src.zip"), "someone else's");
    Outcome listed = clitest::tool("list " + quote(dir / "src_1.zip"));
    EXPECT_NE(listed.out.find("  src/sub/b\n"), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("  loose\n"), std::string::npos) << listed.out;
    fs::remove(dir / "src_1.zip");
    fs::remove(dir / "src.zip");

    writeFile(dir / "script", "cancel-at 100000\n");
    const Outcome cases[] = {
        clitest::tool("zip"),
        clitest::tool("zip -x " + quote(dir / "src")),
        clitest::tool("zip " + quote(dir / "missing")),
        clitest::tool("zip " + quote(dir / "src"), "CRATEWERK_UI_SCRIPT=" + quote(dir / "script")),
    };
    EXPECT_EQ(cases[0].status, 2);
    EXPECT_NE(cases[0].err.find("zip needs at least one source"), std::string::npos) << cases[0].err;
    EXPECT_EQ(cases[1].status, 2);
    EXPECT_NE(cases[1].err.find("unknown option '-x'"), std::string::npos) << cases[1].err;
    EXPECT_EQ(cases[2].status, 1);
    EXPECT_EQ(cases[2].err, "cratewerk: cannot read " + dir / "missing" + "\n");
    EXPECT_EQ(cases[3].status, 130);
    EXPECT_EQ(cases[3].err, "cratewerk: cancelled\n");
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(dir.str())) left.push_back(entry.path().filename().string());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"loose", "script", "src"}));
}

}  // namespace
