#include <gtest/gtest.h>

#include "engine/t5.Info.h"
#include "format/format.Exception.h"
#include "format/format.data.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"
#include "support/failure.h"

namespace {

std::string written(const format::Header& record) {
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    record.write(out);
    EXPECT_EQ(record.size(), bytes.size());
    return std::string(bytes.begin(), bytes.end());
}

TEST(OSType, TextAndValue) {
    format::data::OSType appl("APPL");
    EXPECT_EQ(0x4150504Cu, appl.value());
    EXPECT_EQ("APPL", appl.stringValue());
    EXPECT_EQ("ab  ", format::data::OSType("ab").stringValue());
    EXPECT_EQ("abcd", format::data::OSType("abcdef").stringValue());
    EXPECT_EQ("????", format::data::OSType().stringValue());
}

TEST(OSType, HighBytesAreSignExtended) {
    // A high byte in the last place sets every bit above it.
    EXPECT_EQ(0xFFFFFFA5u, format::data::OSType("abc\xA5").value());
    // Earlier high bytes are partly shifted out by the later rounds.
    EXPECT_EQ(0xFFA56364u, format::data::OSType("a\xA5" "cd").value());
    EXPECT_EQ(0xA5626364u, format::data::OSType("\xA5" "bcd").value());
}

TEST(OSType, ReadNeedsFourBytes) {
    stream::ArrayInput in("abc", 3);
    format::data::OSType type;
    EXPECT_EQ("format: format::data::OSType::read() cannot read from a stream with fewer than four characters",
              test::failureOf([&] { type.read(in, true); }));
}

TEST(FinderInfo, DefaultLayouts) {
    EXPECT_EQ(std::string("????????") + std::string(8, '\0'), written(format::data::FileInfo()));
    EXPECT_EQ(std::string(16, '\0'), written(format::data::ExtendedFileInfo()));
    EXPECT_EQ(std::string(16, '\0'), written(format::data::FolderInfo()));
    EXPECT_EQ(std::string(16, '\0'), written(format::data::ExtendedFolderInfo()));
}

TEST(FinderInfo, SkippedBytesComeBackAsZero) {
    const std::string fileBytes("TEXTttxt\x01\x00\xFF\xFE\x00\x10\xAB\xCD", 16);
    stream::ArrayInput in(fileBytes.data(), 16);
    format::data::FileInfo info;
    info.read(in, true);
    EXPECT_EQ("TEXT", info.type().stringValue());
    EXPECT_EQ("ttxt", info.creator().stringValue());
    EXPECT_EQ(0x0100, info.flags());
    EXPECT_EQ(-2, info.location().v());
    EXPECT_EQ(16, info.location().h());
    EXPECT_EQ(16u, in.tell());
    EXPECT_EQ(fileBytes.substr(0, 14) + std::string(2, '\0'), written(info));

    const std::string extended("\x01\x02\x03\x04\x05\x06\x07\x08\x80\x01\xFF\xFF\x00\x00\x01\x00", 16);
    stream::ArrayInput ein(extended.data(), 16);
    format::data::ExtendedFileInfo einfo;
    einfo.read(ein, true);
    EXPECT_EQ(0x8001, einfo.extendedFlags());
    EXPECT_EQ(-1, einfo.comment());
    EXPECT_EQ(256, einfo.putAway());
    EXPECT_EQ(std::string(8, '\0') + extended.substr(8), written(einfo));

    const std::string folder("\x00\x01\x00\x02\x00\x03\x00\x04\x00\x05\x00\x06\x00\x07\x99\x99", 16);
    stream::ArrayInput fin(folder.data(), 16);
    format::data::FolderInfo finfo;
    finfo.read(fin, true);
    EXPECT_EQ(4, finfo.rect().right());
    EXPECT_EQ(5, finfo.flags());
    EXPECT_EQ(folder.substr(0, 14) + std::string(2, '\0'), written(finfo));

    const std::string efolder("\x00\x01\x00\x02\x77\x77\x77\x77\x00\x03\x00\x04\x00\x00\x00\x05", 16);
    stream::ArrayInput efin(efolder.data(), 16);
    format::data::ExtendedFolderInfo efinfo;
    efinfo.read(efin, true);
    EXPECT_EQ(2, efinfo.scroll().h());
    EXPECT_EQ(5, efinfo.putAway());
    EXPECT_EQ(efolder.substr(0, 4) + std::string(4, '\0') + efolder.substr(8), written(efinfo));
}

TEST(FinderInfo, ShortStreamGivesOnesNotErrors) {
    stream::ArrayInput in("TEXTttxt", 8);
    format::data::FileInfo info;
    info.read(in, true);
    EXPECT_EQ(0xFFFF, info.flags());
    EXPECT_EQ(-1, info.location().v());
}

TEST(InfoRecords, ResetForgetsEveryOptionalField) {
    tuckett5::FileInfo file;
    file.name.push_back('a');
    file.type(format::data::OSType("TEXT"));
    file.expandedSize(7);
    file.encrypted = true;
    file.reset();
    EXPECT_TRUE(file.name.empty());
    EXPECT_FALSE(file.type.isSet());
    EXPECT_EQ("????", file.type().stringValue());
    EXPECT_FALSE(file.expandedSize.isSet());
    EXPECT_EQ(0u, file.expandedSize());
    EXPECT_FALSE(file.encrypted);

    tuckett5::ArchiveInfo archive;
    archive.path = "x.tkt";
    archive.position = 12;
    archive.format = 29;
    archive.fileCount = 3;
    archive.segmentTotal(2);
    archive.encrypted = true;
    archive.reset();
    EXPECT_EQ("x.tkt", archive.path);
    EXPECT_EQ(12u, archive.position);
    EXPECT_EQ(29, archive.format);
    EXPECT_EQ(0u, archive.fileCount);
    EXPECT_FALSE(archive.segmentTotal.isSet());
    EXPECT_FALSE(archive.encrypted);
}

} // namespace
