// The RAR, LHA and ARC readers through the engine's archive reader: archives
// made by other programs (tests/data/legacy, with what a reference
// extraction gave in expected.tsv), the exact texts of what they refuse, and
// hostile input built here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "engine/t5.Reader.h"
#include "stream/check/crc.CRC.h"
#include "support/arc.h"
#include "support/bytes.h"
#include "support/damage.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

const std::string kData = std::string(CRATEWERK_TEST_DATA) + "/legacy/";

// Read through the path itself: on Windows a name outside the ANSI code page
// has no narrow form to open by.
std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Outcome {
    std::string kind;
    std::string message;
    uint32_t files = 0;
};

// Expands past failing items, whose output is removed; the outcome holds the
// first failure.
Outcome expand(const std::string& archive, const fs::path& out) {
    tuckett5::Reader reader;
    reader.outputFolder(out.string());
    reader.continueAfterItemFailure(true);
    Outcome outcome;
    try {
        reader.open(archive);
        reader.scan();
        outcome.files = reader.archiveInfo.fileCount;
        reader.decode();
        if (!reader.itemFailures.empty()) {
            outcome.kind = reader.itemFailures[0].kind;
            outcome.message = reader.itemFailures[0].message;
        }
    } catch (const un::exception& e) {
        outcome.kind = e.kind();
        outcome.message = e.message();
    }
    reader.close();
    return outcome;
}

// Every file below `root` as "size crc", and on POSIX every link as
// "-> target". Names are compared on POSIX only: on Windows they come out in
// the ANSI code page.
std::map<std::string, std::string> tree(const fs::path& root) {
    std::map<std::string, std::string> items;
    int unnamed = 0;
    for (const auto& item : fs::recursive_directory_iterator(root)) {
#ifdef _WIN32
        const std::string name = std::to_string(unnamed++);
#else
        const std::string name = item.path().lexically_relative(root).string();
        (void)unnamed;
#endif
        if (item.is_symlink()) {
#ifndef _WIN32
            items[name] = "-> " + fs::read_symlink(item.path()).string();
#endif
        } else if (item.is_regular_file()) {
            const std::string bytes = readFile(item.path());
            char crc[16];
            std::snprintf(crc, sizeof crc, "%08x", test::crc32(bytes));
            items[name] = std::to_string(bytes.size()) + " " + crc;
        }
    }
    return items;
}

std::map<std::string, std::map<std::string, std::string>> expectedTrees() {
    std::map<std::string, std::map<std::string, std::string>> all;
    std::istringstream lines(readFile(kData + "expected.tsv"));
    for (std::string line; std::getline(lines, line);) {
        const size_t a = line.find('\t'), b = line.find('\t', a + 1);
        all[line.substr(0, a)][line.substr(a + 1, b - a - 1)] = line.substr(b + 1);
    }
    return all;
}

// Every archive of the test data expands to what the reference extraction
// gave, or refuses with the text users see. Items that fail leave nothing and
// the others still expand. RAR 5 and LHA header level 3 have markers that
// classification does not take.
TEST(LegacyReaders, PeerArchivesExpandLikeTheReference) {
    const std::string bomb =
        "data expands to more than 1000 times its compressed size; refused as a possible decompression bomb";
    const std::map<std::string, std::string> refused = {
        {"libarchive-rar4_encrypted.rar", "encrypted RAR archives not supported by rar reader"},
        // Text packed at 1019:1 and 1368:1, past the guard against bombs.
        {"libarchive-rar_multi_lzss_blocks.rar", bomb},
        {"libarchive-rar_ppmd_lzss_conversion.rar", bomb},
    };
    auto expected = expectedTrees();
    for (const auto& [archive, message] : refused) expected[archive];
    for (const auto& [archive, items] : expected) {
        test::Scratch scratch;
        const fs::path out = scratch.path() / "out";
        fs::create_directories(out);
        const auto found = refused.find(archive);
        EXPECT_EQ(expand(kData + archive, out).message, found == refused.end() ? "" : found->second) << archive;
#ifdef _WIN32
        // Without names; links come out as files that hold their targets in
        // the code page.
        const auto got = tree(out);
        EXPECT_EQ(got.size(), items.size()) << archive;
        std::multiset<std::string> files;
        for (const auto& [name, value] : got) files.insert(value);
        for (const auto& [name, value] : items) {
            if (value.rfind("-> ", 0) == 0) continue;
            const auto at = files.find(value);
            EXPECT_NE(at, files.end()) << archive << ": " << name;
            if (at != files.end()) files.erase(at);
        }
#else
        EXPECT_EQ(tree(out), items) << archive;
#endif
    }
    for (const char* unknown : {"libarchive-rar5_stored.rar", "libarchive-lha_header3.lzh"}) {
        tuckett5::Reader reader;
        reader.open(kData + unknown);
        EXPECT_EQ(reader.archiveInfo.format, 0) << unknown;
        reader.close();
    }
}

// An entry whose declared size lies, or whose data is short or not ARC's,
// fails with its text and leaves no file behind; the next entry still
// expands.
TEST(LegacyReaders, ArcEntriesThatLie) {
    using test::arc::entry;
    const std::string text = "a line of text, and another line of text\n";
    const std::string packed(
        "ab\x90\x05"
        "c\x90\x00",
        7),
        unpacked = "abbbbbc\x90";
    const struct {
        std::string entry;
        const char* message;
    } lies[] = {
        {entry(3, "packed", unpacked, packed), ""},
        {entry(2, "long", text, text, uint32_t(text.size() + 1)), "CRC mismatch in arc reader; data is invalid"},
        {entry(2, "short", text, text, uint32_t(text.size() - 1)), "CRC mismatch in arc reader; data is invalid"},
        {entry(3, "packed", unpacked, packed, 4), "CRC mismatch in arc reader; data is invalid"},
        {entry(3, "cut", unpacked, packed.substr(0, 3), 8), "CRC mismatch in arc reader; data is invalid"},
        {entry(8, "bits", "x", "\x0D\x01"), "crunched with 13 bits, can only handle 12 bits"},
        {entry(10, "newer", "x", "x"), "unsupported compression method in arc reader"},
    };
    for (const auto& lie : lies) {
        test::Scratch box;
        fs::create_directories(box.path() / "out");
        const std::string archive = test::arc::archive({lie.entry, entry(2, "after", "after", "after")});
        EXPECT_EQ(expand(box.write("lie.arc", archive), box.path() / "out").message, lie.message);
        EXPECT_EQ(readFile(box / "out/after"), "after") << lie.message;
        EXPECT_EQ(tree(box.path() / "out").size(), *lie.message ? 1u : 2u) << lie.message;
    }
}

// An LHA level-0 header of a stored entry, with its checksum and CRC-16.
std::string lhaEntry(const std::string& name, const std::string& data) {
    std::string h = "-lh0-";
    auto le = [&](uint32_t v, int n) {
        for (int i = 0; i < n; ++i) h += static_cast<char>(v >> (8 * i));
    };
    le(static_cast<uint32_t>(data.size()), 4);
    le(static_cast<uint32_t>(data.size()), 4);
    le(0x5A216000, 4);
    h += '\x20';
    h += '\0';
    h += static_cast<char>(name.size());
    h += name;
    le(test::crc16(data), 2);
    unsigned char sum = 0;
    for (char c : h) sum = static_cast<unsigned char>(sum + static_cast<unsigned char>(c));
    return std::string(1, static_cast<char>(h.size())) + static_cast<char>(sum) + h + data;
}

// A RAR 4 archive of stored entries: marker, main header, file headers, each
// header checked by the low half of its CRC-32.
std::string rarArchive(const std::vector<std::pair<std::string, std::string>>& files) {
    auto header = [](const std::string& body) {
        const uint32_t crc = test::crc32(body);
        return std::string{static_cast<char>(crc), static_cast<char>(crc >> 8)} + body;
    };
    auto le = [](std::string& b, uint64_t v, int n) {
        for (int i = 0; i < n; ++i) b += static_cast<char>(v >> (8 * i));
    };
    std::string out("Rar!\x1A\x07\x00", 7);
    std::string main = "\x73";
    le(main, 0, 2);
    le(main, 13, 2);
    le(main, 0, 6);
    out += header(main);
    for (const auto& [name, data] : files) {
        std::string file = "\x74";
        le(file, 0x8000, 2);
        le(file, static_cast<uint32_t>(32 + name.size()), 2);
        le(file, static_cast<uint32_t>(data.size()), 4);
        le(file, static_cast<uint32_t>(data.size()), 4);
        file += '\x03';  // Unix
        le(file, test::crc32(data), 4);
        le(file, 0x5A216000, 4);
        file += '\x14';
        file += '\x30';  // stored
        le(file, static_cast<uint32_t>(name.size()), 2);
        le(file, 0x81A4, 4);
        out += header(file + name) + data;
    }
    return out;
}

// Names that climb out of the output folder stay inside it in all three
// formats, and what a user did not name is never touched.
TEST(LegacyReaders, ClimbingNamesStayInside) {
    const std::vector<std::pair<std::string, std::string>> climbers = {
        {"PLAIN.TXT", "zero"}, {"../../evil1.txt", "one"}, {"/tmp/evil2.txt", "two"}, {"..\\..\\e3.txt", "three"}};
    std::string lha;
    for (const auto& [name, data] : climbers) lha += lhaEntry(name, data);
    lha += '\0';
    std::vector<std::string> arc;
    for (const auto& [name, data] : climbers) arc.push_back(test::arc::entry(2, name.substr(0, 12), data, data));
    for (const std::string& bytes : {lha, rarArchive(climbers), test::arc::archive(arc)}) {
        test::Scratch scratch;
        const fs::path out = scratch.path() / "deep/out";
        fs::create_directories(out);
        const Outcome outcome = expand(scratch.write("climb", bytes), out);
        EXPECT_EQ(outcome.message, "");
        EXPECT_EQ(outcome.files, 4u);
        EXPECT_EQ(tree(out).size(), 4u);
        EXPECT_EQ(tree(scratch.path()).size(), 5u);  // the four and the archive
    }
}

// A level-3 LHA header claims its size in 32 bits, and libarchive would
// allocate what it claims: one behind a good entry refuses the archive
// before libarchive sees it.
TEST(LegacyReaders, AnLhaHeaderOfLevelThreeIsRefusedBeforeItsClaimIsBelieved) {
    std::string level3("\x04\x00-lhd-", 7);
    level3 += std::string(13, '\0');
    level3 += '\x03';             // level, at offset 20
    level3 += '\0';
    level3 += std::string("\x00\x00\xFF\xFF\xFF\xFF", 6);  // a header of 4 GiB
    test::Scratch scratch;
    const Outcome outcome =
        expand(scratch.write("level3.lzh", lhaEntry("a.txt", "data") + level3 + '\0'), scratch.path() / "out");
    EXPECT_EQ(outcome.message, "invalid lha archive: header level 3 is not supported");
}

// Every truncation and a few thousand byte flips end in an exception or in
// output inside the folder, never in a crash, a hang or output without end.
void expectContained(const test::Scratch& scratch, const std::string& bytes) {
    const fs::path out = scratch.path() / "out";
    std::error_code ignored;
    fs::remove_all(out, ignored);
    fs::create_directories(out);
    expand(scratch.write("damaged", bytes), out);
    uint64_t total = 0;
    for (const auto& item : fs::recursive_directory_iterator(out))
        if (item.is_regular_file() && !item.is_symlink()) total += item.file_size();
    EXPECT_LT(total, 4u << 20);
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator()), 2);
}

const char* const kSmall[] = {"packed.arc", "libarchive-lha_lh6.lzh", "libarchive-rar.rar"};

TEST(LegacyReadersDamage, EveryTruncation) {
    test::Scratch scratch;
    std::vector<std::string> samples = {
        test::arc::archive({test::arc::entry(4, "sq", "", "\x01\x00\xFE\xFF\xFE\xFF")})};
    for (const char* name : kSmall) samples.push_back(readFile(kData + name));
    for (const std::string& whole : samples)
        for (size_t size = 0; size < whole.size(); ++size) expectContained(scratch, whole.substr(0, size));
}

TEST(LegacyReadersDamage, RandomByteFlips) {
    test::Scratch scratch;
    std::mt19937 random(20261124);
    std::vector<std::string> samples;
    for (const char* name : kSmall) samples.push_back(readFile(kData + name));
    for (const char* name : {"bla.lha", "crunched.arc"}) samples.push_back(readFile(kData + name));
    for (int round = 0; round < test::fileDamageRounds(3000); ++round)
        expectContained(scratch, test::flipped(samples[round % samples.size()], random, 4));
}

}  // namespace
