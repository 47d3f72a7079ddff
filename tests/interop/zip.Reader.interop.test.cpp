// Zip archives made at test time by Info-ZIP zip, 7-Zip and Python's zipfile,
// expanded by the cratewerk command and by the plug-in inside the host
// emulator, and compared file by file with what unzip expands.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace fs = std::filesystem;

#include "algorithm/zipcrypt.Cipher.h"
#include "interop.Shell.h"
#include "io/io.ntfs.Rsrc.h"
#include "support/scratch.h"

namespace {

const std::string kData = std::string(CRATEWERK_TEST_DATA) + "/zip/";

using namespace interop;

using test::treeOf;

using Scratch = test::Scratch;

// The files that the archivers pack: text that compresses well, noise that
// doesn't, an empty file, an empty folder and a deeper one.
void makeSources(const fs::path& at) {
    std::mt19937 random(7);
    std::string text, noise(60000, '\0');
    for (int i = 0; text.size() < 150000; ++i) text += "line " + std::to_string(i % 977) + " of the zip interop text\n";
    for (char& c : noise) c = static_cast<char>(random());
    writeFile(at / "top/text.txt", text);
    writeFile(at / "top/noise.bin", noise);
    writeFile(at / "top/empty", "");
    writeFile(at / "top/sub/deeper/small.txt", "small\n");
    fs::create_directories(at / "top/emptydir");
}

// Python writes with zipfile; `unseekable` hides seek and tell from it, so
// that it writes data descriptors.
std::string python(const std::string& compression, bool unseekable) {
    return "python3 -c " +
           quote(
               "import os, zipfile\n"
               "class Pipe:\n"
               "    def __init__(self, f): self.f = f\n"
               "    def write(self, b): return self.f.write(b)\n"
               "    def flush(self): self.f.flush()\n"
               "with open('a.zip', 'wb') as f:\n"
               "    z = zipfile.ZipFile(" +
               std::string(unseekable ? "Pipe(f)" : "f") + ", 'w', zipfile." + compression +
               ")\n"
               "    for folder, dirs, files in os.walk('src/top'):\n"
               "        name = os.path.relpath(folder, 'src')\n"
               "        z.write(folder, name)\n"
               "        for file in files: z.write(os.path.join(folder, file), os.path.join(name, file))\n"
               "    z.close()\n");
}

struct Case {
    const char* title;
    const char* tool;
    std::string make;  // run in the scratch folder, with the sources in src/top; writes a.zip
    std::string password;
};

const std::string stub = "yes 'a self-extractor stub, standing in for a program' | head -c 30000 > stub && ";

class MadeByPeers : public ::testing::TestWithParam<Case> {};

TEST_P(MadeByPeers, ExpandLikeUnzip) {
    const Case& c = GetParam();
    if (!have(c.tool) || !have("unzip")) GTEST_SKIP() << c.tool << " is not installed";
    Scratch scratch;
    makeSources(scratch.path() / "src");
    Ran made = run(c.make, scratch.path());
    ASSERT_TRUE(fs::exists(scratch.path() / "a.zip")) << c.make << "\n" << made.err;

    const std::string password = c.password.empty() ? "" : " -P " + quote(c.password);
    run("unzip -q -o" + password + " a.zip -d reference", scratch.path());
    const auto expected = treeOf(scratch.path() / "reference");
    ASSERT_FALSE(expected.empty());

    fs::create_directories(scratch.path() / "tool");
    Ran tool = run(quote(CRATEWERK_PROGRAM) + " expand -q" + (c.password.empty() ? "" : " -p " + quote(c.password)) +
                       " a.zip tool",
                   scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(treeOf(scratch.path() / "tool"), expected) << "cratewerk";
    // Dates as unzip sets them, give or take the two-second step of DOS times.
    for (const auto& [name, bytes] : expected) {
        if (name.back() == '/') continue;
        const auto ours = fs::last_write_time(scratch.path() / "tool" / name);
        const auto theirs = fs::last_write_time(scratch.path() / "reference" / name);
        EXPECT_LE(std::chrono::abs(ours - theirs), std::chrono::seconds(2)) << name;
    }

    fs::create_directories(scratch.path() / "host");
    const fs::path archive = scratch.path() / "a.zip", host = scratch.path() / "host";
    Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                         quote(archive.string() + "|" + host.string() + "|" + c.password),
                     scratch.path());
    EXPECT_EQ(plugin.status, 0) << plugin.out << plugin.err;
    EXPECT_EQ(plugin.out.find("|"), std::string::npos) << plugin.out;
    EXPECT_EQ(treeOf(host), expected) << "plug-in";
}

INSTANTIATE_TEST_SUITE_P(
    Zip, MadeByPeers,
    ::testing::Values(
        Case{"zipStored", "zip", "cd src && zip -q -r -0 ../a.zip top", ""},
        Case{"zipFastest", "zip", "cd src && zip -q -r -1 ../a.zip top", ""},
        Case{"zipDefault", "zip", "cd src && zip -q -r -6 ../a.zip top", ""},
        Case{"zipBest", "zip", "cd src && zip -q -r -9 ../a.zip top", ""},
        Case{"zipPassword", "zip", "cd src && zip -q -r -P 'open sesame' ../a.zip top", "open sesame"},
        Case{"zipComment", "zip", "cd src && echo 'a comment for the archive' | zip -q -r -z ../a.zip top", ""},
        Case{"zipSelfExtractor", "zip", stub + "(cd src && zip -q -r ../inner.zip top) && cat stub inner.zip > a.zip",
             ""},
        Case{"zipSelfExtractorAdjusted", "zip",
             stub + "(cd src && zip -q -r ../inner.zip top) && cat stub inner.zip > a.zip && zip -q -A a.zip", ""},
        Case{"zipToPipe", "zip", "cd src && zip -q -r -fz- - top | cat > ../a.zip", ""},
        Case{"zipFromPipe", "zip", "seq 1 40000 | zip -q -fz- - - | cat > a.zip", ""},
        Case{"zipPipePassword", "zip", "cd src && zip -q -r -fz- -P pw - top | cat > ../a.zip", "pw"},
        Case{"zipZip64Forced", "zip", "cd src && zip -q -r -fz ../a.zip top", ""},
        Case{"zipEntryFromStandardInput", "zip", "seq 1 40000 | zip -q a.zip -", ""},
        Case{"zipZip64ToPipe", "zip", "seq 1 1000 | zip -q - - | cat > a.zip", ""},
        Case{"zipUTF8NamesUnderUTF8Locale", "zip",
             "cd src && mkdir -p top/n && echo x > 'top/n/caf\xC3\xA9.txt' && LC_ALL=C.UTF-8 zip -q -r ../a.zip top",
             ""},
        Case{"zipUTF8NamesUnderCLocale", "zip",
             "cd src && mkdir -p top/n && echo x > 'top/n/\xC3\xBC"
             "ber.txt' && LC_ALL=C zip -q -r ../a.zip top",
             ""},
        Case{"sevenZipDeflate", "7z", "cd src && 7z a -tzip -mm=Deflate ../a.zip top >/dev/null", ""},
        Case{"sevenZipUltra", "7z", "cd src && 7z a -tzip -mm=Deflate -mx=9 ../a.zip top >/dev/null", ""},
        Case{"sevenZipZipCrypto", "7z", "cd src && 7z a -tzip -mem=ZipCrypto -p'se cret' ../a.zip top >/dev/null",
             "se cret"},
        Case{"pythonStored", "python3", python("ZIP_STORED", false), ""},
        Case{"pythonDeflated", "python3", python("ZIP_DEFLATED", false), ""},
        Case{"pythonUnseekable", "python3", python("ZIP_DEFLATED", true), ""},
        Case{"pythonUnseekableStored", "python3", python("ZIP_STORED", true), ""},
        Case{"pythonForceZip64", "python3",
             "python3 -c " + quote("import os, zipfile\n"
                                   "with zipfile.ZipFile('a.zip', 'w', zipfile.ZIP_DEFLATED) as z:\n"
                                   "    for folder, dirs, files in os.walk('src/top'):\n"
                                   "        for file in files:\n"
                                   "            path = os.path.join(folder, file)\n"
                                   "            with open(path, 'rb') as f, z.open(os.path.relpath(path, 'src'), 'w',\n"
                                   "                                               force_zip64=True) as out:\n"
                                   "                out.write(f.read())\n"),
             ""}),
    [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.title); });

// More entries than the end record can count: the Zip64 end record counts them.
TEST(ManyEntries, ExpandLikeUnzip) {
    if (!have("python3") || !have("unzip")) GTEST_SKIP() << "python3 or unzip is not installed";
    Scratch scratch;
    Ran made =
        run("python3 -c " + quote("import zipfile\n"
                                  "with zipfile.ZipFile('a.zip', 'w') as z:\n"
                                  "    for i in range(66000): z.writestr('d%02d/f%05d' % (i % 40, i), str(i))\n"),
            scratch.path());
    ASSERT_EQ(made.status, 0) << made.err;
    Ran listed = run("unzip -Z1 a.zip | wc -l", scratch.path());
    EXPECT_EQ(std::stoi(listed.out), 66000);
    fs::create_directories(scratch.path() / "tool");
    Ran tool = run(quote(CRATEWERK_PROGRAM) + " expand -q a.zip tool", scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    size_t files = 0;
    for (const auto& item : fs::recursive_directory_iterator(scratch.path() / "tool")) files += item.is_regular_file();
    EXPECT_EQ(files, 66000u);
    EXPECT_EQ(readFile(scratch.path() / "tool/d39/f65999"), "65999");
}

// An entry of more than 4 GiB of zeros, and an archive over 4 GiB beside it:
// minutes of work, run only by `make test-slow` (ctest -L slow), which sets
// CRATEWERK_SLOW.
TEST(LargeEntry, ExpandsPastFourGiB) {
    if (std::getenv("CRATEWERK_SLOW") == nullptr) GTEST_SKIP() << "run by make test-slow";
    if (!have("python3")) GTEST_SKIP() << "python3 is not installed";
    Scratch scratch;
    const uint64_t size = (uint64_t(4) << 30) + 12345;
    Ran made = run("python3 -c " + quote("import zipfile\n"
                                         "block = bytes(1 << 20)\n"
                                         "with zipfile.ZipFile('a.zip', 'w') as z:\n"
                                         "    z.writestr('small.txt', 'in front')\n"
                                         "    with z.open('zeros', 'w', force_zip64=True) as f:\n"
                                         "        for i in range(4096): f.write(block)\n"
                                         "        f.write(bytes(12345))\n"
                                         "    z.writestr('after.txt', 'behind')\n"),
                   scratch.path());
    ASSERT_EQ(made.status, 0) << made.err;
    fs::create_directories(scratch.path() / "tool");
    Ran tool = run(quote(CRATEWERK_PROGRAM) + " expand -q a.zip tool", scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    std::map<std::string, uint64_t> sizes;
    for (const auto& item : fs::recursive_directory_iterator(scratch.path() / "tool"))
        if (item.is_regular_file()) sizes[item.path().filename().string()] = item.file_size();
    EXPECT_EQ(sizes, (std::map<std::string, uint64_t>{{"small.txt", 8}, {"zeros", size}, {"after.txt", 6}}));
}

// Archives the reader refuses, through both front ends, with the exact text.
struct Refusal {
    const char* title;
    std::string make;  // writes a.zip; empty: the peer archive named in `peer`
    std::string peer;
    std::string message;  // the plug-in's result
    std::string tool;     // a line of the tool's errors, after "cratewerk: a.zip: "
};

class Refused : public ::testing::TestWithParam<Refusal> {};

uint32_t little(const std::string& bytes, size_t at, int count) {
    uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

// Whether `password` passes the one check byte of an encrypted entry of the
// Zip. The salt of each encryption header is random, so a wrong password
// passes it in one entry of 256, and the data fails instead.
bool passesACheckByte(const std::string& zip, const std::string& password) {
    const size_t end = zip.rfind(std::string("PK\5\6", 4));
    if (end == std::string::npos || end + 22 > zip.size()) return false;
    size_t at = little(zip, end + 16, 4);
    for (uint32_t left = little(zip, end + 10, 2); left != 0; --left) {
        if (at + 46 > zip.size() || zip.compare(at, 4, std::string("PK\1\2", 4)) != 0) return false;
        const size_t central = at, local = little(zip, at + 42, 4);
        at += 46 + little(zip, at + 28, 2) + little(zip, at + 30, 2) + little(zip, at + 32, 2);
        if ((little(zip, central + 8, 2) & 1) == 0 || local + 30 > zip.size()) continue;
        const size_t data = local + 30 + little(zip, local + 26, 2) + little(zip, local + 28, 2);
        if (data + 12 > zip.size()) continue;
        std::string header = zip.substr(data, 12);
        algorithm::zipcrypt::Cipher(password).decrypt(header.data(), 12);
        // With a data descriptor the check byte is the top of the time, which
        // the local and the central header both give.
        const uint32_t crc = little(zip, central + 16, 4);
        for (const size_t record : {central + 8, local + 6}) {
            const uint32_t expect = little(zip, record, 2) & 8 ? little(zip, record + 4, 2) >> 8 : crc >> 24;
            if (static_cast<unsigned char>(header[11]) == expect) return true;
        }
    }
    return false;
}

TEST_P(Refused, WithTheExactText) {
    const Refusal& c = GetParam();
    if (!have("zip")) GTEST_SKIP();
    Scratch scratch;
    makeSources(scratch.path() / "src");
    if (c.make.empty()) {
        fs::copy_file(kData + c.peer, scratch.path() / "a.zip");
    } else {
        // Made again until "wrong" fails every check byte, so that an
        // encrypted archive is refused for its password every time.
        for (int tries = 0; tries < 100; ++tries) {
            fs::remove(scratch.path() / "a.zip");
            run(c.make, scratch.path());
            if (!passesACheckByte(readFile(scratch.path() / "a.zip"), "wrong")) break;
        }
    }
    ASSERT_TRUE(fs::exists(scratch.path() / "a.zip"));

    Ran tool = run(quote(CRATEWERK_PROGRAM) + " expand -q -p wrong a.zip out", scratch.path());
    EXPECT_EQ(tool.status, 1);
    EXPECT_NE(tool.err.find("cratewerk: a.zip: " + c.tool), std::string::npos) << tool.err;

    const fs::path archive = scratch.path() / "a.zip", host = scratch.path() / "host";
    fs::create_directories(host);
    Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                         quote(archive.string() + "|" + host.string() + "|wrong"),
                     scratch.path());
    EXPECT_NE(plugin.out.find("|" + c.message + "|"), std::string::npos) << plugin.out << plugin.err;
}

const std::string kMethod = "unsupported compression method in zip reader";

INSTANTIATE_TEST_SUITE_P(
    Zip, Refused,
    ::testing::Values(Refusal{"multiDisk",
                              "head -c 300000 /dev/urandom > src/top/big && cd src && zip -q -r -s 64k ../a.zip top",
                              "", "expansion of segmented multi-part archives not supported by zip reader",
                              "expansion of segmented multi-part archives not supported by zip reader\n"},
                      Refusal{"method7", "", "moby.zip", kMethod, "tokenized Zip entries are not supported: README\n"},
                      Refusal{"method9", "", "lorem-ipsum-deflate64.zip", kMethod,
                              "Deflate64-compressed Zip entries are not supported: lorem-ipsum.txt\n"},
                      Refusal{"method12", "", "bzip2-zip.zip", kMethod,
                              "bzip2-compressed Zip entries are not supported: lots-of-as\n"},
                      Refusal{"method99", "", "zip2-aes_archive.zip", kMethod,
                              "AES-encrypted Zip entries are not supported: secret_data_128\n"},
                      Refusal{"wrongPassword", "", "password-encrypted.zip",
                              "bad password in format::zip::EncryptionHeader::read()", "wrong password: LICENSE.txt\n"},
                      Refusal{"wrongPasswordMadeByZip", "cd src && zip -q -r -P right ../a.zip top", "",
                              "bad password in format::zip::EncryptionHeader::read()", "wrong password: top/"}),
    [](const ::testing::TestParamInfo<Refusal>& info) { return std::string(info.param.title); });

// The legacy methods of the peer archives, against their known text and,
// where unzip has the method, against unzip.
TEST(LegacyPeers, ExpandToTheirKnownContents) {
    const std::string first = readFile(kData + "zip2-first.txt");
    for (const char* name : {"zip2-shrink.zip", "zip2-reduce.zip", "zip2-implode.zip", "SHRUNK.ZIP",
                             "imploding-4Kdict-2trees.zip", "imploding-8Kdict-3trees.zip", "lorem-ipsum-implode.zip"}) {
        Scratch scratch;
        fs::copy_file(kData + name, scratch.path() / "a.zip");
        Ran tool = run(quote(CRATEWERK_PROGRAM) + " expand -q a.zip tool", scratch.path());
        EXPECT_EQ(tool.status, 0) << name << tool.err;
        const auto got = treeOf(scratch.path() / "tool");
        if (std::string(name).rfind("zip2-", 0) == 0) {
            ASSERT_EQ(got.size(), 1u) << name;
            EXPECT_EQ(got.begin()->second, first) << name;
        } else {
            run("unzip -q -o a.zip -d reference", scratch.path());
            EXPECT_EQ(got, treeOf(scratch.path() / "reference")) << name;
        }
    }
}

}  // namespace

namespace {

// A Zip as macOS's Archive Utility lays it out: streamed entries with data
// descriptors, and for each file with a fork an AppleDouble file under
// __MACOSX whose Finder information entry carries extended attributes too.
const std::string kMacZip = "python3 -c " + quote(R"(
import struct, zipfile
class Pipe:
    def __init__(self, f): self.f = f
    def write(self, b): return self.f.write(b)
    def flush(self): self.f.flush()
def appledouble(fork):
    finder = b'TEXTttxt' + struct.pack('>H', 0x0100) + bytes(22)
    attributes = b'ATTR' + bytes(3730 - 32 - 4)
    head = struct.pack('>II', 0x00051607, 0x00020000) + b'Mac OS X        ' + struct.pack('>H', 2)
    head += struct.pack('>III', 9, 50, 3730) + struct.pack('>III', 2, 3780, len(fork))
    return head + finder + attributes + fork
with open('a.zip', 'wb') as f:
    z = zipfile.ZipFile(Pipe(f), 'w', zipfile.ZIP_DEFLATED)
    for name in ['proj/', '__MACOSX/', '__MACOSX/proj/']:
        z.writestr(zipfile.ZipInfo(name), b'')
    z.writestr('proj/doc.txt', b'the data fork\n')
    z.writestr('proj/plain.txt', b'no fork\n')
    z.writestr('__MACOSX/proj/._doc.txt', appledouble(b'resource ' * 2000))
    z.close()
)");

TEST(MacMadeZip, ForksLandThroughBothFrontEnds) {
    if (!have("python3") || !have("unzip")) GTEST_SKIP() << "python3 or unzip is not installed";
    Scratch scratch;
    Ran made = run(kMacZip, scratch.path());
    ASSERT_EQ(made.status, 0) << made.err;
    std::string fork;
    for (int i = 0; i < 2000; ++i) fork += "resource ";

    // Kept raw, the entries come out as unzip writes them.
    run("unzip -q a.zip -d reference", scratch.path());
    Ran raw = run(quote(CRATEWERK_PROGRAM) + " expand -q --keep-macosx a.zip raw", scratch.path());
    EXPECT_EQ(raw.status, 0) << raw.err;
    EXPECT_EQ(treeOf(scratch.path() / "raw"), treeOf(scratch.path() / "reference"));

    Ran tool = run(quote(CRATEWERK_PROGRAM) + " expand -q a.zip tool", scratch.path());
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_EQ(tool.err, "");
    const fs::path host = scratch.path() / "host";
    fs::create_directories(host);
    Ran plugin = run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                         quote((scratch.path() / "a.zip").string() + "|" + host.string() + "|"),
                     scratch.path());
    EXPECT_EQ(plugin.out.find("|"), std::string::npos) << plugin.out;
    for (const fs::path& out : {scratch.path() / "tool", host}) {
        // Here the fork and the Finder information go into the AppleDouble
        // file beside the data, where macOS, Samba and netatalk find them.
        const auto items = treeOf(out);
        EXPECT_EQ(items.count("__MACOSX/"), 0u) << out;
        EXPECT_EQ(items.at("proj/doc.txt"), "the data fork\n");
        EXPECT_EQ(items.at("proj/plain.txt"), "no fork\n");
        io::ntfs::Rsrc rsrc((out / "proj/doc.txt").string());
        rsrc.open();
        std::string landed(rsrc.size(), '\0');
        landed.resize(rsrc.read(landed.data(), static_cast<uint32_t>(landed.size())));
        rsrc.close();
        EXPECT_EQ(landed, fork) << out;
        EXPECT_EQ(rsrc.fileInfo().type().stringValue(), "TEXT");
        EXPECT_FALSE(io::ntfs::Rsrc::hasInfo((out / "proj/plain.txt").string()));
    }

    // The listing shows what expansion writes.
    EXPECT_EQ(run(quote(CRATEWERK_PROGRAM) + " list a.zip", scratch.path()).out.find("__MACOSX"), std::string::npos);
    EXPECT_NE(run(quote(CRATEWERK_PROGRAM) + " list --keep-macosx a.zip", scratch.path()).out.find("._doc.txt"),
              std::string::npos);
}

}  // namespace
