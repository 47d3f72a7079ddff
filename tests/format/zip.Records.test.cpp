#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "algorithm/zipcrypt.Cipher.h"
#include "format/format.Exception.h"
#include "format/zip/zip.CentralHeader.h"
#include "format/zip/zip.EncryptionHeader.h"
#include "format/zip/zip.EndHeader.h"
#include "format/zip/zip.ExtendedHeader.h"
#include "format/zip/zip.LocalHeader.h"
#include "stream/stream.Vector.h"
#include "un/un.assert.h"

namespace {

using namespace format::zip;

// A seekable input over bytes in memory that counts its reads.
class MemoryInput : public stream::random::Input {
public:
    explicit MemoryInput(std::vector<char> data) : data_(std::move(data)) {}
    using stream::Input::read;
    int read() override {
        ++reads;
        return position_ < data_.size() ? static_cast<unsigned char>(data_[position_++]) : -1;
    }
    uint32_t read(char* buffer, uint32_t count) override {
        ++reads;
        uint32_t n = 0;
        while (n < count && position_ < data_.size()) buffer[n++] = data_[position_++];
        return n;
    }
    void seek(uint64_t position) override { position_ = static_cast<size_t>(position); }
    uint64_t tell() const override { return position_; }
    uint64_t size() const override { return data_.size(); }

    int reads = 0;

private:
    std::vector<char> data_;
    size_t position_ = 0;
};

std::vector<char> bytesOf(const format::Header& header) {
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    header.write(out);
    return bytes;
}

std::string messageOf(const std::function<void()>& run) {
    try {
        run();
    } catch (const format::Exception& e) {
        EXPECT_EQ(e.kind(), "format");
        return e.what();
    }
    return "";
}

TEST(ZipRecords, LocalHeaderValidity) {
    struct Row {
        uint16_t method;
        uint16_t version;
        bool valid;
    };
    for (Row row : {Row{0, 10, true}, Row{7, 20, true}, Row{8, 0x0314, true}, Row{9, 20, true}, Row{99, 51, true},
                    Row{8, 45, true}, Row{14, 63, true}, Row{8, 64, false}}) {
        LocalHeader h;
        h.method(row.method);
        h.versionNeeded(row.version);
        EXPECT_EQ(h.valid(), row.valid) << row.method << " " << row.version;
    }
}

TEST(ZipRecords, MessagesWordForWord) {
    std::vector<char> junk(64, 'x');
    auto readWith = [&](format::Header& h) {
        stream::VectorInput in(junk);
        h.read(in, true);
    };
    LocalHeader local;
    CentralHeader central;
    EndHeader end;
    ExtendedHeader extended;
    EXPECT_EQ(messageOf([&] { readWith(local); }), "bad header artfact in format::zip::LocalHeader::read()");
    EXPECT_EQ(messageOf([&] { readWith(central); }), "bad header artfact in format::zip::CentralHeader::read()");
    EXPECT_EQ(messageOf([&] { readWith(end); }), "bad header artfact in format::zip::EndHeader::read()");
    EXPECT_EQ(messageOf([&] { readWith(extended); }), "bad header artfact in format::zip::ExtendedHeader::read()");

    // Without the check the record is read and reports itself invalid.
    stream::VectorInput in(junk);
    local.read(in, false);
    EXPECT_FALSE(local.valid());

    const std::string longText(65536, 'n');
    std::vector<char> sink;
    stream::VectorOutput out(sink);
    LocalHeader l1;
    l1.name(longText);
    EXPECT_EQ(messageOf([&] { l1.write(out); }), "file name is too long in format::zip::LocalHeader::write()");
    LocalHeader l2;
    l2.extra(longText);
    EXPECT_EQ(messageOf([&] { l2.write(out); }), "extra data is too long in format::zip::LocalHeader::write()");
    CentralHeader c1;
    c1.name(longText);
    EXPECT_EQ(messageOf([&] { c1.write(out); }), "file name is too long in format::zip::CentralHeader::writeCommon()");
    EXPECT_EQ(messageOf([&] { c1.writeLocal(out); }),
              "file name is too long in format::zip::CentralHeader::writeCommon()");
    CentralHeader c2;
    c2.extra(longText);
    EXPECT_EQ(messageOf([&] { c2.write(out); }), "extra field is too long in format::zip::CentralHeader::writeCommon()");
    CentralHeader c3;
    c3.comment(longText);
    EXPECT_EQ(messageOf([&] { c3.write(out); }), "file comment is too long in format::zip::CentralHeader::write()");
    EndHeader e1;
    e1.comment(longText);
    EXPECT_EQ(messageOf([&] { e1.write(out); }), "file comment is too long in format::zip::CentralHeader::write()");
    EXPECT_TRUE(sink.empty());

    // The longest strings still fit.
    LocalHeader l3;
    l3.name(std::string(65535, 'n'));
    l3.extra(std::string(65535, 'e'));
    l3.write(out);
    EXPECT_EQ(sink.size(), LocalHeader::max_size());
}

TEST(ZipRecords, TruncatedRecordsReadShortWithoutHarm) {
    CentralHeader h;
    h.name("name/of/entry.txt");
    h.extra("extra");
    h.comment("comment");
    const std::vector<char> bytes = bytesOf(h);
    for (size_t cut = 0; cut < bytes.size(); ++cut) {
        std::vector<char> part(bytes.begin(), bytes.begin() + static_cast<long>(cut));
        stream::VectorInput in(part);
        CentralHeader r;
        r.read(in, false);
        EXPECT_LE(r.name().size() + r.extra().size() + r.comment().size(), cut);
        EXPECT_EQ(r.valid(), cut >= 4);
    }
}

TEST(ZipRecords, AssertionText) {
    try {
        un_assert(1 + 1 == 3);
        FAIL();
    } catch (const un::exception& e) {
        EXPECT_EQ(e.kind(), "Assertion Failure");
        EXPECT_EQ(std::string(e.what()),
                  std::string("Assertion (1 + 1 == 3) failed in \"") + __FILE__ + "\" on line " +
                      std::to_string(__LINE__ - 6) + "\n");
    }
}

// An archive body: some bytes, an end record with the given comment, and
// bytes after it.
std::vector<char> archive(size_t before, const std::string& comment, const std::string& after = "") {
    std::vector<char> data;
    EndHeader e;
    e.comment(comment);
    stream::VectorOutput out(data);
    out.fill(before, 'd');
    e.write(out);
    data.insert(data.end(), after.begin(), after.end());
    return data;
}

struct LocateCase {
    const char* name;
    std::vector<char> data;
    uint64_t expected;
};

class Locate : public ::testing::TestWithParam<LocateCase> {};

TEST_P(Locate, FindsTheRecordNearestTheEnd) {
    MemoryInput in(GetParam().data);
    EndHeader e;
    EXPECT_EQ(e.locate(in), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Locate,
    ::testing::Values(LocateCase{"lastBytes", archive(100, ""), 100},
                      LocateCase{"onlyRecord", archive(0, ""), 0},
                      LocateCase{"withComment", archive(100, "a comment"), 100},
                      LocateCase{"trailingGarbage", archive(100, "", "garbage"), 100},
                      LocateCase{"longestComment", archive(10, std::string(65535, 'c')), 10},
                      // The record starts 65558 bytes from the end: one byte out of reach.
                      LocateCase{"tooFarBack", archive(10, "", std::string(65536, 'g')), EndHeader::notFound},
                      LocateCase{"justInReach", archive(10, "", std::string(65535, 'g')), 10},
                      // A signature in the comment, after the real record, hides it.
                      LocateCase{"signatureInComment", archive(50, std::string("xxPK\5\6yy", 8) + std::string(30, 'z')),
                                 50 + 22 + 2},
                      LocateCase{"none", std::vector<char>(5000, 'q'), EndHeader::notFound},
                      LocateCase{"tooShort", std::vector<char>(21, 'q'), EndHeader::notFound}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ZipRecords, LocateReadsNothingBelow22Bytes) {
    MemoryInput in(std::vector<char>{'P', 'K', 5, 6});
    EndHeader e;
    EXPECT_EQ(e.locate(in), EndHeader::notFound);
    EXPECT_EQ(in.reads, 0);
}

// Made by Info-ZIP zip 3.0: "zip -0 -P secret", a stored entry with a data
// descriptor, so that the check byte is the top byte of the DOS time 0x310B.
const unsigned char infoZipEntry[] = {0x4b, 0x37, 0x1d, 0x04, 0xd0, 0x4d, 0x9d, 0xe0, 0x74, 0xe9, 0xd2,
                                      0x8b, 0xc2, 0xcb, 0x6b, 0x36, 0x4f, 0xc5, 0x23, 0x1a, 0x62, 0x00,
                                      0x27, 0x11, 0x6e, 0xcf, 0xf8, 0x0b, 0xae, 0xf1, 0x2c};

TEST(ZipCrypt, DecryptsAnInfoZipEntry) {
    std::vector<char> data(std::begin(infoZipEntry), std::end(infoZipEntry));
    algorithm::zipcrypt::Cipher cipher(algorithm::Password("secret"));
    EncryptionHeader header(cipher);
    header.expect(static_cast<char>(0x31));
    stream::VectorInput in(data);
    header.read(in, true);
    EXPECT_TRUE(header.valid());
    algorithm::zipcrypt::Input plain(in, cipher);
    char text[19];
    ASSERT_EQ(plain.read(text, sizeof text), 19u);
    EXPECT_EQ(std::string(text, 19), "Hello, Zip cipher!\n");

    // The wrong password fails on the check byte.
    algorithm::zipcrypt::Cipher wrong(std::string("Secret"));
    EncryptionHeader bad(wrong);
    bad.expect(static_cast<char>(0x31));
    stream::VectorInput again(data);
    EXPECT_EQ(messageOf([&] { bad.read(again, true); }), "bad password in format::zip::EncryptionHeader::read()");
}

TEST(ZipCrypt, HeaderAndDataRoundTrip) {
    algorithm::zipcrypt::Cipher writer(std::string("pass word"));
    EncryptionHeader out(writer);
    std::vector<char> bytes;
    stream::VectorOutput vo(bytes);
    EXPECT_EQ(messageOf([&] { out.write(vo); }), "must have an expect value in format::zip::EncryptionHeader::write()");
    EXPECT_TRUE(bytes.empty());
    out.expect(static_cast<char>(0xA7));
    out.write(vo);
    ASSERT_EQ(bytes.size(), 12u);

    std::string text(10000, '\0');
    for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 7 + i / 300);
    const std::string original = text;
    algorithm::zipcrypt::Output encrypting(vo, writer);
    encrypting.write(text.data(), 6000);
    EXPECT_EQ(text, original); // the block form leaves the caller's bytes alone
    for (size_t i = 6000; i < 6010; ++i) encrypting.write(text[i]);
    encrypting.write(text.data() + 6010, static_cast<uint32_t>(text.size() - 6010));
    encrypting.fill(5, 'f');
    ASSERT_EQ(bytes.size(), 12 + text.size() + 5);
    EXPECT_NE(std::string(bytes.data() + 12, text.size()), text);

    algorithm::zipcrypt::Cipher reader(std::string("pass word"));
    EncryptionHeader in(reader);
    in.expect(static_cast<char>(0xA7));
    stream::VectorInput vi(bytes);
    in.read(vi, true);
    EXPECT_EQ(std::string(in.bytes(), 11), std::string(out.bytes(), 11));
    algorithm::zipcrypt::Input decrypting(vi, reader);
    EXPECT_EQ(decrypting.skip(100), 100u); // skipped bytes still move the keys
    std::string back(text.size() - 100, '\0');
    ASSERT_EQ(decrypting.read(back.data(), static_cast<uint32_t>(back.size())), back.size());
    EXPECT_EQ(back, text.substr(100));
    EXPECT_EQ(decrypting.read(), 'f');

    // begin() restarts the keys: the same cipher decrypts the header again.
    reader.begin();
    EncryptionHeader again(reader);
    again.expect(static_cast<char>(0xA7));
    stream::VectorInput vi2(bytes);
    again.read(vi2, true);
}

} // namespace
