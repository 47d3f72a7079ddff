// Hard links in tar and ARJ archives that the real programs made come out as
// one file under several names, as GNU tar and arj make them, through the
// tool and the plug-in; a link that names anything but a file of the same
// archive is refused alone.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "interop.Shell.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using namespace interop;

const std::string kTool = quote(CRATEWERK_PROGRAM);

// The inode of a name and how many names it has; zeros where nothing is.
struct Node {
    ino_t inode = 0;
    nlink_t names = 0;
};

Node node(const fs::path& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return {};
    return {info.st_ino, info.st_nlink};
}

// top/a.txt under two more names, one in another folder.
void makeLinked(const fs::path& at) {
    writeFile(at / "top/a.txt", "alpha\n");
    fs::create_directories(at / "top/sub");
    fs::create_hard_link(at / "top/a.txt", at / "top/b.txt");
    fs::create_hard_link(at / "top/a.txt", at / "top/sub/c.txt");
}

// The three names of top/a.txt name one file.
void expectLinked(const fs::path& top) {
    const Node a = node(top / "a.txt");
    EXPECT_NE(a.inode, 0u) << top;
    EXPECT_EQ(a.names, 3u) << top;
    for (const char* other : {"a.txt", "b.txt", "sub/c.txt"}) {
        EXPECT_EQ(node(top / other).inode, a.inode) << top / other;
        EXPECT_EQ(readFile(top / other), "alpha\n") << top / other;
    }
}

TEST(HardLinks, TarLinksAreOneFileUnderSeveralNames) {
    test::Scratch scratch;
    const fs::path at = scratch.path();
    makeLinked(at / "src");
    // A second member top/x, appended with a link to it, meets the first
    // top/x: it takes a free name, and the link follows it there.
    writeFile(at / "src/top/x", "first x\n");
    writeFile(at / "later/top/x", "second x\n");
    fs::create_hard_link(at / "later/top/x", at / "later/top/y");
    ASSERT_EQ(run("tar -C src --sort=name -cf a.tar top && tar -C later -rf a.tar top/x top/y", at).status, 0);
    ASSERT_EQ(run("mkdir reference && tar -xf a.tar -C reference", at).status, 0);
    ASSERT_EQ(node(at / "reference/top/y").inode, node(at / "reference/top/x").inode);

    // The second run finds top taken and opens top_1: its links join the
    // files of that folder.
    for (const char* top : {"top", "top_1"}) {
        Ran tool = run(kTool + " expand -q a.tar out", at);
        EXPECT_EQ(tool.status, 0) << tool.err;
        EXPECT_EQ(tool.err, "");
        EXPECT_EQ(tool.out, (at / "out" / top).string() + "\n");
        const fs::path out = at / "out" / top;
        expectLinked(out);
        EXPECT_EQ(readFile(out / "x"), "first x\n");
        EXPECT_EQ(node(out / "x").names, 1u);
        EXPECT_EQ(readFile(out / "y"), "second x\n");
        EXPECT_EQ(node(out / "y").inode, node(out / "x_1").inode);
        EXPECT_EQ(node(out / "y").names, 2u);
    }

    Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                         quote((at / "a.tar").string() + "|" + (at / "host").string() + "|"),
                     at);
    EXPECT_EQ(plugin.out, (at / "host/top").string() + "\n") << plugin.err;
    expectLinked(at / "host/top");

    // The listing names each link's target, as tar -tv does.
    Ran list = run(kTool + " list a.tar", at);
    EXPECT_EQ(list.status, 0) << list.err;
    for (const char* line :
         {"  hardlink   top/b.txt link to top/a.txt\n", "  hardlink   top/sub/c.txt link to top/a.txt\n",
          "  hardlink   top/y link to top/x\n", "  file       top/a.txt\n"})
        EXPECT_NE(list.out.find(line), std::string::npos) << line << list.out;
    Ran json = run(kTool + " list --json a.tar", at);
    EXPECT_NE(json.out.find("{\"name\": \"top/y\", \"type\": \"hardlink\", \"size\": 0"), std::string::npos)
        << json.out;
    EXPECT_NE(json.out.find("\"linkTarget\": \"top/x\"}"), std::string::npos) << json.out;
}

TEST(HardLinks, ArjLinksAreOneFileUnderSeveralNames) {
    if (!have("arj")) GTEST_SKIP() << "arj is not installed";
    test::Scratch scratch;
    const fs::path at = scratch.path();
    makeLinked(at / "src");
    ASSERT_EQ(run("cd src && arj a -r ../a.arj top", at).status, 0);
    Ran tool = run(kTool + " expand -q a.arj out", at);
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(tool.err, "");
    expectLinked(at / "out/top");
}

// Python's tarfile writes links that GNU tar would not: to a file outside
// the folder, by a climbing and by an absolute name. Each is refused alone,
// and nothing outside gains a name.
TEST(HardLinks, HostileTargetsAreRefusedOneByOne) {
    if (!have("python3")) GTEST_SKIP() << "python3 is not installed";
    test::Scratch scratch;
    const fs::path at = scratch.path();
    writeFile(at / "outside.txt", "secret\n");
    const std::string script =
        "import io, tarfile, sys\n"
        "def add(t, name, kind=tarfile.REGTYPE, link='', data=b''):\n"
        "    i = tarfile.TarInfo(name); i.type = kind; i.linkname = link; i.size = len(data)\n"
        "    t.addfile(i, io.BytesIO(data) if data else None)\n"
        "with tarfile.open('box/evil.tar', 'w', format=tarfile.GNU_FORMAT) as t:\n"
        "    add(t, 'fine.txt', data=b'fine')\n"
        "    add(t, 'up', tarfile.LNKTYPE, '../outside.txt')\n"
        "    add(t, 'abs', tarfile.LNKTYPE, sys.argv[1])\n"
        "    add(t, '../climb', tarfile.LNKTYPE, 'fine.txt')\n";
    writeFile(at / "make.py", script);
    ASSERT_EQ(run("mkdir -p box/out && python3 make.py " + quote((at / "outside.txt").string()), at).status, 0);

    Ran tool = run(kTool + " expand -q evil.tar out", at / "box");
    EXPECT_EQ(tool.status, 1);
    const std::string refused = "cratewerk: evil.tar: cannot hard link to ";
    EXPECT_EQ(tool.err, refused + "../outside.txt, which is no file expanded before it: up\n" + refused +
                            (at / "outside.txt").string() + ", which is no file expanded before it: abs\n");
    EXPECT_EQ(node(at / "outside.txt").names, 1u);
    EXPECT_FALSE(fs::exists(at / "box/out/up"));
    EXPECT_FALSE(fs::exists(at / "box/out/abs"));
    // A link whose own name climbs lands inside, as a file's would.
    EXPECT_EQ(node(at / "box/out/climb").inode, node(at / "box/out/fine.txt").inode);
    EXPECT_FALSE(fs::exists(at / "box/climb"));
}

}  // namespace
