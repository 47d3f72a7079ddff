// gzip, bzip2, compress and tar files made at test time by the real programs,
// expanded by the cratewerk command (and a .tar.gz by the plug-in in the host
// emulator) and compared with what the programs themselves expand; our
// compress output read back by compress; and hostile and damaged input.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>

#include "engine/t5.Reader.h"
#include "interop.Shell.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using namespace interop;

std::map<std::string, std::string> tree(const fs::path& root) { return test::treeOf(root, test::kFolders | test::kLinks); }

const std::string kTool = quote(CRATEWERK_PROGRAM);

// Text, noise, an empty file and folder; with `rich`, what only the newer tar
// dialects hold: a name over 100 bytes, a link with a 200-byte target, a
// sparse file and UTF-8 names.
void makeSources(const fs::path& at, bool rich) {
    std::mt19937 random(11);
    std::string text, noise(70000, '\0');
    for (int i = 0; text.size() < 200000; ++i) text += "line " + std::to_string(i % 1013) + " of the unix text\n";
    for (char& c : noise) c = static_cast<char>(random());
    writeFile(at / "top/text.txt", text);
    writeFile(at / "top/noise.bin", noise);
    writeFile(at / "top/empty", "");
    writeFile(at / "top/sub/small.txt", "small\n");
    fs::create_directories(at / "top/emptydir");
    if (!rich) return;
    const std::string longName(120, 'n');
    writeFile(at / "top" / "sub" / longName, "long name\n");
    std::string target;
    while (target.size() < 200) target += "far/away/";
    fs::create_symlink(target, at / "top/longlink");
    fs::create_symlink("text.txt", at / "top/link");
    writeFile(at / "top/gr\xC3\xBC\xC3\x9F"
                   "e.txt",
              "utf-8\n");
    {
        std::ofstream sparse(at / "top/sparse", std::ios::binary);
        sparse.seekp(3 << 20);
        sparse << "end";
    }
}

struct Case {
    const char* title;
    const char* tool;
    bool rich;
    std::string make;       // run in the scratch folder; writes the archive
    std::string archive;    // its name
    std::string reference;  // fills reference/ with what the archive holds
};

class UnixPeers : public ::testing::TestWithParam<Case> {};

TEST_P(UnixPeers, ExpandLikeThePeer) {
    const Case& c = GetParam();
    if (!have(c.tool)) GTEST_SKIP() << c.tool << " is not installed";
    test::Scratch scratch;
    makeSources(scratch.path() / "src", c.rich);
    Ran made = run(c.make, scratch.path());
    ASSERT_TRUE(fs::exists(scratch.path() / c.archive)) << c.make << "\n" << made.err;
    run("mkdir reference && " + c.reference, scratch.path());
    const auto expected = tree(scratch.path() / "reference");
    ASSERT_FALSE(expected.empty());

    fs::create_directories(scratch.path() / "tool");
    // The sparse file's holes expand from nothing, far beyond the bomb guard's
    // ratio: the peer's output is had with the guard off.
    Ran tool = run(kTool + " expand -q --max-ratio=0 " + quote(c.archive) + " tool", scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(tree(scratch.path() / "tool"), expected);

    // The listing names the items of the inner archive, or the one file.
    Ran list = run(kTool + " list " + quote(c.archive), scratch.path());
    EXPECT_EQ(list.status, 0) << list.err;
    for (const auto& [name, bytes] : expected) {
        if (name.find('/') == std::string::npos || name.rfind("top/", 0) == 0) {
            EXPECT_NE(list.out.find(name.substr(0, 40)), std::string::npos) << name << "\n" << list.out;
        }
    }
}

const std::string tarReference = "tar -xf a.tar -C reference";
const std::string tarOf = "tar -C src -cf a.tar";
const std::string gnuFiles = " top";

INSTANTIATE_TEST_SUITE_P(
    Unix, UnixPeers,
    ::testing::Values(
        Case{"gzipFastest", "gzip", false, "cp src/top/text.txt t && gzip -1 t", "t.gz",
             "cp src/top/text.txt reference/t"},
        Case{"gzipBestNoName", "gzip", false, "cp src/top/noise.bin n && gzip -9 -n n", "n.gz",
             "cp src/top/noise.bin reference/n"},
        Case{"gzipStoredName", "gzip", false, "gzip -c src/top/text.txt > other.gz", "other.gz",
             "cp src/top/text.txt reference/text.txt"},
        Case{"gzipMembers", "gzip", false,
             "(gzip -c src/top/text.txt; gzip -n -c src/top/noise.bin; gzip -c src/top/empty) > m.gz", "m.gz",
             "cat src/top/text.txt src/top/noise.bin > reference/text.txt"},
        Case{"bzip2Fastest", "bzip2", false, "bzip2 -1 -c src/top/text.txt > t.bz2", "t.bz2",
             "cp src/top/text.txt reference/t"},
        Case{"bzip2Streams", "bzip2", false, "(bzip2 -9 -c src/top/text.txt; bzip2 -9 -c src/top/noise.bin) > c.bz2",
             "c.bz2", "cat src/top/text.txt src/top/noise.bin > reference/c"},
        Case{"compress10Clears", "compress", false,
             "cat src/top/text.txt src/top/noise.bin src/top/text.txt > f && compress -b 10 f", "f.Z",
             "cat src/top/text.txt src/top/noise.bin src/top/text.txt > reference/f"},
        Case{"compress12", "compress", false, "compress -b 12 -c src/top/text.txt > t.Z", "t.Z",
             "cp src/top/text.txt reference/t"},
        Case{"compress16", "compress", false, "cat src/top/text.txt src/top/noise.bin > f && compress -b 16 f", "f.Z",
             "cat src/top/text.txt src/top/noise.bin > reference/f"},
        Case{"tarV7", "tar", false, tarOf + " --format=v7" + gnuFiles, "a.tar", tarReference},
        Case{"tarUstar", "tar", false, tarOf + " --format=ustar" + gnuFiles, "a.tar", tarReference},
        Case{"tarGnu", "tar", true, tarOf + " -S --format=gnu" + gnuFiles, "a.tar", tarReference},
        Case{"tarPax", "tar", true, tarOf + " -S --format=pax" + gnuFiles, "a.tar", tarReference},
        Case{"tarGzip", "tar", true, "tar -C src -czf a.tar.gz top", "a.tar.gz", "tar -xzf a.tar.gz -C reference"},
        Case{"tgz", "tar", true, "tar -C src -czf a.tgz top", "a.tgz", "tar -xzf a.tgz -C reference"},
        Case{"tarBzip2", "bzip2", true, "tar -C src -cjf a.tar.bz2 top", "a.tar.bz2",
             "tar -xjf a.tar.bz2 -C reference"},
        Case{"tarCompress", "compress", true, "tar -C src -cZf a.tar.Z top", "a.tar.Z",
             "tar -xZf a.tar.Z -C reference"}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.title); });

TEST(UnixFormats, TarGzThroughThePlugInGivesItsFolder) {
    test::Scratch scratch;
    makeSources(scratch.path() / "src", true);
    run("tar -C src -czf a.tar.gz top && mkdir reference host && tar -xzf a.tar.gz -C reference", scratch.path());
    const fs::path archive = scratch.path() / "a.tar.gz", host = scratch.path() / "host";
    Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                         quote(archive.string() + "|" + host.string() + "|"),
                     scratch.path());
    EXPECT_EQ(plugin.status, 0) << plugin.out << plugin.err;
    EXPECT_EQ(plugin.out, (host / "top").string() + "\n");
    EXPECT_EQ(tree(host), tree(scratch.path() / "reference"));
}

TEST(UnixFormats, OneLayerGivesTheTar) {
    test::Scratch scratch;
    makeSources(scratch.path() / "src", false);
    run("tar -C src -cjf a.tbz top && tar -C src -cf a.tar top && mkdir out", scratch.path());
    Ran tool = run(kTool + " expand -q --one-layer a.tbz out", scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(readFile(scratch.path() / "out/a.tar"), readFile(scratch.path() / "a.tar"));
    Ran list = run(kTool + " list --one-layer a.tbz", scratch.path());
    EXPECT_NE(list.out.find("a.tar\n"), std::string::npos) << list.out;
}

TEST(UnixFormats, OurCompressIsReadByCompress) {
    if (!have("compress")) GTEST_SKIP() << "compress is not installed";
    test::Scratch scratch;
    makeSources(scratch.path() / "src", false);
    run("cat src/top/text.txt src/top/noise.bin src/top/text.txt > f", scratch.path());
    const std::string original = readFile(scratch.path() / "f");
    // A full table of 9 bits goes on with 10-bit codes, as both peers read it
    // (compress's own -b 9 output of a file this long reads back in neither).
    for (int bits = 9; bits <= 16; ++bits) {
        Ran made = run(kTool + " compress -q -b " + std::to_string(bits) + " f", scratch.path());
        ASSERT_EQ(made.status, 0) << made.err;
        EXPECT_EQ(made.out, (scratch.path() / "f.Z").string() + "\n");
        Ran back = run("compress -dc f.Z > back && gzip -dc < f.Z > back2", scratch.path());
        EXPECT_EQ(back.status, 0) << bits << back.err;
        EXPECT_EQ(readFile(scratch.path() / "back"), original) << bits;
        EXPECT_EQ(readFile(scratch.path() / "back2"), original) << bits;
        fs::remove(scratch.path() / "f.Z");
    }
    // compress's own choice of codes, byte for byte, on a file that fits the table.
    run("head -c 3000 src/top/text.txt > s && compress -b 12 -c s > theirs.Z", scratch.path());
    run(kTool + " compress -q -b 12 s", scratch.path());
    EXPECT_EQ(readFile(scratch.path() / "s.Z"), readFile(scratch.path() / "theirs.Z"));
}

TEST(UnixFormats, GzipChecksAndTrailingData) {
    test::Scratch scratch;
    const fs::path at = scratch.path();
    writeFile(at / "t", std::string(5000, 'x') + "tail\n");
    run("gzip -c t > good.gz", at);
    const std::string good = readFile(at / "good.gz");
    std::string badCrc = good;
    badCrc[badCrc.size() - 8] ^= 1;
    std::string badSize = good;
    badSize[badSize.size() - 1] ^= 1;
    writeFile(at / "crc.gz", badCrc);
    writeFile(at / "size.gz", badSize);
    writeFile(at / "zeros.gz", good + std::string(512, '\0'));
    writeFile(at / "garbage.gz", good + "garbage");
    fs::create_directories(at / "o");

    Ran crc = run(kTool + " expand -q crc.gz o", at);
    EXPECT_EQ(crc.status, 1);
    EXPECT_NE(crc.err.find("CRC mismatch in gzip reader; data is invalid"), std::string::npos) << crc.err;
    Ran size = run(kTool + " expand -q size.gz o", at);
    EXPECT_EQ(size.status, 1);
    EXPECT_NE(size.err.find("length mismatch in gzip reader"), std::string::npos) << size.err;
    EXPECT_TRUE(tree(at / "o").empty());

    Ran zeros = run(kTool + " expand -q zeros.gz o", at);
    EXPECT_EQ(zeros.status, 0) << zeros.err;
    EXPECT_EQ(zeros.err, "");
    Ran garbage = run(kTool + " expand -q garbage.gz o", at);
    EXPECT_EQ(garbage.status, 0) << garbage.err;
    EXPECT_NE(garbage.err.find("warning: data after the last gzip member at offset " + std::to_string(good.size()) +
                               " is ignored"),
              std::string::npos)
        << garbage.err;
    EXPECT_EQ(readFile(at / "o/t"), readFile(at / "t"));
    EXPECT_EQ(readFile(at / "o/t_1"), readFile(at / "t"));
}

// Tar archives that try to leave the output folder or make what a user does
// not expect. Python's tarfile writes them.
TEST(UnixFormats, HostileTarStaysInside) {
    if (!have("python3")) GTEST_SKIP() << "python3 is not installed";
    test::Scratch scratch;
    const fs::path at = scratch.path();
    writeFile(at / "outside.txt", "secret\n");
    const std::string script =
        "import io, tarfile, sys\n"
        "base = sys.argv[1]\n"
        "def add(t, name, data=b'', kind=tarfile.REGTYPE, link='', mode=0o644, size=None):\n"
        "    i = tarfile.TarInfo(name); i.type = kind; i.linkname = link; i.mode = mode\n"
        "    i.size = len(data) if kind == tarfile.REGTYPE else 0\n"
        "    t.addfile(i, io.BytesIO(data) if kind == tarfile.REGTYPE else None)\n"
        "with tarfile.open('evil.tar', 'w', format=tarfile.GNU_FORMAT) as t:\n"
        "    add(t, '../up.txt', b'up')\n"
        "    add(t, 'a/../../up2.txt', b'up2')\n"
        "    add(t, base + '/abs.txt', b'abs')\n"
        "    add(t, 'hard', kind=tarfile.LNKTYPE, link='../outside.txt')\n"
        "    add(t, 'dev', kind=tarfile.CHRTYPE)\n"
        "    add(t, 'fifo', kind=tarfile.FIFOTYPE)\n"
        "    add(t, 'setuid', b'#!/bin/sh\\n', mode=0o4755)\n"
        "    add(t, 'fine.txt', b'fine')\n"
        "with tarfile.open('through.tar', 'w', format=tarfile.GNU_FORMAT) as t:\n"
        "    add(t, 'out', kind=tarfile.SYMTYPE, link='..')\n"
        "    add(t, 'out/through.txt', b'through')\n"
        "with tarfile.open('huge.tar', 'w', format=tarfile.GNU_FORMAT) as t:\n"
        "    add(t, 'huge', b'x' * 1000)\n"
        "h = bytearray(open('huge.tar', 'rb').read())\n"
        "h[124:136] = b'77777777777\\0'\n"
        "h[148:156] = b'        '\n"
        "h[148:156] = ('%06o\\0 ' % sum(h[:512])).encode()\n"
        "open('huge.tar', 'wb').write(bytes(h[:2048]))\n"
        "with tarfile.open('cut.tar', 'w') as t:\n"
        "    add(t, 'cut', b'y' * 5000)\n"
        "cut = open('cut.tar', 'rb').read()[:3000]\n"
        "open('cut.tar', 'wb').write(cut)\n";
    writeFile(at / "make.py", script);
    const fs::path box = at / "box";
    fs::create_directories(box / "out");
    Ran made = run("python3 make.py " + quote(box.string()), at);
    ASSERT_EQ(made.status, 0) << made.err;
    for (const char* name : {"evil.tar", "through.tar", "huge.tar", "cut.tar"}) fs::copy(at / name, box / name);

    Ran evil = run(kTool + " expand -q evil.tar out", box);
    EXPECT_EQ(readFile(at / "outside.txt"), "secret\n");
    EXPECT_FALSE(fs::exists(at / "up.txt"));
    EXPECT_FALSE(fs::exists(box / "up.txt"));
    EXPECT_FALSE(fs::exists(at / "up2.txt"));
    EXPECT_FALSE(fs::exists(box / "up2.txt"));
    EXPECT_FALSE(fs::exists(box / "abs.txt"));
    EXPECT_EQ(readFile(box / "out/fine.txt"), "fine");
    struct stat info {};
    ASSERT_EQ(stat((box / "out/setuid").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07000, 0u);
    EXPECT_FALSE(fs::exists(box / "out/dev"));
    EXPECT_FALSE(fs::exists(box / "out/fifo"));
    EXPECT_NE(evil.err.find("a character device is not expanded: dev"), std::string::npos) << evil.err;
    // Nothing in the folder reaches outside it.
    for (const auto& item : fs::recursive_directory_iterator(box / "out")) {
        if (!item.is_symlink()) continue;
        const fs::path resolved = fs::weakly_canonical(item.path().parent_path() / fs::read_symlink(item.path()));
        EXPECT_EQ(resolved.string().rfind((box / "out").string(), 0), 0u) << item.path() << " -> " << resolved;
    }

    // A link that leads out is kept as a file, so nothing goes through it.
    fs::create_directories(box / "out2");
    run(kTool + " expand -q through.tar out2", box);
    EXPECT_FALSE(fs::exists(box / "through.txt"));
    EXPECT_FALSE(fs::exists(at / "through.txt"));
    EXPECT_FALSE(fs::is_symlink(box / "out2/out"));

    for (const char* name : {"huge.tar", "cut.tar"}) {
        fs::remove_all(box / "out");
        fs::create_directories(box / "out");
        Ran damaged = run(kTool + " expand -q " + std::string(name) + " out", box);
        EXPECT_NE(damaged.status, 0) << name;
        EXPECT_TRUE(damaged.err.find("cratewerk: " + std::string(name) + ": invalid tar archive: Truncated") == 0 ||
                    damaged.err.find("tar item is damaged or truncated") != std::string::npos)
            << damaged.err;
        for (const auto& item : fs::recursive_directory_iterator(box / "out"))
            EXPECT_LT(fs::file_size(item.path()), 10000u) << item.path();
    }
}

// Every truncation and a few thousand byte flips of small files: each run
// ends, with a result or an engine exception, and writes inside its folder.
TEST(UnixFormats, DamagedFilesFailCleanly) {
    test::Scratch scratch;
    const fs::path at = scratch.path();
    writeFile(at / "src/top/a.txt", "alpha alpha alpha alpha\n");
    writeFile(at / "src/top/b.txt", std::string(3000, 'b') + "end\n");
    ASSERT_EQ(run("tar -C src -czf s.tar.gz top && tar -C src -cf s.tar top && bzip2 -k s.tar && "
                  "compress -c s.tar > s.tar.Z",
                  at)
                  .status,
              0);
    std::mt19937 random(5);
    for (const char* name : {"s.tar.gz", "s.tar.bz2", "s.tar.Z"}) {
        const std::string good = readFile(at / name);
        std::vector<std::string> variants;
        for (size_t n = 0; n < good.size(); ++n) variants.push_back(good.substr(0, n));
        for (int i = 0; i < 1500; ++i) {
            std::string bad = good;
            bad[random() % bad.size()] ^= static_cast<char>(1 + random() % 255);
            variants.push_back(bad);
        }
        int expanded = 0;
        for (const std::string& variant : variants) {
            const fs::path file = at / "damaged" / name, out = at / "damaged/out";
            fs::remove_all(at / "damaged");
            writeFile(file, variant);
            fs::create_directories(out);
            tuckett5::Reader reader;
            reader.outputFolder(out.string());
            reader.continueAfterItemFailure(true);
            try {
                reader.open(file.string());
                reader.decode();
                ++expanded;
            } catch (const un::exception&) {
            }
            reader.close();
            for (const auto& item : fs::recursive_directory_iterator(at / "damaged")) {
                if (item.is_regular_file()) {
                    EXPECT_LT(item.file_size(), 100000u) << name;
                }
            }
        }
        EXPECT_GT(expanded, 0) << name;
    }
}

}  // namespace
