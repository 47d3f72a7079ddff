// tkt5 archives end to end: the same archives through `cratewerk expand`,
// `cratewerk list`, `cratewerk call CRwrk-Expand` and the plug-in loaded by
// the host emulator, each expanding to exactly the same tree.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "cli.Shell.h"
#include "plugin/plugin.Support.h"
#include "support/streams.h"
#include "support/tkt5.Builder.h"

namespace {

namespace fs = std::filesystem;
using clitest::Outcome;
using clitest::quote;
using clitest::run;
using plugintest::readFile;
using plugintest::TempDir;
using plugintest::writeFile;
using test::treeOf;
using test::tkt5::Builder;
using test::tkt5::Item;
using Tree = std::map<std::string, std::string>;  // relative path, content; a folder ends in "/"

struct Sample {
    std::string archive;
    Tree expected;  // below the archive's root folder
};

Sample sample() {
    const std::string a = test::words(70000, 1), b = test::words(5000, 2), c = test::words(1, 3),
                      rsrc = test::words(700, 4);
    Item mac = Item::macFile("Letter", b, rsrc, "TEXT", "ttxt", test::tkt5::arsenic);
    std::vector<Item> tree = {Item::dir(
        "Project", {Item::file("stored.txt", a), Item::file("isp.txt", a, test::tkt5::isp),
                    Item::file("arsenic.txt", a, test::tkt5::arsenic), Item::file("empty", ""),
                    Item::dir("sub", {Item::file("one", c, test::tkt5::isp), Item::dir("nothing")}), mac})};
    Sample s;
    s.archive = Builder().build(tree);
    s.expected = {{"Project/", ""},
                  {"Project/stored.txt", a},
                  {"Project/isp.txt", a},
                  {"Project/arsenic.txt", a},
                  {"Project/empty", ""},
                  {"Project/sub/", ""},
                  {"Project/sub/one", c},
                  {"Project/sub/nothing/", ""},
                  {"Project/Letter", b},
                  {"Project/._Letter", "*"}};
    return s;
}

// The AppleDouble file's bytes depend on its layout; its content is tested
// with the reader. Here it must only be there.
void expectTree(const std::string& root, const Tree& expected) {
    Tree found = treeOf(root);
    ASSERT_EQ(found.size(), expected.size());
    for (const auto& [path, content] : expected) {
        ASSERT_TRUE(found.count(path)) << path;
        if (content != "*") {
            EXPECT_EQ(found[path], content) << path;
        }
    }
    EXPECT_NE(found["Project/._Letter"].find(test::words(700, 4)), std::string::npos);
}

TEST(Tkt5EndToEnd, TheToolTheCallAndThePlugInExpandAlike) {
    TempDir dir;
    Sample s = sample();
    writeFile(dir / "a.tkt", s.archive);
    Outcome r = run(CRATEWERK_PROGRAM,
                    "expand -q --macbinary=never " + quote(dir / "a.tkt") + " " + quote(dir / "dest"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, dir / "dest/Project" + "\n");
    expectTree(dir / "dest", s.expected);
    // The same call through the tool and through the plug-in in the host emulator.
    const std::string call = "CRwrk-Expand " + quote(dir / "a.tkt" + "|" + dir / "called");
    for (const auto& [program, arguments] : {std::pair<std::string, std::string>{CRATEWERK_PROGRAM, "call " + call},
                                             {FMHOST_PROGRAM, quote(CRATEWERK_PLUGIN_LIBRARY) + " " + call}}) {
        fs::create_directories(dir / "called");
        Outcome other = run(program, arguments);
        EXPECT_EQ(other.status, 0) << program << other.err << other.out;
        expectTree(dir / "called", s.expected);
        fs::remove_all(dir / "called");
    }
    // Left to the format, a file with a resource fork comes out as MacBinary.
    Outcome bin = run(CRATEWERK_PROGRAM, "expand -q --macbinary=auto " + quote(dir / "a.tkt") + " " + quote(dir / "b"));
    EXPECT_EQ(bin.status, 0) << bin.err;
    EXPECT_EQ(fs::file_size(dir / "b/Project/Letter.bin"), 128u + 5120u + 768u);
    EXPECT_FALSE(fs::exists(dir / "b/Project/Letter"));
}

TEST(Tkt5EndToEnd, CratewerkList) {
    TempDir dir;
    writeFile(dir / "a.tkt", sample().archive);
    Outcome r = run(CRATEWERK_PROGRAM, "list --json " + quote(dir / "a.tkt"));
    EXPECT_EQ(r.status, 0) << r.err;
    for (const char* needle : {"\"format\": \"tkt5\"", "\"name\": \"Project\", \"type\": \"folder\"",
                               "\"name\": \"Project/isp.txt\", \"type\": \"file\", \"size\": 70000",
                               "\"name\": \"Project/sub/nothing\", \"type\": \"folder\"",
                               "\"name\": \"Project/Letter\", \"type\": \"file\", \"size\": 5700",
                               "\"macType\": \"TEXT\", \"creator\": \"ttxt\""})
        EXPECT_NE(r.out.find(needle), std::string::npos) << needle << "\n" << r.out;
}

TEST(Tkt5EndToEnd, DamageIsReportedNotCrashedOn) {
    TempDir dir;
    Item item = Item::file("f", "some data");
    item.storedCRC = 0x4242;
    writeFile(dir / "bad.tkt", Builder().build({item}));
    Outcome r = run(CRATEWERK_PROGRAM, "expand -q " + quote(dir / "bad.tkt") + " " + quote(dir / "o"));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("CRC mismatch in tkt5 reader; data is invalid"), std::string::npos) << r.err;
    Outcome call = run(CRATEWERK_PROGRAM, "call CRwrk-Expand " + quote(dir / "bad.tkt" + "|" + dir / "o2"));
    EXPECT_EQ(call.out, "-1|CRC mismatch in tkt5 reader; data is invalid|\n");
}

void put(const std::string& path, const std::string& bytes) {
    fs::create_directories(fs::path(path).parent_path());
    writeFile(path, bytes);
}

// Without a destination the tool never deletes: a taken name makes the items
// take the first free one, and the printed path says where they went.
TEST(Destinations, TheToolTakesAFreeNameUnlessToldToReplace) {
    TempDir dir;
    put(dir / "a.tkt", Builder().build({Item::dir("Top", {Item::file("new", "fresh")})}));
    put(dir / "Top/mine", "the user's");
    Outcome r = run(CRATEWERK_PROGRAM, "expand -q " + quote(dir / "a.tkt"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, dir / "Top_1" + "\n");
    EXPECT_EQ(readFile(dir / "Top/mine"), "the user's");
    EXPECT_EQ(readFile(dir / "Top_1/new"), "fresh");

    Outcome replaced = run(CRATEWERK_PROGRAM, "expand -q --replace " + quote(dir / "a.tkt"));
    EXPECT_EQ(replaced.status, 0) << replaced.err;
    EXPECT_EQ(replaced.out, dir / "Top" + "\n");
    EXPECT_FALSE(fs::exists(dir / "Top/mine"));
    EXPECT_EQ(readFile(dir / "Top/new"), "fresh");

    // Without a root name the folder is named after the archive.
    put(dir / "b.tkt", Builder().build({Item::file("x", "1"), Item::file("y", "2")}));
    put(dir / "b/mine", "kept");
    Outcome two = run(CRATEWERK_PROGRAM, "expand -q " + quote(dir / "b.tkt"));
    EXPECT_EQ(two.out, dir / "b_1" + "\n");
    EXPECT_EQ(readFile(dir / "b/mine"), "kept");
    EXPECT_EQ(readFile(dir / "b_1/y"), "2");
}

// The plug-in still clears the place of the result, but never the archive
// being read, a folder that holds it, or a link.
TEST(Destinations, ThePlugInNeverDeletesTheArchiveOrALink) {
    TempDir dir;
    const std::string archive = Builder().build({Item::dir("Top", {Item::file("new", "fresh")})});
    put(dir / "in/Top", archive);  // the archive is named like its top folder
    Outcome own = run(CRATEWERK_PROGRAM, "call CRwrk-Expand " + quote(dir / "in/Top"));
    EXPECT_EQ(own.out, dir / "in/Top_1" + "\n");
    EXPECT_EQ(readFile(dir / "in/Top"), archive);
    EXPECT_EQ(readFile(dir / "in/Top_1/new"), "fresh");

    put(dir / "elsewhere/precious", "p");
    put(dir / "l/a.tkt", archive);
    fs::create_directory_symlink(dir / "elsewhere", dir / "l/Top");
    Outcome link = run(CRATEWERK_PROGRAM, "call CRwrk-Expand " + quote(dir / "l/a.tkt"));
    EXPECT_EQ(link.out, dir / "l/Top_1" + "\n");
    EXPECT_EQ(readFile(dir / "elsewhere/precious"), "p");
    EXPECT_TRUE(fs::is_symlink(dir / "l/Top"));

    // Anything else of the top's name goes first, as before.
    put(dir / "p/a.tkt", archive);
    put(dir / "p/Top/stale", "s");
    Outcome plain = run(CRATEWERK_PROGRAM, "call CRwrk-Expand " + quote(dir / "p/a.tkt"));
    EXPECT_EQ(plain.out, dir / "p/Top" + "\n");
    EXPECT_FALSE(fs::exists(dir / "p/Top/stale"));
}

} // namespace
