// The ARJ reader through the engine's archive reader: an archive that arj
// made (methods 1 and 4, a garbled item), archives built here from the ARJ
// records (names that try to leave the output folder, sizes and flags that
// lie), and damaged input.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "engine/t5.Reader.h"
#include "format/arj/arj.ArchiveHeader.h"
#include "format/arj/arj.FileHeader.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Vector.h"
#include "support/bytes.h"
#include "support/damage.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

const std::string kData = std::string(CRATEWERK_TEST_DATA);

std::string readFile(const fs::path& path) { return test::Scratch::read(path.string()); }

using test::treeOf;

class Scratch : public test::Scratch {
public:
    Scratch() : test::Scratch("cratewerk-arjreader-") { fs::create_directories(out()); }
    fs::path out() const { return path() / "box" / "out"; }
    std::string archive(const std::string& bytes) const { return write("box/a.arj", bytes); }
    void clear() const {
        fs::remove_all(out());
        fs::create_directories(out());
    }
};

struct Outcome {
    std::string kind, message;
    uint32_t fileCount = 0;
    std::string rootName;
    std::vector<tuckett5::ItemFailure> failures;
};

Outcome expand(const std::string& archive, const fs::path& out) {
    tuckett5::Reader reader;
    reader.outputFolder(out.string());
    reader.continueAfterItemFailure(true);
    Outcome outcome;
    try {
        reader.open(archive);
        reader.scan();
        outcome.fileCount = reader.archiveInfo.fileCount;
        outcome.rootName = reader.archiveInfo.rootName;
        reader.decode();
    } catch (const un::exception& e) {
        outcome.kind = e.kind();
        outcome.message = e.message();
    }
    outcome.failures = reader.itemFailures;
    reader.close();
    return outcome;
}

// One item of an archive built here; the data is always stored.
struct Item {
    std::string name;
    std::string data;
    std::function<void(format::arj::FileHeader&)> patch = nullptr;
};

std::string build(const std::vector<Item>& items, uint8_t host = 2, uint8_t mainFlags = 0, bool end = true) {
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    format::arj::ArchiveHeader main;
    main.firstSize = 34;
    main.version = 11;
    main.minVersion = 1;
    main.hostOS = host;
    main.flags = mainFlags;
    main.fileType = format::arj::ArchiveHeader::mainHeaderType;
    main.name = "a.arj";
    main.write(out);
    for (const Item& item : items) {
        format::arj::FileHeader h;
        h.firstSize = 46;
        h.version = 11;
        h.minVersion = 1;
        h.hostOS = host;
        h.fileType = item.name.back() == '/' ? format::arj::FileHeader::folderType : 0;
        h.modified = 1223329852;
        h.compressedSize = h.originalSize = static_cast<uint32_t>(item.data.size());
        h.fileCRC = test::crc32(item.data);
        h.accessMode = 0644;
        h.name = item.name;
        if (item.patch) item.patch(h);
        h.write(out);
        out.write(item.data.data(), static_cast<uint32_t>(item.data.size()));
    }
    if (end) format::arj::FileHeader().write(out);
    return std::string(bytes.begin(), bytes.end());
}

TEST(ArjReader, ExpandsEachMethodAndRefusesAGarbledItemAlone) {
    Scratch scratch;
    const Outcome methods = expand(kData + "/arj/methods.arj", scratch.out());
    EXPECT_EQ(methods.message, "");
    EXPECT_EQ(methods.fileCount, 3u);
    EXPECT_EQ(methods.rootName, "d");
    ASSERT_EQ(methods.failures.size(), 1u);
    EXPECT_EQ(methods.failures[0].name, "d/c.txt");
    EXPECT_EQ(methods.failures[0].message, "encrypted files not supported by arj reader");
    EXPECT_EQ(methods.failures[0].reason, "garbled (encrypted) ARJ items are not supported");
    const auto files = treeOf(scratch.out());
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files.at("d/a.txt").size(), 3086u);
    EXPECT_EQ(files.at("d/b.txt").size(), 1800u);
    EXPECT_EQ(files.at("d/a.txt").substr(0, 600), files.at("d/b.txt").substr(1200));
}

TEST(ArjReader, NamesStayInsideTheOutputFolder) {
    Scratch scratch;
    const Outcome unix = expand(scratch.archive(build({{"../up.txt", "1"},
                                                       {"/abs.txt", "2"},
                                                       {"a/../../up2.txt", "3"},
                                                       {"b\\c.txt", "4"},
                                                       {"out", "",
                                                        [](auto& h) {
                                                            h.fileType = format::arj::FileHeader::specialType;
                                                            h.extended = {{'U', 0, 0x40 | 5, '.', '.', '/', '.', '.'}};
                                                        }}})),
                                scratch.out());
    EXPECT_EQ(unix.message, "");
    const Outcome dos =
        expand(scratch.archive(build({{"..\\..\\dos.txt", "5"}, {"C:\\drive.txt", "6"}, {"dir\\x.txt", "7"}}, 0)),
               scratch.out());
    EXPECT_EQ(dos.message, "");
    // A DOS name's backslash separates, a Unix name's is a character of the
    // name (on Windows, which cannot hold one, a "_"); a link out of the
    // folder is kept as a file of its target.
#ifdef _WIN32
    const std::string unixBackslash = "b_c.txt";
#else
    const std::string unixBackslash = "b\\c.txt";
#endif
    EXPECT_EQ(treeOf(scratch.out()), (std::map<std::string, std::string>{{"a/", ""},
                                                                       {"a/up2.txt", "3"},
                                                                       {"abs.txt", "2"},
                                                                       {unixBackslash, "4"},
                                                                       {"dir/", ""},
                                                                       {"dir/x.txt", "7"},
                                                                       {"dos.txt", "5"},
                                                                       {"drive.txt", "6"},
                                                                       {"out", "../.."},
                                                                       {"up.txt", "1"}}));
    // Nothing but the archive and the output folder beside each other.
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path() / "box"), fs::directory_iterator()), 2);
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator()), 1);
}

struct Bad {
    const char* title;
    std::string bytes;
    std::string kind, message;     // of the whole run; empty where the run goes on
    std::string itemMessage = "";  // of the one item that fails, if any
    std::string reason = "";
};

class ArjRefuses : public ::testing::TestWithParam<Bad> {};

TEST_P(ArjRefuses, WithTheExactText) {
    const Bad& c = GetParam();
    Scratch scratch;
    const Outcome outcome = expand(scratch.archive(c.bytes), scratch.out());
    EXPECT_EQ(outcome.kind, c.kind);
    EXPECT_EQ(outcome.message, c.message);
    if (c.itemMessage.empty()) {
        EXPECT_TRUE(outcome.failures.empty());
    } else {
        ASSERT_EQ(outcome.failures.size(), 1u);
        EXPECT_EQ(outcome.failures[0].name, "bad");
        EXPECT_EQ(outcome.failures[0].message, c.itemMessage);
        EXPECT_EQ(outcome.failures[0].reason, c.reason.empty() ? c.itemMessage : c.reason);
        // The failed item leaves nothing; the good one is whole.
        EXPECT_EQ(treeOf(scratch.out()), (std::map<std::string, std::string>{{"good", "good data"}}));
    }
}

const char* const kCRC = "CRC mismatch in arj reader; data is invalid";
const char* const kVolumes = "expansion of multi-volume archives not supported by arj reader";
const char* const kTruncated = "truncated archive in arj reader";

Bad itemCase(const char* title, std::function<void(format::arj::FileHeader&)> patch, std::string message,
             std::string reason = "") {
    return Bad{title,
               build({{"bad", "0123456789", std::move(patch)}, {"good", "good data"}}),
               "",
               "",
               std::move(message),
               std::move(reason)};
}

INSTANTIATE_TEST_SUITE_P(
    Arj, ArjRefuses,
    ::testing::Values(itemCase(
                          "longerThanDeclared", [](auto& h) { h.originalSize = 9; }, kCRC),
                      itemCase(
                          "shorterThanDeclared", [](auto& h) { h.originalSize = 11; }, kCRC),
                      itemCase(
                          "wrongCRC", [](auto& h) { h.fileCRC ^= 1; }, kCRC),
                      itemCase(
                          "unknownMethod", [](auto& h) { h.method = 7; },
                          "unsupported compression method in arj reader", "ARJ method 7 is not supported"),
                      itemCase(
                          "garbageAsMethod1", [](auto& h) { h.method = 1; }, "bad table in arj::GoodDecompressor"),
                      Bad{"volumeArchive", build({{"a", "a"}}, 2, 0x04), "Unsupported format", kVolumes},
                      Bad{"continuedItem", build({{"a", "a", [](auto& h) { h.flags = 0x08; }}}), "Unsupported format",
                          kVolumes},
                      Bad{"dataBeyondTheEnd", build({{"a", "a", [](auto& h) { h.compressedSize = 100; }}}, 2, 0, false),
                          "Bad format", kTruncated},
                      Bad{"noEndHeader", build({{"a", "a"}}, 2, 0, false), "Bad format", kTruncated}),
    [](const ::testing::TestParamInfo<Bad>& info) { return std::string(info.param.title); });

// Each run ends, with a result or an engine exception, and writes only below
// its output folder, and never much.
void expectContained(const Scratch& scratch, const std::string& bytes) {
    scratch.clear();
    expand(scratch.archive(bytes), scratch.out());
    uint64_t total = 0;
    for (const auto& item : fs::recursive_directory_iterator(scratch.out()))
        if (item.is_regular_file()) total += item.file_size();
    EXPECT_LT(total, 1u << 20);
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path() / "box"), fs::directory_iterator()), 2);
}

TEST(ArjReaderDamage, EveryTruncationAndRandomByteFlips) {
    Scratch scratch;
    const std::vector<std::string> samples = {readFile(kData + "/arj/methods.arj"),
                                              readFile(kData + "/classify/bla.unix.arj")};
    // Every cut of the small archive; of the larger, one in five.
    for (size_t size = 0; size < samples[1].size(); ++size) expectContained(scratch, samples[1].substr(0, size));
    for (size_t size = 0; size < samples[0].size(); size += 5) expectContained(scratch, samples[0].substr(0, size));
    std::mt19937 random(20261124);
    for (int round = 0; round < test::fileDamageRounds(1500); ++round)
        expectContained(scratch, test::flipped(samples[round % 4 == 3 ? 1 : 0], random, 3));
}

}  // namespace
