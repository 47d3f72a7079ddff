#include <gtest/gtest.h>

#include "stream/check/crc.CRC.h"
#include "stream/check/crc.Streams.h"
#include "stream/check/md5.Digest.h"
#include "stream/stream.Vector.h"
#include "support/streams.h"

namespace {

const std::string check = "123456789";

TEST(CRC, CheckValues) {
    algorithm::crc::EthernetCRC ethernet(0xFFFFFFFFu);
    ethernet.update(check.data(), 9);
    EXPECT_EQ(0x340BC6D9u, ethernet.value());  // before the complement that Zip applies
    EXPECT_EQ(0xCBF43926u, ~ethernet.value());

    algorithm::crc::BisyncCRC bisync(0xA001, 0);
    bisync.update(check.data(), 9);
    EXPECT_EQ(0xBB3D, bisync.value());

    algorithm::crc::BinHexCRC binhex(0);
    binhex.update(check.data(), 9);
    binhex.update('\0');
    binhex.update('\0');
    EXPECT_EQ(0x31C3, binhex.value());

    algorithm::crc::MacBinaryCRC macbinary(0);
    macbinary.update(check.data(), 9);
    EXPECT_EQ(0x31C3, macbinary.value());  // the table form needs no trailing zeros

    algorithm::crc::GenericCRC16 arc(0xA001, 0);
    arc.update(check.data(), 9);
    EXPECT_EQ(0xBB3D, arc.value());

    algorithm::crc::GenericCRC32 generic(0xEDB88320u, 0xFFFFFFFFu);
    generic.update(check.data(), 9);
    EXPECT_EQ(0x340BC6D9u, generic.value());
}

TEST(CRC, ByteAndBlockFormsAgreeAndBeginReturnsToTheSeed) {
    // Block sizes around the steps of every block method (8, 16 and 64 bytes)
    // and unaligned starts; the CRC-32 of another polynomial takes the table.
    std::string data = test::pattern(70000);
    for (uint32_t polynomial : {0xEDB88320u, 0x82F63B78u}) {
        for (uint32_t size : {0u, 7u, 8u, 63u, 64u, 65u, 79u, 80u, 127u, 128u, 200u, 1000u, 4099u, 65536u}) {
            for (uint32_t offset : {0u, 3u}) {
                algorithm::crc::GenericCRC32 a(polynomial, 0x12345678u), b(polynomial, 0x12345678u);
                a.update(data.data() + offset, size);
                a.update(data.data() + offset + size, 100);
                for (uint32_t i = 0; i < size + 100; ++i) b.update(data[offset + i]);
                EXPECT_EQ(a.value(), b.value()) << std::hex << polynomial << std::dec << " " << size << "+" << offset;
            }
        }
    }
    algorithm::crc::EthernetCRC a(0x12345678u);
    a.update(data.data(), 1000);
    a.begin();
    EXPECT_EQ(0x12345678u, a.value());
}

TEST(CRCStreams, FeedWhatPasses) {
    std::string data = test::pattern(300);
    algorithm::crc::EthernetCRC whole;
    whole.update(data.data(), 300);

    test::CountingInput source(data);
    algorithm::crc::EthernetCRC crc;
    algorithm::crc::CRC32Input in(source, crc);
    char buffer[100];
    in.read(buffer, 100);
    in.read();
    EXPECT_EQ(199u, in.skip(1000));  // skipped bytes are counted too
    EXPECT_EQ(whole.value(), crc.value());

    test::RecordingOutput sink;
    algorithm::crc::BisyncCRC crc16, expected;
    algorithm::crc::CRC16Output out(sink, crc16);
    out.write("ab", 2);
    out.write('c');
    out.fill(3, 'z');
    expected.update("abczzz", 6);
    EXPECT_EQ(expected.value(), crc16.value());
    EXPECT_EQ("abczzz", sink.data);
}

std::string hex(const std::vector<char>& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    for (char c : bytes) {
        s += digits[(c >> 4) & 15];
        s += digits[c & 15];
    }
    return s;
}

TEST(MD5, RFC1321Suite) {
    const std::pair<std::string, std::string> suite[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto& [text, digest] : suite) {
        algorithm::md5::Digest once(text.data(), static_cast<uint32_t>(text.size()));
        EXPECT_EQ(digest, hex(once.value())) << text;
        // Byte by byte, and reused after begin().
        algorithm::md5::Digest bytes;
        bytes.update(std::string("junk"));
        bytes.begin();
        for (char c : text) bytes.update(c);
        bytes.end();
        EXPECT_EQ(digest, hex(bytes.value())) << text;
    }
}

TEST(MD5, DigestOutputFeedsTheDigest) {
    algorithm::md5::Digest digest;
    algorithm::DigestOutput<std::vector<char>> out(digest);
    out.write("message ", 8);
    out.write('d');
    out.write("igest", 5);
    digest.end();
    EXPECT_EQ("f96b697d7cb7938d525a2f31aaf161d0", hex(digest.value()));
    EXPECT_EQ(14u, out.tell());
}

} // namespace
