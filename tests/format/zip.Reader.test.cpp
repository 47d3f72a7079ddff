// The Zip reader through the engine's archive reader, on archives built here
// from the Zip records and on the peer archives in tests/data/zip.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "algorithm/zipcrypt.Cipher.h"
#include "engine/t5.Reader.h"
#include "format/format.Exception.h"
#include "format/zip/zip.CentralHeader.h"
#include "format/zip/zip.EncryptionHeader.h"
#include "format/zip/zip.EndHeader.h"
#include "format/zip/zip.LocalHeader.h"
#include "format/zip/zip.Name.h"
#include "io/io.ntfs.Rsrc.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.ByteOrder.h"
#include "stream/stream.Vector.h"
#include "support/bytes.h"
#include "support/damage.h"
#include "support/events.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using namespace test;

const std::string kData = std::string(CRATEWERK_TEST_DATA) + "/zip/";

std::string readFile(const fs::path& path) { return test::Scratch::read(path.string()); }

struct Entry {
    std::string name;
    std::string data;
    std::string password = "";  // empty: not encrypted
    bool descriptor = false;    // sizes and CRC behind the data, zero in the local header
    uint16_t method = 0;        // only the records say so; the data is always stored
    uint16_t versionNeeded = 10;
    uint16_t madeBy = 20;  // the host in the high byte: 0 MS-DOS, 3 Unix
    std::optional<std::string> localName = std::nullopt;  // where the local header says otherwise
};

// Builds a Zip archive of stored entries with the project's own records.
// `prefix` goes in front; `adjusted` makes the offsets count from the file's
// start rather than the archive's, as zip -A does for a self-extractor.
struct Built {
    std::string bytes;
    std::vector<uint32_t> localOffsets;
    uint32_t directoryOffset = 0;
    uint32_t endOffset = 0;
};

Built build(const std::vector<Entry>& entries, const std::string& prefix = "", bool adjusted = false,
            const std::string& comment = "") {
    std::vector<char> out(prefix.begin(), prefix.end());
    stream::random::VectorOutput output(out);
    output.seek(out.size());
    const uint32_t base = adjusted ? 0 : static_cast<uint32_t>(prefix.size());
    std::vector<format::zip::CentralHeader> central;
    Built built;
    for (const Entry& e : entries) {
        format::zip::CentralHeader c;
        c.versionMadeBy(e.madeBy);
        c.versionNeeded(e.versionNeeded);
        c.flags(static_cast<uint16_t>((e.password.empty() ? 0 : 1) | (e.descriptor ? 8 : 0)));
        c.method(e.method);
        c.time(0x6000);  // 12:00:00
        c.date(0x5A21);  // 2025-01-01
        c.crc(crc32(e.data));
        const uint32_t packed = static_cast<uint32_t>(e.data.size() + (e.password.empty() ? 0 : 12));
        c.compressedSize(packed);
        c.uncompressedSize(static_cast<uint32_t>(e.data.size()));
        c.name(e.name);
        c.externalAttributes(e.name.back() == '/' ? 0x10 : 0);
        const uint32_t at = static_cast<uint32_t>(output.tell());
        built.localOffsets.push_back(at);
        c.localHeaderOffset(at - base);
        format::zip::LocalHeader l;
        l.versionNeeded(c.versionNeeded());
        l.flags(c.flags());
        l.method(c.method());
        l.time(c.time());
        l.date(c.date());
        l.crc(e.descriptor ? 0 : c.crc());
        l.compressedSize(e.descriptor ? 0 : packed);
        l.uncompressedSize(e.descriptor ? 0 : c.uncompressedSize());
        l.name(e.localName.value_or(e.name));
        l.write(output);
        if (e.password.empty()) {
            output.write(e.data.data(), static_cast<uint32_t>(e.data.size()));
        } else {
            algorithm::zipcrypt::Cipher cipher(e.password);
            format::zip::EncryptionHeader header(cipher);
            header.expect(static_cast<char>(e.descriptor ? c.time() >> 8 : c.crc() >> 24));
            header.write(output);
            algorithm::zipcrypt::Output crypt(output, cipher);
            crypt.write(e.data.data(), static_cast<uint32_t>(e.data.size()));
        }
        if (e.descriptor) {
            stream::LittleEndianOutput le(output);
            le << uint32_t(0x08074B50) << c.crc() << c.compressedSize() << c.uncompressedSize();
        }
        central.push_back(c);
    }
    built.directoryOffset = static_cast<uint32_t>(output.tell());
    for (const auto& c : central) c.write(output);
    format::zip::EndHeader end;
    end.entriesOnDisk(static_cast<uint16_t>(entries.size()));
    end.entries(static_cast<uint16_t>(entries.size()));
    end.directorySize(static_cast<uint32_t>(output.tell()) - built.directoryOffset);
    end.directoryOffset(built.directoryOffset - base);
    end.comment(comment);
    built.endOffset = static_cast<uint32_t>(output.tell());
    end.write(output);
    built.bytes.assign(out.begin(), out.end());
    return built;
}

using test::treeOf;

class Scratch : public test::Scratch {
public:
    Scratch() : test::Scratch("cratewerk-zipreader-") { fs::create_directories(path() / "out"); }
    fs::path out() const { return path() / "out"; }
    std::string archive(const std::string& bytes, const std::string& name = "a.zip") const {
        return write(name, bytes);
    }
};

// Runs open, scan and decode into `out` and answers the failure's kind and
// message, or "" when all went well.
struct Outcome {
    std::string kind;
    std::string message;
    std::string rootName;
    uint32_t fileCount = 0;
    bool encrypted = false;
};

class Recorder : public tuckett5::event::FileDecodeBeginListener,
                 public tuckett5::event::FileInfoListener,
                 public tuckett5::event::ProgressFilesMoveListener {
public:
    bool fileDecodeBeginEvent(uint32_t) override { return allow; }
    bool fileInfoEvent() override { return true; }
    bool progressFilesMoveEvent(uint32_t done) override {
        moves.push_back(done);
        return true;
    }
    bool allow = true;
    std::vector<uint32_t> moves;
};

Outcome expand(const std::string& archive, const fs::path& out, const std::string& password = "",
               Recorder* recorder = nullptr) {
    tuckett5::Reader reader;
    if (recorder) {
        reader.add(static_cast<tuckett5::event::FileDecodeBeginListener*>(recorder));
        reader.add(static_cast<tuckett5::event::ProgressFilesMoveListener*>(recorder));
    }
    reader.outputFolder(out.string());
    Outcome outcome;
    try {
        reader.open(archive);
        reader.scan();
        outcome.rootName = reader.archiveInfo.rootName;
        outcome.fileCount = reader.archiveInfo.fileCount;
        outcome.encrypted = reader.archiveInfo.encrypted;
        reader.password = password;
        reader.decode();
    } catch (const un::exception& e) {
        outcome.kind = e.kind();
        outcome.message = e.message();
    }
    reader.close();
    return outcome;
}

// ---------------------------------------------------------------------------
// Archives that expand.

struct GoodCase {
    const char* title;
    std::vector<Entry> entries;
    std::string prefix;
    bool adjusted;
    std::string comment;
    std::map<std::string, std::string> expected;
    std::string rootName;
};

class Expands : public ::testing::TestWithParam<GoodCase> {};

TEST_P(Expands, ToExactlyTheStoredFiles) {
    const GoodCase& c = GetParam();
    Scratch scratch;
    Outcome outcome =
        expand(scratch.archive(build(c.entries, c.prefix, c.adjusted, c.comment).bytes), scratch.out(), "secret");
    EXPECT_EQ(outcome.message, "") << outcome.kind;
    EXPECT_EQ(treeOf(scratch.out()), c.expected);
    EXPECT_EQ(outcome.rootName, c.rootName);
    EXPECT_EQ(outcome.fileCount, c.entries.size());
}

const std::string sfx = "MZ" + std::string(3000, '\x90') + "PK\x01\x02 not a header";

INSTANTIATE_TEST_SUITE_P(
    Zip, Expands,
    ::testing::Values(
        GoodCase{"one", {{"hello.txt", "hello\n"}}, "", false, "", {{"hello.txt", "hello\n"}}, "hello.txt"},
        GoodCase{"tree",
                 {{"d/", ""}, {"d/a.txt", "alpha"}, {"d/e/", ""}, {"d/e/empty", ""}, {"d/f/g/deep", "deep"}},
                 "",
                 false,
                 "a comment with PK\x05\x06 inside",
                 {{"d/", ""},
                  {"d/a.txt", "alpha"},
                  {"d/e/", ""},
                  {"d/e/empty", ""},
                  {"d/f/", ""},
                  {"d/f/g/", ""},
                  {"d/f/g/deep", "deep"}},
                 "d"},
        GoodCase{"filesFirst",
                 {{"d/e/x", "x"}, {"d/e/", ""}, {"d/", ""}},
                 "",
                 false,
                 "",
                 {{"d/", ""}, {"d/e/", ""}, {"d/e/x", "x"}},
                 "d"},
        GoodCase{"twoRoots", {{"a", "1"}, {"b/c", "2"}}, "", false, "", {{"a", "1"}, {"b/", ""}, {"b/c", "2"}}, ""},
        GoodCase{
            "prefixed", {{"p.txt", "prefixed"}, {"q", ""}}, sfx, false, "", {{"p.txt", "prefixed"}, {"q", ""}}, ""},
        GoodCase{"prefixedAdjusted", {{"p.txt", "adjusted"}}, sfx, true, "", {{"p.txt", "adjusted"}}, "p.txt"},
        GoodCase{"descriptor",
                 {{"x/1", std::string(70000, 'z'), "", true}, {"x/2", "two", "", true}},
                 "",
                 false,
                 "",
                 {{"x/", ""}, {"x/1", std::string(70000, 'z')}, {"x/2", "two"}},
                 "x"},
        GoodCase{"encrypted",
                 {{"s/1", "secret one", "secret"}, {"s/2", std::string(1000, 's'), "secret", true}, {"s/3", "plain"}},
                 "",
                 false,
                 "",
                 {{"s/", ""}, {"s/1", "secret one"}, {"s/2", std::string(1000, 's')}, {"s/3", "plain"}},
                 "s"},
        GoodCase{"hostVersionByte", {{"v", "v", "", false, 0, 0x0314}}, "", false, "", {{"v", "v"}}, "v"}),
    [](const ::testing::TestParamInfo<GoodCase>& info) { return std::string(info.param.title); });

TEST(ZipReader, EmptyArchiveListsAndExpandsNothing) {
    Scratch scratch;
    for (const std::string& prefix : {std::string(), std::string(100, 'x') + "PK\x03\x04"}) {
        Outcome outcome = expand(scratch.archive(build({}, prefix).bytes), scratch.out());
        EXPECT_EQ(outcome.message, "");
        EXPECT_EQ(outcome.fileCount, 0u);
        EXPECT_TRUE(treeOf(scratch.out()).empty());
    }
}

TEST(ZipReader, SkippedFilesMakeNoOutputAndStillCount) {
    Scratch scratch;
    Recorder recorder;
    recorder.allow = false;
    Outcome outcome =
        expand(scratch.archive(build({{"a", "1"}, {"f/", ""}, {"f/b", "2"}}).bytes), scratch.out(), "", &recorder);
    EXPECT_EQ(outcome.message, "");
    EXPECT_EQ(treeOf(scratch.out()), (std::map<std::string, std::string>{{"f/", ""}}));
    EXPECT_EQ(recorder.moves, (std::vector<uint32_t>{0, 1, 2, 3}));
}

TEST(ZipReader, FiresTheEventsInTheirOrder) {
    Scratch scratch;
    tuckett5::Reader reader;
    test::EventLog log(reader);
    log.steps = log.moves = true;
    reader.outputFolder(scratch.out().string());
    reader.open(scratch.archive(build({{"f/", ""}, {"f/big", std::string(40000, 'b')}, {"f/small", "12"}}).bytes));
    reader.scan();
    // Classification tells of the archive first, the scan once more at its end.
    EXPECT_EQ(log.text(), "archive, scan, step, info f/, step, info f/big, step, info f/small, scan end, archive");
    EXPECT_EQ(reader.archiveInfo.rootName, "f");
    log.events.clear();
    reader.decode();
    EXPECT_EQ(log.text(),
              "decode, size 40002, files 3, files 0, folder f, files 1, folder end, file f/big 40000, moved 40000, "
              "files 2, file end, file f/small 2, files 3, file end, size end, files end, decode end");
    reader.close();
}

// MacBinary II of a file without a fork: the header names the file, its data
// fork follows padded to a block, and the text is left as it is.
TEST(ZipReader, MacBinaryOfAPlainFileLeavesItsTextAlone) {
    Scratch scratch;
    tuckett5::Reader reader;
    reader.outputFolder((scratch.path() / "bin").string());
    reader.textConversion(tuckett5::Reader::textAll);
    reader.textLineEnding(3);
    reader.macBinaryOutput(tuckett5::Reader::macBinaryAlways);
    reader.open(scratch.archive(build({{"d/t.txt", "a\nb\r\nc\rd"}}).bytes));
    reader.decode();
    reader.close();
    const std::string bin = readFile(scratch.path() / "bin/d/t.txt.bin");
    ASSERT_EQ(bin.size(), 256u);
    EXPECT_EQ(bin[1], 5);
    EXPECT_EQ(bin.substr(2, 5), "t.txt");
    EXPECT_EQ(bin.substr(83, 4), std::string("\0\0\0\x08", 4));  // data length
    EXPECT_EQ(bin.substr(128, 8), "a\nb\r\nc\rd");
    EXPECT_EQ(bin.substr(136), std::string(120, '\0'));
}

// A link is made where its target stays inside the output folder; one that
// leaves it comes out as a file holding its target. Nothing is written
// through a link, not even one that the same archive made.
TEST(ZipReader, LinksStayInsideAndAreNeverWrittenThrough) {
#ifdef _WIN32
    // No link is made here: "d/dir" comes out as a file, which stands where
    // the next entry wants the folder "d/dir", and the run fails there.
    GTEST_SKIP();
#endif
    Scratch scratch;
    tuckett5::Reader reader;
    reader.outputFolder(scratch.out().string());
    reader.open(kData + "links.zip");
    reader.decode();
    reader.close();
    const fs::path d = scratch.out() / "d";
    EXPECT_EQ(fs::read_symlink(d / "inside"), "file");
    EXPECT_EQ(fs::read_symlink(d / "up"), "../d/sub");
    EXPECT_EQ(fs::read_symlink(d / "dir"), "sub");
    EXPECT_EQ(reader.itemWarnings.size(), 2u);
    for (const char* leaving : {"out", "abs"}) EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(d / leaving)));
    EXPECT_EQ(readFile(d / "out"), "../../etc/passwd");
    EXPECT_EQ(readFile(d / "file"), "content");
    EXPECT_FALSE(fs::exists(d / "sub/new"));
    EXPECT_EQ(readFile(d / "dir_1/new"), "through");
    EXPECT_EQ(readFile(d / "inside_1"), "again");
}

TEST(ZipReader, ListsEncryptionAndSizes) {
    Scratch scratch;
    tuckett5::Reader reader;
    reader.open(scratch.archive(build({{"a", "12345", "pw"}, {"b", "xy"}}).bytes));
    reader.scan();
    EXPECT_TRUE(reader.archiveInfo.encrypted);
    EXPECT_EQ(reader.archiveInfo.expandedSize(), 7u);
    EXPECT_EQ(reader.archiveInfo.compressedSize(), 7u);  // the 12 bytes of the encryption header don't count
    reader.close();
}

// ---------------------------------------------------------------------------
// Archives that the reader refuses, with the exact text.

struct BadCase {
    const char* title;
    std::function<std::string()> make;
    std::string kind;
    std::string message;
    std::string password = "";
};

class Refuses : public ::testing::TestWithParam<BadCase> {};

TEST_P(Refuses, WithTheExactText) {
    const BadCase& c = GetParam();
    Scratch scratch;
    Outcome outcome = expand(scratch.archive(c.make()), scratch.out(), c.password);
    EXPECT_EQ(outcome.kind, c.kind);
    EXPECT_EQ(outcome.message, c.message);
}

Built sample() { return build({{"a.txt", "alpha"}, {"b.txt", "bravo"}}); }

std::string patched(const std::function<void(Built&)>& change) {
    Built b = sample();
    change(b);
    return b.bytes;
}

const char* const kLocate = "cannot locate the central directory in zip reader";
const char* const kLocalMismatch = "local header does not match the central directory in zip reader; data is invalid";
// Where the second central header of the sample begins, and its fields.
constexpr size_t kSecond = 46 + 5;
constexpr size_t kCompressed = 20, kUncompressed = 24, kLocalOffset = 42;

// Makes both headers of the second entry declare another size than its data has.
void declare(Built& b, uint32_t size) {
    put32(b.bytes, b.directoryOffset + kSecond + kUncompressed, size);
    put32(b.bytes, b.localOffsets[1] + 22, size);
}

INSTANTIATE_TEST_SUITE_P(
    Zip, Refuses,
    ::testing::Values(
        BadCase{"multiDisk",
                [] {
                    return patched(
                        [](Built& b) { put16(b.bytes, b.endOffset + 4, 1), put16(b.bytes, b.endOffset + 6, 1); });
                },
                "Unsupported format", "expansion of segmented multi-part archives not supported by zip reader"},
        BadCase{"multiDiskElsewhere",
                [] {
                    return patched([](Built& b) {
                        put16(b.bytes, b.endOffset + 6, 2);
                        put32(b.bytes, b.endOffset + 16, 9999);
                    });
                },
                "Unsupported format", "expansion of segmented multi-part archives not supported by zip reader"},
        BadCase{"directoryPastTheEnd",
                [] { return patched([](Built& b) { put32(b.bytes, b.endOffset + 16, 0x7FFFFFF0); }); }, "Bad format",
                kLocate},
        BadCase{"moreEntriesThanThere", [] { return patched([](Built& b) { put16(b.bytes, b.endOffset + 10, 3); }); },
                "Bad format", "invalid central header in zip reader"},
        BadCase{"fewerEntriesThanThere", [] { return patched([](Built& b) { put16(b.bytes, b.endOffset + 10, 1); }); },
                "Bad format", "invalid signature at the end of the central directory in zip reader"},
        BadCase{"localOffsetWrong", [] { return patched([](Built& b) { put32(b.bytes, b.directoryOffset + 42, 7); }); },
                "Bad format", "cannot locate a local header in zip reader"},
        BadCase{"localMethodTooHigh",
                [] { return patched([](Built& b) { put16(b.bytes, b.localOffsets[1] + 8, 12); }); }, "Bad format",
                "bad local header in zip reader"},
        BadCase{"localMethod7", [] { return patched([](Built& b) { put16(b.bytes, b.localOffsets[0] + 8, 7); }); },
                "Bad format", "bad local header in zip reader"},
        BadCase{"method7",
                [] {
                    return build({{"t", "x", "", false, 7}}).bytes;
                },
                "Unsupported method", "unsupported compression method in zip reader"},
        BadCase{"method9",
                [] {
                    return build({{"t", "x", "", false, 9}}).bytes;
                },
                "Unsupported method", "unsupported compression method in zip reader"},
        BadCase{"method99",
                [] {
                    return build({{"t", "x", "pw", false, 99}}).bytes;
                },
                "Unsupported method", "unsupported compression method in zip reader", "pw"},
        BadCase{"version46",
                [] {
                    return build({{"t", "x", "", false, 8, 46}}).bytes;
                },
                "Unsupported method", "unsupported compression method in zip reader"},
        BadCase{"declaresLessThanItHolds", [] { return patched([](Built& b) { declare(b, 3); }); }, "Bad data",
                "CRC mismatch in zip reader; data is invalid"},
        BadCase{"declaresMoreThanItHolds", [] { return patched([](Built& b) { declare(b, 9); }); }, "Bad data",
                "CRC mismatch in zip reader; data is invalid"},
        // The local header must say what the directory says, as 7-Zip holds it.
        BadCase{"localSizeDisagrees",
                [] { return patched([](Built& b) { put32(b.bytes, b.localOffsets[1] + 22, 9); }); }, "Bad data",
                kLocalMismatch},
        BadCase{"localCrcDisagrees", [] { return patched([](Built& b) { b.bytes[b.localOffsets[0] + 14] ^= 1; }); },
                "Bad data", kLocalMismatch},
        BadCase{"twoEntriesShareALocalEntry",
                [] { return patched([](Built& b) { put32(b.bytes, b.directoryOffset + kSecond + kLocalOffset, 0); }); },
                "Bad format", "overlapping entries in zip reader"},
        BadCase{"dataOverlapsTheNextEntry",
                [] { return patched([](Built& b) { put32(b.bytes, b.directoryOffset + kCompressed, 40); }); },
                "Bad format", "overlapping entries in zip reader"},
        BadCase{"dataRunsIntoTheDirectory",
                [] { return patched([](Built& b) { put32(b.bytes, b.directoryOffset + kSecond + kCompressed, 40); }); },
                "Bad format", "entry data runs into the central directory in zip reader"},
        BadCase{"badCrc", [] { return patched([](Built& b) { b.bytes[b.localOffsets[1] + 30 + 5] ^= 1; }); },
                "Bad data", "CRC mismatch in zip reader; data is invalid"},
        BadCase{"wrongPassword",
                [] {
                    // The encryption header's salt is random, so a wrong
                    // password passes its one check byte in one archive of
                    // 256: build until "wrong" fails it.
                    for (;;) {
                        std::string bytes = build({{"t", "text", "right"}}).bytes;
                        std::string header = bytes.substr(31, 12);
                        algorithm::zipcrypt::Cipher("wrong").decrypt(header.data(), 12);
                        if (static_cast<uint8_t>(header[11]) != crc32("text") >> 24) return bytes;
                    }
                },
                "format", "bad password in format::zip::EncryptionHeader::read()", "wrong"},
        BadCase{"noPassword",
                [] {
                    // As above, for the empty password; with a data descriptor
                    // the check byte may be the top of the time or of the CRC.
                    for (;;) {
                        std::string bytes = build({{"t", "text", "right", true}}).bytes;
                        std::string header = bytes.substr(31, 12);
                        algorithm::zipcrypt::Cipher("").decrypt(header.data(), 12);
                        const uint8_t check = static_cast<uint8_t>(header[11]);
                        if (check != crc32("text") >> 24 && check != static_cast<uint8_t>(bytes[11])) return bytes;
                    }
                },
                "format", "bad password in format::zip::EncryptionHeader::read()"},
        BadCase{"noEndRecord", [] { return std::string("PK\x03\x04", 4) + std::string(60, '\0'); }, "format",
                "bad header artfact in format::zip::EndHeader::read()"}),
    [](const ::testing::TestParamInfo<BadCase>& info) { return std::string(info.param.title); });

TEST(ZipReaderHostile, AnEntryThatLiesAboutItsSizeLeavesNoFile) {
    Scratch scratch;
    for (uint32_t declared : {3u, 9u}) {
        fs::remove_all(scratch.out());
        fs::create_directories(scratch.out());
        tuckett5::Reader reader;
        reader.outputFolder(scratch.out().string());
        reader.continueAfterItemFailure(true);
        reader.open(scratch.archive(patched([&](Built& b) { declare(b, declared); })));
        reader.scan();
        reader.decode();
        ASSERT_EQ(reader.itemFailures.size(), 1u);
        EXPECT_EQ(reader.itemFailures[0].name, "b.txt");
        reader.close();
        EXPECT_EQ(treeOf(scratch.out()), (std::map<std::string, std::string>{{"a.txt", "alpha"}})) << declared;
    }
}

// The central directory names every entry, whatever the local header says
// (which is warned about, as unzip does), and an entry whose name has no
// place is written under one of ours.
TEST(ZipReaderHostile, TheCentralNameNamesTheFile) {
    Scratch scratch;
    Built b = build({{.name = "safe.txt", .data = "one", .localName = "evil.txt"},
                     {.name = "abc", .data = "two", .localName = "../"},
                     {.name = "..", .data = "three"},
                     {.name = "d/e", .data = "four", .localName = "/\\/"},
                     {.name = "kept", .data = "five", .localName = ""}});
    tuckett5::Reader reader;
    reader.outputFolder(scratch.out().string());
    reader.open(scratch.archive(b.bytes));
    reader.scan();
    reader.decode();
    std::vector<std::pair<std::string, std::string>> warned;
    for (const auto& w : reader.itemWarnings) warned.emplace_back(w.name, w.reason);
    const std::string otherName = "the local header names this entry otherwise; the directory's name is used";
    EXPECT_EQ(warned, (std::vector<std::pair<std::string, std::string>>{
                          {"safe.txt", otherName},
                          {"abc", otherName},
                          {"unnamed entry 3", "an entry whose stored name has no place is written as"},
                          {"d/e", otherName},
                          {"kept", otherName}}));
    reader.close();
    EXPECT_EQ(treeOf(scratch.out()),
              (std::map<std::string, std::string>{
                  {"safe.txt", "one"},
                  {"abc", "two"},
                  {"unnamed entry 3", "three"},
                  {"d/", ""},
                  {"d/e", "four"},
                  {"kept", "five"}}));
}

// A Zip64 archive as the records lay it out: every size and offset in the
// extra fields, the end record holding only all ones.

std::string zip64Archive(const std::vector<std::pair<std::string, std::string>>& entries, bool locator = true) {
    std::string out, directory;
    for (const auto& [name, data] : entries) {
        const uint64_t offset = out.size();
        std::string extra;
        add16(extra, 1), add16(extra, 16), add64(extra, data.size()), add64(extra, data.size());
        add32(out, 0x04034B50), add16(out, 45), add16(out, 0), add16(out, 0), add32(out, 0), add32(out, crc32(data));
        add32(out, 0xFFFFFFFF), add32(out, 0xFFFFFFFF), add16(out, static_cast<uint16_t>(name.size()));
        add16(out, static_cast<uint16_t>(extra.size()));
        out += name + extra + data;
        std::string central;
        add16(central, 1), add16(central, 24), add64(central, data.size()), add64(central, data.size());
        add64(central, offset);
        add32(directory, 0x02014B50), add16(directory, 0x032D), add16(directory, 45), add16(directory, 0);
        add16(directory, 0), add32(directory, 0), add32(directory, crc32(data)), add32(directory, 0xFFFFFFFF);
        add32(directory, 0xFFFFFFFF), add16(directory, static_cast<uint16_t>(name.size()));
        add16(directory, static_cast<uint16_t>(central.size())), add16(directory, 0), add16(directory, 0);
        add16(directory, 0), add32(directory, 0100644u << 16), add32(directory, 0xFFFFFFFF);
        directory += name + central;
    }
    const uint64_t directoryOffset = out.size();
    out += directory;
    const uint64_t record = out.size();
    add32(out, 0x06064B50), add64(out, 44), add16(out, 45), add16(out, 45), add32(out, 0), add32(out, 0);
    add64(out, entries.size()), add64(out, entries.size()), add64(out, directory.size()), add64(out, directoryOffset);
    if (locator) add32(out, 0x07064B50), add32(out, 0), add64(out, record), add32(out, 1);
    add32(out, 0x06054B50), add16(out, 0), add16(out, 0), add16(out, 0xFFFF), add16(out, 0xFFFF);
    add32(out, 0xFFFFFFFF), add32(out, 0xFFFFFFFF), add16(out, 0);
    return out;
}

TEST(ZipReaderZip64, ExpandsFromTheExtraFieldsAndTheZip64EndRecord) {
    Scratch scratch;
    const std::string whole = zip64Archive({{"one.txt", "first"}, {"two/three.txt", "second"}});
    Outcome outcome = expand(scratch.archive(whole), scratch.out());
    EXPECT_EQ(outcome.message, "") << outcome.kind;
    EXPECT_EQ(outcome.fileCount, 2u);
    EXPECT_EQ(treeOf(scratch.out()),
              (std::map<std::string, std::string>{{"one.txt", "first"}, {"two/", ""}, {"two/three.txt", "second"}}));

    // Without the locator the all-ones fields are taken as they stand.
    outcome = expand(scratch.archive(zip64Archive({{"one.txt", "first"}}, false), "b.zip"), scratch.path() / "b");
    EXPECT_EQ(outcome.kind, "Bad format");
}

TEST(ZipReaderZip64, EveryTruncationIsRefused) {
    Scratch scratch;
    const std::string whole = zip64Archive({{"one.txt", "first"}, {"two/three.txt", "second"}});
    for (size_t size = 1; size < whole.size(); ++size) {
        fs::remove_all(scratch.out());
        fs::create_directories(scratch.out());
        Outcome outcome = expand(scratch.archive(whole.substr(0, size)), scratch.out());
        EXPECT_NE(outcome.kind, "") << size;
    }
}

// ---------------------------------------------------------------------------
// Names that try to leave the output folder land inside it.

TEST(ZipReader, NamesStayInsideTheOutputFolder) {
    Scratch scratch;
    const std::vector<Entry> entries = {
        {"../up.txt", "1"}, {"/abs.txt", "2"}, {"C:\\drive.txt", "3"}, {"a/../../x.txt", "4"}, {"..\\win.txt", "5"},
        {"../", ""},        {"..", "6"},       {"./.././b/c", "7"}};
    Outcome outcome = expand(scratch.archive(build(entries).bytes), scratch.out());
    EXPECT_EQ(outcome.message, "");
    // Nothing beside the output folder and the archive.
    std::vector<std::string> beside;
    for (const auto& item : fs::directory_iterator(scratch.path())) beside.push_back(item.path().filename().string());
    std::sort(beside.begin(), beside.end());
    EXPECT_EQ(beside, (std::vector<std::string>{"a.zip", "out"}));
    const auto files = treeOf(scratch.out());
    EXPECT_EQ(files.at("up.txt"), "1");
    EXPECT_EQ(files.at("abs.txt"), "2");
    EXPECT_EQ(files.at("drive.txt"), "3");
    EXPECT_EQ(files.at("a/x.txt"), "4");
    EXPECT_EQ(files.at("win.txt"), "5");
    EXPECT_EQ(files.at("b/c"), "7");
}

TEST(ZipReader, NamesInCodePage437AndUTF8) {
    using Name = tuckett5::UnicodeName;
    // 0x84 is "ä" in code page 437; with the UTF-8 flag the bytes are UTF-8.
    EXPECT_EQ(engine5::zip::entryName("b\x84r", "", false).unicode, (Name{'b', 0xE4, 'r'}));
    EXPECT_EQ(engine5::zip::entryName("b\xC3\xA4r", "", true).unicode, (Name{'b', 0xE4, 'r'}));
    EXPECT_EQ(engine5::zip::entryName("\xE2\x82\xAC/\xF0\x9F\x98\x80", "", true).unicode,
              (Name{0x20AC, '/', 0xD83D, 0xDE00}));
    EXPECT_EQ(engine5::zip::entryName("a\xFF\xC0z\xE2\x82", "", true).unicode, (Name{'a', '_', '_', 'z', '_', '_'}));
    // An Info-ZIP Unicode path field counts only while its check value matches the stored name.
    std::string field = std::string("\x75\x70\x09\x00\x01", 5) + "0000" + "b\xC3\xA4r";
    put32(field, 5, crc32("b?r"));
    EXPECT_EQ(engine5::zip::entryName("b?r", field, false).unicode, (Name{'b', 0xE4, 'r'}));
    EXPECT_EQ(engine5::zip::entryName("bxr", field, false).unicode, (Name{'b', 'x', 'r'}));
    // Names from Unix and Macintosh hosts are UTF-8 when they are valid UTF-8.
    EXPECT_EQ(engine5::zip::entryName("caf\xC3\xA9", "", false, 3).unicode, (Name{'c', 'a', 'f', 0xE9}));
    EXPECT_EQ(engine5::zip::entryName("caf\xC3\xA9", "", false, 19).unicode, (Name{'c', 'a', 'f', 0xE9}));
    EXPECT_EQ(engine5::zip::entryName("caf\xC3\xA9", "", false, 0).unicode, (Name{'c', 'a', 'f', 0x251C, 0x2310}));
    EXPECT_EQ(engine5::zip::entryName("b\x84r_", "", false, 3).unicode, (Name{'b', 0xE4, 'r', '_'}));
#ifndef _WIN32
    // Here the engine's 8-bit form is UTF-8.
    EXPECT_EQ(engine5::zip::entryName("b\x84r", "", false).local, "b\xC3\xA4r");
    EXPECT_EQ(engine5::zip::entryName("\xF0\x9F\x98\x80", "", true).local, "\xF0\x9F\x98\x80");
#endif
}

size_t itemsBeside(const Scratch& scratch) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& item : fs::directory_iterator(scratch.path())) ++count;
    return count;
}

// A backslash separates folders only in names from MS-DOS and Windows hosts;
// from Unix it is a character of the name, which Windows cannot hold. Either
// way nothing leaves the output folder.
TEST(ZipReader, BackslashesSeparateOnlyForDOSHosts) {
    Scratch scratch;
    const uint16_t unixHost = 3 << 8 | 20;
    Outcome outcome = expand(
        scratch.archive(
            build({{"..\\..\\x", "1", "", false, 0, 10, unixHost}, {"a\\b", "2", "", false, 0, 10, unixHost}, {"c\\d", "3"}})
                .bytes),
        scratch.out());
    EXPECT_EQ(outcome.message, "");
#ifdef _WIN32
    const std::map<std::string, std::string> expected = {{".._.._x", "1"}, {"a_b", "2"}, {"c/", ""}, {"c/d", "3"}};
#else
    const std::map<std::string, std::string> expected = {{"..\\..\\x", "1"}, {"a\\b", "2"}, {"c/", ""}, {"c/d", "3"}};
#endif
    EXPECT_EQ(treeOf(scratch.out()), expected);
    EXPECT_EQ(itemsBeside(scratch), 2u);  // the archive and the output folder
}

// ---------------------------------------------------------------------------
// Archives made on macOS: "__MACOSX/<path>/._<name>" holds the resource fork
// and Finder information of "<path>/<name>" as an AppleDouble file.

void be32(std::string& s, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) s += static_cast<char>(v >> shift);
}

// An AppleDouble file laid out as macOS writes it: header, two entry records,
// 32 bytes of Finder information, then the fork. `records` replaces the
// records where a test lies in them.
std::string appleDouble(const std::string& fork, const std::string& records = "") {
    std::string out;
    be32(out, 0x00051607), be32(out, 0x00020000);
    out += "Mac OS X        ";
    out += std::string("\0\2", 2);
    if (records.empty()) {
        be32(out, 9), be32(out, 50), be32(out, 32);
        be32(out, 2), be32(out, 82), be32(out, static_cast<uint32_t>(fork.size()));
    } else {
        out += records;
    }
    out += "TEXTttxt";
    out += std::string("\x01\x00", 2) + std::string(22, '\0');
    return out + fork;
}

const std::string kFork = "resource fork: 'STR ' 128";

// The folder's own metadata has nowhere to go and is dropped, whether the
// folder has an entry or is only implied by the file in it.
std::vector<Entry> macArchive(bool metadataFirst) {
    std::vector<Entry> entries = {{"proj/", ""},
                                  {"proj/doc.txt", "data fork\n"},
                                  {"__MACOSX/", ""},
                                  {"__MACOSX/proj/", ""},
                                  {"__MACOSX/proj/._doc.txt", appleDouble(kFork)},
                                  {"__MACOSX/._proj", appleDouble("")}};
    if (metadataFirst) {
        std::reverse(entries.begin(), entries.end());
        entries.pop_back();
    }
    return entries;
}

std::string forkOf(const fs::path& file) {
    io::ntfs::Rsrc rsrc;
    rsrc.open(file.string());
    std::string fork(rsrc.size(), '\0');
    fork.resize(rsrc.read(fork.data(), static_cast<uint32_t>(fork.size())));
    rsrc.close();
    return fork;
}

TEST(ZipReaderMac, ForkAndFinderInformationLandOnTheirFileInEitherOrder) {
    for (bool metadataFirst : {false, true}) {
        Scratch scratch;
        Outcome outcome = expand(scratch.archive(build(macArchive(metadataFirst)).bytes), scratch.out());
        EXPECT_EQ(outcome.message, "");
        // The metadata is no item of its own: the archive has one root.
        EXPECT_EQ(outcome.rootName, "proj");
        EXPECT_EQ(outcome.fileCount, metadataFirst ? 1u : 2u);
        EXPECT_FALSE(fs::exists(scratch.out() / "__MACOSX"));
        EXPECT_EQ(readFile(scratch.out() / "proj/doc.txt"), "data fork\n");
        EXPECT_EQ(forkOf(scratch.out() / "proj/doc.txt"), kFork) << metadataFirst;
        io::ntfs::Rsrc rsrc((scratch.out() / "proj/doc.txt").string());
        const format::data::FileInfo info = rsrc.fileInfo();
        EXPECT_EQ(info.type().stringValue(), "TEXT");
        EXPECT_EQ(info.creator().stringValue(), "ttxt");
        EXPECT_EQ(info.flags(), 0x0100);
    }
}

TEST(ZipReaderMac, MacBinaryHoldsTheForkAfterTheData) {
    Scratch scratch;
    const std::string archive = scratch.archive(build(macArchive(false)).bytes);
    // MacBinary: the header names type, creator and both lengths; the fork
    // follows the data, each padded to 128 bytes.
    tuckett5::Reader reader;
    reader.outputFolder((scratch.path() / "bin").string());
    reader.macBinaryOutput(tuckett5::Reader::macBinaryAlways);
    reader.open(archive);
    reader.decode();
    reader.close();
    const std::string bin = readFile(scratch.path() / "bin/proj/doc.txt.bin");
    ASSERT_EQ(bin.size(), 128u + 128 + 128);
    EXPECT_EQ(bin.substr(65, 8), "TEXTttxt");
    EXPECT_EQ(bin.substr(83, 8), std::string("\0\0\0\x0A\0\0\0\x19", 8));
    EXPECT_EQ(bin.substr(128, 10), "data fork\n");
    EXPECT_EQ(bin.substr(256, kFork.size()), kFork);
}

// Metadata that cannot be read, or whose file is missing, comes out as the
// file it is, with a warning; the run goes on and nothing leaves the folder.
struct MacCase {
    const char* title;
    std::string name;
    std::string data;
    std::string kept;  // where it lands as a file; empty: merged into doc.txt
    std::string warning;
};

class ZipReaderMacHostile : public ::testing::TestWithParam<MacCase> {};

std::string records(std::vector<uint32_t> values) {
    std::string out;
    for (uint32_t v : values) be32(out, v);
    return out;
}

const char* const kUnreadable = "Macintosh metadata that cannot be read is kept as a file";

TEST_P(ZipReaderMacHostile, KeepsTheDataFileWhole) {
    const MacCase& c = GetParam();
    Scratch scratch;
    tuckett5::Reader reader;
    reader.outputFolder(scratch.out().string());
    reader.open(scratch.archive(build({{c.name, c.data}, {"doc.txt", "data"}}).bytes));
    reader.scan();
    reader.decode();
    reader.close();
    EXPECT_EQ(readFile(scratch.out() / "doc.txt"), "data");
    if (c.kept.empty()) {
        EXPECT_TRUE(reader.itemWarnings.empty());
        EXPECT_EQ(forkOf(scratch.out() / "doc.txt"), kFork);
    } else {
        ASSERT_EQ(reader.itemWarnings.size(), 1u);
        EXPECT_EQ(reader.itemWarnings[0].reason, c.warning);
        EXPECT_EQ(readFile(scratch.out() / c.kept), c.data);
        EXPECT_FALSE(io::ntfs::Rsrc::hasInfo((scratch.out() / "doc.txt").string()));
    }
    EXPECT_EQ(itemsBeside(scratch), 2u);
}

INSTANTIATE_TEST_SUITE_P(
    Zip, ZipReaderMacHostile,
    ::testing::Values(MacCase{"climbingNameStillPairsInside", "__MACOSX/../../._doc.txt", appleDouble(kFork), "", ""},
                      MacCase{"forkLongerThanTheFile", "__MACOSX/._doc.txt",
                              appleDouble(kFork, records({9, 50, 32, 2, 82, 4096})), "__MACOSX/._doc.txt", kUnreadable},
                      MacCase{"entryOutsideTheFile", "__MACOSX/._doc.txt",
                              appleDouble(kFork, records({9, 0xFFFFFFF0u, 32, 2, 82, 25})), "__MACOSX/._doc.txt",
                              kUnreadable},
                      MacCase{"entryInsideTheHeader", "__MACOSX/._doc.txt",
                              appleDouble(kFork, records({9, 0, 32, 2, 82, 25})), "__MACOSX/._doc.txt", kUnreadable},
                      MacCase{"recordsCutShort", "__MACOSX/._doc.txt", appleDouble("").substr(0, 40),
                              "__MACOSX/._doc.txt", kUnreadable},
                      MacCase{"noAppleDoubleAtAll", "__MACOSX/._doc.txt", "not an AppleDouble file",
                              "__MACOSX/._doc.txt", kUnreadable},
                      MacCase{"fileMissing", "__MACOSX/sub/._other.txt", appleDouble(kFork), "__MACOSX/sub/._other.txt",
                              "Macintosh metadata without its file is kept as a file"}),
    [](const ::testing::TestParamInfo<MacCase>& info) { return std::string(info.param.title); });

// ---------------------------------------------------------------------------
// Archives made by other programs, kept in tests/data/zip.

// The reader checks every CRC itself, so an expansion without failure is exact.
TEST(ZipReader, PeerArchivesExpandWithoutFault) {
    for (const char* name : {"SHRUNK.ZIP", "imploding-4Kdict-2trees.zip", "imploding-8Kdict-3trees.zip",
                             "lorem-ipsum-implode.zip", "bla.zip", "zip2-data_descriptor.zip",
                             "zip2-files_and_dirs.zip", "archive_with_trailer.zip", "zip2-chinese.zip"}) {
        Scratch scratch;
        Outcome outcome = expand(kData + name, scratch.out());
        EXPECT_EQ(outcome.message, "") << name;
        EXPECT_FALSE(treeOf(scratch.out()).empty()) << name;
    }
}

#ifndef _WIN32
TEST(ZipReader, NamesOfPeerArchives) {
    const std::vector<std::pair<const char*, std::vector<std::string>>> cases = {
        {"zip2-chinese.zip", {"\xE4\xB8\x83\xE4\xB8\xAA\xE6\x88\xBF\xE9\x97\xB4.txt"}},  // UTF-8 flag
        {"utf8-winzip-test.zip", {"ascii.txt", "\xC3\x96lf\xC3\xA4sser.txt", "\xE2\x82\xAC_for_Dollar.txt"}},
        {"zip2-non_utf8.zip", {"\xE2\x95\x93\xE2\x95\xA8\xE2\x95\xAC\xE2\x94\x80"}},  // code page 437
    };
    for (const auto& [archive, names] : cases) {
        Scratch scratch;
        EXPECT_EQ(expand(kData + archive, scratch.out()).message, "");
        for (const std::string& name : names) EXPECT_TRUE(fs::exists(scratch.out() / name)) << archive << ": " << name;
    }
}

#endif

// ---------------------------------------------------------------------------
// Damage: every truncation and many byte flips end in an exception or in
// output inside the folder, never in a crash, a hang or output without end.

void expectContained(const Scratch& scratch, const std::string& bytes, const std::string& password = "pw") {
    if (!fs::is_empty(scratch.out())) {
        std::error_code ignored;
        fs::remove_all(scratch.out(), ignored);
        fs::create_directories(scratch.out());
    }
    Outcome outcome = expand(scratch.archive(bytes, "damaged.zip"), scratch.out(), password);
    uint64_t total = 0;
    for (const auto& item : fs::recursive_directory_iterator(scratch.out()))
        if (item.is_regular_file()) total += item.file_size();
    EXPECT_LT(total, 4u << 20);
    size_t beside = 0;
    for (const auto& item : fs::directory_iterator(scratch.path())) {
        (void)item;
        ++beside;
    }
    EXPECT_EQ(beside, 2u);
}

std::string damageSample() {
    std::string text;
    for (int i = 0; i < 8; ++i) text += "line " + std::to_string(i) + " of the sample\n";
    return build({{"d/", ""}, {"d/a", text}, {"d/b", text, "pw"}, {"d/c", "tail", "pw", true}}).bytes;
}

TEST(ZipReaderDamage, EveryTruncation) {
    Scratch scratch;
    for (const std::string& whole : {damageSample(), readFile(kData + "bla.zip")})
        for (size_t size = 0; size < whole.size(); ++size) expectContained(scratch, whole.substr(0, size));
}

TEST(ZipReaderDamage, RandomByteFlips) {
    Scratch scratch;
    std::mt19937 random(20261121);
    const std::vector<std::string> samples = {damageSample(), readFile(kData + "bla.zip"),
                                              readFile(kData + "zip2-implode.zip")};
    for (int round = 0; round < test::fileDamageRounds(1200); ++round)
        expectContained(scratch, test::flipped(samples[round % samples.size()], random, 4));
}

}  // namespace
