// Classification of every format from hand-built samples, and the rules of
// priority and offset that decide between several candidates in one block.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/engine5.MultiClassifier.h"
#include "format/arj/arj.ArchiveHeader.h"
#include "format/bin/bin.Header.h"
#include "format/format.Classifier.h"
#include "format/format.Number.h"
#include "format/sv/sv.ArchiveHeader.h"
#include "format/tar/tar.Header.h"
#include "format/tkt5/tkt5.ArchiveHeader.h"
#include "format/tktseg/tktseg.ArchiveHeader.h"
#include "stream/stream.Vector.h"

namespace {

namespace n = format::number;

struct Result {
    int format;
    unsigned offset;
    bool encrypted = false;
    bool encryptedSet = false;
    uint32_t segmentTotal = 0;
    uint32_t segmentNumber = 0;
};

Result classify(const std::string& block) {
    auto all = engine5::makeClassifiers();
    format::MultiClassifier multi;
    for (auto& one : all) multi.add(one.get());
    std::vector<char> copy(block.begin(), block.end());
    multi.classify(copy.data(), static_cast<unsigned>(copy.size()));
    Result result{multi.winner ? multi.winner->format : 0, multi.offset};
    if (multi.winner) {
        result.encryptedSet = multi.winner->encrypted.isSet();
        result.encrypted = multi.winner->encrypted();
        result.segmentTotal = multi.winner->segmentTotal();
        result.segmentNumber = multi.winner->segmentNumber();
    }
    return result;
}

std::string bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values) s.push_back(static_cast<char>(v));
    return s;
}

template <typename H>
std::string written(const H& header) {
    std::vector<char> out;
    stream::VectorOutput vector(out);
    header.write(vector);
    return std::string(out.begin(), out.end());
}

std::string filler(size_t size, char c = 0) { return std::string(size, c); }

// An LHA header of level 0 or 1 with its checksum, or of level 2 with its length.
std::string lhaHeader(int level, const std::string& name = "a.txt") {
    std::string h = bytes({0, 0}) + "-lh5-";
    h += filler(4, 10) + filler(4, 20) + filler(4, 0) + bytes({0x20, level});
    if (level == 2) {
        h += bytes({0, 0, 0x55, 0x4D});  // CRC, OS, next size low byte comes below
        h += bytes({0, 0});
        uint16_t total = static_cast<uint16_t>(h.size());
        h[0] = static_cast<char>(total & 0xFF);
        h[1] = static_cast<char>(total >> 8);
        return h;
    }
    h += static_cast<char>(name.size()) + name + bytes({0x12, 0x34});
    if (level == 1) h += bytes({0x55, 0, 0});
    unsigned size = static_cast<unsigned>(h.size() - 2);
    unsigned char sum = 0;
    for (size_t i = 2; i < h.size(); ++i) sum = static_cast<unsigned char>(sum + static_cast<unsigned char>(h[i]));
    h[0] = static_cast<char>(size);
    h[1] = static_cast<char>(sum);
    return h;
}

std::string zipLocal(bool encrypted = false) {
    std::string h = "PK" + bytes({3, 4, 20, 0, encrypted ? 1 : 0, 0, 8, 0}) + filler(4, 0x21) + filler(12, 0) +
                    bytes({5, 0, 0, 0}) + "a.txt";
    return h + filler(16, 'x');
}

std::string tkt5Signature(bool password = false) {
    format::tkt5::ArchiveHeader header;
    header.archiveSize(200);
    if (password) header.passwordHash(std::string(5, 'h'));
    return written(header) + filler(100, 0);
}

std::string hqxLine() {
    std::string line = ":";
    const char* alphabet = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
    for (int i = 0; i < 63; ++i) line += alphabet[(i * 7) % 64];
    return line + "\r";
}

std::string uuLine() { return "M" + filler(60, '5') + "\n"; }

std::string arjHeader() {
    format::arj::ArchiveHeader header;
    header.firstSize = 34;
    header.version = 11;
    header.minVersion = 1;
    header.fileType = 2;
    header.name = "S.ARJ";
    return written(header);
}

std::string binHeader() {
    format::bin::Header header;
    header.name = "Read Me";
    header.type = format::data::OSType("TEXT");
    header.creator = format::data::OSType("ttxt");
    header.dataLength = 12;
    header.writerVersion = 130;
    header.readerVersion = 129;
    return written(header) + "hello world\n" + filler(116, 0);
}

std::string tarHeader() {
    format::tar::Header header;
    header.name = "a.txt";
    header.mode = 0644;
    header.dataSize = 12;
    header.type = '0';
    return written(header) + "hello world\n" + filler(1024 - 12, 0);
}

std::string svHeader(uint16_t version = 2, uint16_t cipher = 13, uint32_t reserved = 0) {
    format::sv::ArchiveHeader header;
    header.version = version;
    header.cipher = cipher;
    header.reserved = reserved;
    return written(header) + filler(20, 0x33);
}

std::string segment(uint16_t number, uint16_t total) {
    format::tktseg::ArchiveHeader header;
    header.segmentNumber = number;
    header.segmentTotal = total;
    return written(header) + filler(40, 0x44);
}

struct Sample {
    const char* name;
    std::string block;
    int format;
    unsigned offset;
};

std::vector<Sample> samples() {
    return {
        {"arc", bytes({0x1A, 0x08}) + "A.TXT" + filler(8, 0) + filler(20, 1), n::arc, 0},
        {"arj", arjHeader() + filler(10, 0), n::arj, 0},
        {"bin", binHeader(), n::bin, 0},
        {"btoa", "xbtoa Begin\n" + filler(60, 'A') + "\nzz\n", n::btoa, 0},
        {"btoa5", "xbtoa5 78 a.txt Begin\n" + filler(60, 'y') + "\n", n::btoa, 0},
        {"bz2", "BZh91AY&SY" + filler(10, 0x31), n::bz2, 0},
        {"compact", bytes({0xFF, 0x1F, 0}), n::compact, 0},
        {"compress", bytes({0x1F, 0x9D, 0x90}), n::compress, 0},
        {"cpt", bytes({1, 1, 0, 0, 0, 0, 1, 0, 0, 0}), n::cpt, 0},
        {"freeze", bytes({0x1F, 0x9F, 0}), n::freeze, 0},
        {"gz", bytes({0x1F, 0x8B, 8}), n::gz, 0},
        {"ha", "HA" + bytes({1, 0}), n::ha, 0},
        {"hqx", hqxLine() + filler(10, 'a'), n::hqx, 0},
        {"hqx preamble", "(This file must be converted with BinHex 4.0)\r\n\r\n" + hqxLine(), n::hqx, 49},
        {"lha level 0", lhaHeader(0) + filler(10, 0), n::lha, 0},
        {"lha level 1", lhaHeader(1) + filler(10, 0), n::lha, 0},
        {"lha level 2", lhaHeader(2) + filler(10, 0), n::lha, 0},
        {"mime", "MIME-Version: 1.0\r\nContent-Type: multipart/mixed\r\n", n::mime, 0},
        {"mime lower", "content-type: text/plain\n\n", n::mime, 0},
        {"pack", bytes({0x1F, 0x1E, 0}), n::pack, 0},
        {"sv", svHeader(), n::sv, 0},
        {"rar", "Rar!" + bytes({0x1A, 7, 0, 0xCF, 0x90, 0x73, 0}), n::rar, 0},
        {"rar old", "RE~^" + filler(10, 0), n::rar, 0},
        {"sco", bytes({0x1F, 0xA0, 0}), n::sco, 0},
        {"tkt5", tkt5Signature(), n::tkt5, 0},
        {"tkt", "TKT!" + bytes({0, 1, 0, 0, 0, 40}) + "rTuk" + bytes({2, 0, 0, 0, 0, 22, 0, 0}) + filler(4, 0), n::tkt,
         0},
        {"tktseg", segment(1, 3), n::tktseg, 0},
        {"tktsegN", segment(2, 3), n::tktsegN, 0},
        {"tar", tarHeader(), n::tar, 0},
        {"uu", "begin 644 a.txt\n" + uuLine() + "`\nend\n", n::uu, 0},
        {"zip", zipLocal(), n::zip, 0},
        {"zip empty", "PK" + bytes({5, 6}) + filler(18, 0), n::zip, 0},
    };
}

class ClassifySample : public testing::TestWithParam<Sample> {};

TEST_P(ClassifySample, NamesFormatAndOffset) {
    const Sample& sample = GetParam();
    Result result = classify(sample.block);
    EXPECT_EQ(result.format, sample.format) << format::name(result.format);
    EXPECT_EQ(result.offset, sample.offset);
}

// The same data behind a prefix of 300 bytes that matches nothing: only the
// formats that may stand anywhere are found there.
TEST_P(ClassifySample, BehindAPrefixOnlyWhereAllowed) {
    const Sample& sample = GetParam();
    static const std::vector<int> anywhere = {n::arj, n::btoa, n::bz2,  n::hqx, n::lha, n::mime,
                                              n::sv,  n::rar,  n::tkt5, n::tkt, n::uu,  n::zip};
    bool movable = std::find(anywhere.begin(), anywhere.end(), sample.format) != anywhere.end();
    // bzip2 is not movable: its digit is read at byte 3 of the block, here a "~".
    if (sample.format == n::bz2) movable = false;
    Result result = classify(filler(300, '~') + sample.block);
    if (movable) {
        EXPECT_EQ(result.format, sample.format);
        EXPECT_EQ(result.offset, 300 + sample.offset);
    } else {
        EXPECT_EQ(result.format, 0) << format::name(result.format);
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, ClassifySample, testing::ValuesIn(samples()),
                         [](const testing::TestParamInfo<Sample>& info) {
                             std::string name = info.param.name;
                             for (char& c : name)
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

TEST(Classify, CoversEveryClassifyingFormat) {
    std::vector<bool> seen(32, false);
    for (const Sample& sample : samples()) seen[sample.format] = true;
    for (int format = 0; format < 32; ++format) EXPECT_EQ(seen[format], format::classifies(format)) << format;
    EXPECT_EQ(engine5::makeClassifiers().size(), 25u);
}

struct Miss {
    const char* name;
    std::string block;
};

class ClassifyMiss : public testing::TestWithParam<Miss> {};

TEST_P(ClassifyMiss, IsUnknown) {
    EXPECT_EQ(classify(GetParam().block).format, 0) << format::name(classify(GetParam().block).format);
}

INSTANTIATE_TEST_SUITE_P(
    Near, ClassifyMiss,
    testing::Values(Miss{"empty", ""}, Miss{"gz ending the block", bytes({0x1F, 0x8B})},
                    Miss{"zip mark ending the block", std::string(10, '~') + "PK" + bytes({3, 4})},
                    Miss{"rar without its zero", "Rar!" + bytes({0x1A, 7, 1, 0, 0})},
                    Miss{"arc with a bad name", bytes({0x1A, 0x08}) + "A*TXT" + filler(20, 1)},
                    Miss{"arc method too big", bytes({0x1A, 0x48}) + "A.TXT" + filler(20, 1)},
                    Miss{"cpt directory too near", bytes({1, 1, 0, 0, 0, 0, 0, 8, 0, 0})},
                    Miss{"bz2 short", "BZh91AY&SY"}, Miss{"bz2 without digit", "BZh01AY&SY" + filler(10, 0)},
                    Miss{"btoa first line cut", "xbtoa Begin\n" + filler(60, 'A')},
                    Miss{"btoa bad character", "xbtoa Begin\n" + filler(20, 'A') + "{\n"},
                    Miss{"btoa5 count too big", "xbtoa5 300 a Begin\n" + filler(60, 'A') + "\n"},
                    Miss{"btoa5 without count", "xbtoa5 a Begin\n" + filler(60, 'A') + "\n"},
                    Miss{"hqx preamble without data", "(This file must be converted with BinHex 4.0)\r\nHello\r\n"},
                    Miss{"hqx short line", ":abc\r\n" + filler(20, ' ')},
                    Miss{"colon in text", "Subject: hello\r\n" + filler(80, ' ')},
                    Miss{"lha bad sum", [] {
                             std::string h = lhaHeader(0) + filler(10, 0);
                             h[1] = static_cast<char>(h[1] + 1);
                             return h;
                         }()},
                    Miss{"lha level 3", [] {
                             std::string h = lhaHeader(0) + filler(10, 0);
                             h[20] = 3;
                             return h;
                         }()},
                    Miss{"sv version 3", svHeader(3)}, Miss{"sv cipher 1", svHeader(2, 1)},
                    Miss{"sv reserved", svHeader(2, 0, 1)},
                    Miss{"tkt version 3", "TKT!" + filler(6, 0) + "rTuk" + bytes({3}) + filler(20, 0)},
                    Miss{"tkt5 year with a letter", [] {
                             std::string s = tkt5Signature();
                             s[18] = 'O';
                             return s;
                         }()},
                    Miss{"tkt5 first item behind the end", [] {
                             format::tkt5::ArchiveHeader header;
                             header.archiveSize(50);
                             return written(header) + filler(10, 0);
                         }()},
                    Miss{"tktseg number 0", segment(0, 3)}, Miss{"tktseg number above total", segment(4, 3)},
                    Miss{"tar bad checksum", [] {
                             std::string s = tarHeader();
                             s[0] = 'b';
                             return s;
                         }()},
                    Miss{"bin bad crc", [] {
                             std::string s = binHeader();
                             s[3] = 'x';
                             return s;
                         }()},
                    Miss{"uu without data line", "begin 644 a.txt\nhello there\n"},
                    Miss{"uu without mode", "begin a.txt\n" + uuLine()},
                    Miss{"zip end with comment", "PK" + bytes({5, 6}) + filler(16, 0) + bytes({1, 0}) + "c"}),
    [](const testing::TestParamInfo<Miss>& info) {
        std::string name = info.param.name;
        for (char& c : name)
            if (!isalnum(static_cast<unsigned char>(c))) c = '_';
        return name;
    });

// Several candidates in one block: the higher priority wins wherever it
// stands, within one format the lowest offset, and a format found behind a
// prefix is reported where it starts.
TEST(ClassifyPriority, DecidesBetweenCandidates) {
    const std::string zipBehindLha = filler(100, 0) + zipLocal() + filler(4900 - zipLocal().size(), 0);
    const std::string preamble = "From: someone\r\n\r\n(This file must be converted with BinHex 4.0)\r\n";
    std::string stub =
        "MZ" + bytes({0x90, 0, 3, 0, 0, 0, 4, 0, 0, 0, 0xFF, 0xFF}) + "This program cannot be run in DOS mode.";
    stub += filler(3000 - stub.size(), 0);
    // The digit after "BZh" at the match is not looked at; byte 3 of the block is.
    const std::string bzip2 = "BZhx1AY&SY" + filler(10, 0);
    const struct {
        const char* name;
        std::string block;
        int format;
        unsigned offset;
    } cases[] = {
        {"zip at zero beats rar later",
         zipLocal() + filler(100 - zipLocal().size(), 0) + "Rar!" + bytes({0x1A, 7, 0}) + filler(20, 0), n::zip, 0},
        {"lha far away beats zip near", zipBehindLha + lhaHeader(1) + filler(50, 0), n::lha, 5000},
        {"zip alone", zipBehindLha.substr(0, 4000), n::zip, 100},
        {"lowest zip", filler(10, '~') + zipLocal() + filler(30, '~') + zipLocal(), n::zip, 10},
        {"binhex at its colon", preamble + hqxLine() + filler(10, 'a'), n::hqx, unsigned(preamble.size())},
        {"bzip2 digit at byte 3", "abc5" + filler(46, '~') + bzip2, n::bz2, 50},
        {"bzip2 without digit at byte 3", "abcd" + filler(46, '~') + "BZh91AY&SY" + filler(10, 0), 0, 0},
        {"zip behind a self-extractor", stub + zipLocal(true), n::zip, 3000},
        {"arj behind a self-extractor", "MZ" + filler(998, 0x11) + arjHeader() + filler(10, 0), n::arj, 1000},
    };
    for (const auto& c : cases) {
        const Result result = classify(c.block);
        EXPECT_EQ(result.format, c.format) << c.name << ": " << format::name(result.format);
        if (c.format != 0) {
            EXPECT_EQ(result.offset, c.offset) << c.name;
        }
    }
    EXPECT_TRUE(classify(stub + zipLocal(true)).encrypted);
}

TEST(ClassifyResult, SegmentsAndEncryptionAreReported) {
    Result first = classify(segment(1, 4));
    EXPECT_EQ(first.segmentNumber, 1u);
    EXPECT_EQ(first.segmentTotal, 4u);
    Result later = classify(segment(3, 4));
    EXPECT_EQ(later.format, n::tktsegN);
    EXPECT_EQ(later.segmentNumber, 3u);
    Result vault = classify(svHeader());
    EXPECT_TRUE(vault.encryptedSet);
    EXPECT_FALSE(vault.encrypted);
    Result locked = classify(tkt5Signature(true));
    EXPECT_EQ(locked.format, n::tkt5);
    EXPECT_TRUE(locked.encrypted);
    EXPECT_FALSE(classify(tkt5Signature(false)).encrypted);
    Result zip = classify(zipLocal(false));
    EXPECT_TRUE(zip.encryptedSet);
    EXPECT_FALSE(zip.encrypted);
}

TEST(MultiClassifier, KeepsPriorityOrderAndRemovesOneEntry) {
    auto all = engine5::makeClassifiers();
    format::MultiClassifier multi;
    for (auto& one : all) multi.add(one.get());
    for (size_t i = 1; i < multi.classifiers.size(); ++i)
        EXPECT_GE(multi.classifiers[i - 1]->priority, multi.classifiers[i]->priority);
    multi.remove(all[0].get());
    EXPECT_EQ(multi.classifiers.size(), 24u);
    for (size_t i = 1; i < multi.classifiers.size(); ++i)
        EXPECT_GE(multi.classifiers[i - 1]->priority, multi.classifiers[i]->priority);
}

TEST(FormatNumbers, NamesAndAbilities) {
    EXPECT_STREQ(format::name(n::tkt5), "tkt5");
    EXPECT_STREQ(format::name(n::tkt5 + 32), "Tuckett5");
    EXPECT_STREQ(format::name(n::eof + 32), "EOF");
    EXPECT_STREQ(format::name(n::tktsegN + 32), "TuckettSegmentN");
    EXPECT_STREQ(format::name(31), "EOF");
    EXPECT_STREQ(format::name(124), "");
    EXPECT_STREQ(format::name(125), "nonexistent");
    EXPECT_TRUE(format::writes(n::compress));
    EXPECT_FALSE(format::writes(n::gz));
    EXPECT_FALSE(format::reads(n::cpt));
    EXPECT_TRUE(format::acceptsMultipleInputs(n::uu));
    EXPECT_FALSE(format::acceptsDirectories(n::uu));
    EXPECT_FALSE(format::classifies(32));
    EXPECT_FALSE(format::reads(-1));
    int readers = 0;
    for (int f = 0; f < 40; ++f) readers += format::reads(f);
    EXPECT_EQ(readers, 19);
}

}  // namespace
