// The cratewerk command as a script sees it: exit statuses, what goes to
// standard output and what to standard error.
#include <gtest/gtest.h>

#include <bzlib.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "cli.Shell.h"
#include "plugin/plugin.Support.h"
#include "stream/check/crc.CRC.h"

namespace {

namespace fs = std::filesystem;

using clitest::Outcome;
using clitest::quote;
using plugintest::readFile;
using plugintest::TempDir;
using plugintest::writeFile;

const std::string kSamples = std::string(CRATEWERK_TEST_DATA) + "/cli";

struct Case {
    std::string arguments;
    int status;
    std::string out;  // exact, unless "*"
    std::string err;  // a part of standard error
};

class Statuses : public ::testing::TestWithParam<Case> {};

TEST_P(Statuses, AndMessages) {
    const Case& c = GetParam();
    std::string arguments = c.arguments;
    for (size_t at; (at = arguments.find("{samples}")) != std::string::npos;) arguments.replace(at, 9, kSamples);
    Outcome r = clitest::tool(arguments);
    EXPECT_EQ(r.status, c.status) << arguments << "\n" << r.err;
    if (c.out != "*") {
        EXPECT_EQ(r.out, c.out) << arguments;
    }
    std::string err = c.err;
    for (size_t at; (at = err.find("{samples}")) != std::string::npos;) err.replace(at, 9, kSamples);
    EXPECT_NE(r.err.find(err), std::string::npos) << arguments << ": " << r.err;
}

INSTANTIATE_TEST_SUITE_P(
    Commands, Statuses,
    ::testing::Values(
        Case{"", 2, "", "usage: cratewerk <command>"},
        Case{"frobnicate", 2, "", "cratewerk: unknown command 'frobnicate'"}, Case{"--help", 0, "*", ""},
        Case{"version", 0, "Cratewerk\xC2\xAA v1.0.1\n", ""},
        Case{"version extra", 2, "", "version takes no arguments"}, Case{"expand", 2, "", "expand needs an archive"},
        Case{"x --bogus a.tkt", 2, "", "unknown option '--bogus'"},
        Case{"expand --macbinary=sometimes a.tkt", 2, "", "unknown value 'sometimes' for --macbinary"},
        Case{"expand --max-ratio=lots a.tkt", 2, "", "--max-ratio takes a whole number, 0 for no limit"},
        Case{"list a b", 2, "", "list needs one archive"}, Case{"identify", 2, "", "identify needs at least one file"},
        Case{"expand {samples}/notes.txt /nonexistent-output", 1, "",
             "cratewerk: {samples}/notes.txt: not an archive\n"},
        Case{"list {samples}/notes.txt", 1, "", "cratewerk: {samples}/notes.txt: not an archive\n"},
        Case{"expand {samples}/missing.zip", 1, "", "cratewerk: {samples}/missing.zip: No such file or directory\n"},
        Case{"identify {samples}/notes.txt", 1, "*", ""}, Case{"call CRwrk-Version", 0, "Cratewerk\xAA v1.0.1\n", ""},
        Case{"call 0", 0, "Cratewerk\xAA v1.0.1\n", ""}, Case{"call CRwrk-Tuck ''", 1, "-50||\n", ""},
        Case{"call CRwrk-Expand '|b'", 1, "-50||\n", ""}, Case{"call CRwrk-Register 'key'", 0, "\n", ""},
        Case{"call CRwrk-GetPath -onlyFiles", 130, "-128||\n", ""},
        Case{"call CRwrk-Nothing ''", 2, "", "unknown function CRwrk-Nothing"},
        Case{"call CRwrk-Expand {samples}/notes.txt", 1, "-1|archive format is not supported|\n", ""}));

TEST(Commands, EveryCommandHasHelp) {
    for (const char* command : {"expand", "x", "list", "l", "identify", "tuck", "zip", "compress", "call", "version"}) {
        Outcome r = clitest::tool(std::string(command) + " --help");
        EXPECT_EQ(r.status, 0) << command;
        EXPECT_EQ(r.out.rfind("usage: cratewerk ", 0), 0u) << command;
    }
}

TEST(Commands, IdentifyNamesFormatsAndOffsets) {
    Outcome r = clitest::tool("identify " + quote(kSamples + "/bla.zip") + " " + quote(kSamples + "/bla.tgz"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("bla.zip: "), std::string::npos);
    EXPECT_NE(r.out.find("(zip) at offset 0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("(gz) at offset 0"), std::string::npos) << r.out;
    Outcome missing = clitest::tool("identify /nonexistent/file.zip");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("cratewerk: "), std::string::npos);
}

TEST(Commands, CallUsesTheScriptedChooserWhenOneIsNamed) {
    TempDir dir;
    writeFile(dir / "script", "choose /picked/path\n");
    Outcome r = clitest::tool("call CRwrk-GetPath '-newFile'", "CRATEWERK_UI_SCRIPT=" + quote(dir / "script") +
                                                                   " CRATEWERK_UI_LOG=" + quote(dir / "log"));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "/picked/path\n");
    EXPECT_EQ(readFile(dir / "log"), "ChooseNewFile: \n");
}

// The tool names an item it cannot expand, expands the rest and fails; the
// plug-in fails the whole run with the engine's text.
TEST(Commands, AnItemThatCannotBeExpandedIsNamedAndTheRestExpands) {
    plugintest::TempDir dir;
    fs::copy_file(kSamples + "/mixed-methods.zip", dir / "mixed.zip");
    Outcome r = clitest::tool("expand -q " + (dir / "mixed.zip"));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, dir / "m" + "\n");
    EXPECT_EQ(r.err, "cratewerk: " + dir / "mixed.zip" + ": bzip2-compressed Zip entries are not supported: m/a.txt\n");
    EXPECT_FALSE(fs::exists(dir / "m/a.txt"));
    EXPECT_EQ(plugintest::readFile(dir / "m/b.txt"), "stored\n");

    Outcome call = clitest::tool("call CRwrk-Expand '" + dir / "mixed.zip" + "|" + dir / "host" + "'");
    EXPECT_EQ(call.out, "-1|unsupported compression method in zip reader|\n");
}

struct ZipEntry {
    std::string name;
    uint16_t method;
    std::string data;   // as packed
    std::string plain;  // what it claims to expand to
};

std::string little(uint32_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i, value >>= 8) out += static_cast<char>(value & 0xFF);
    return out;
}

// A Zip of the entries as given, whatever their data holds.
std::string zipOf(const std::vector<ZipEntry>& entries) {
    std::string archive, directory;
    for (const ZipEntry& e : entries) {
        algorithm::crc::EthernetCRC crc;
        crc.update(e.plain.data(), static_cast<uint32_t>(e.plain.size()));
        const std::string common = little(20, 2) + little(0, 2) + little(e.method, 2) + little(0x5A8C6000, 4) +
                                   little(~crc.value(), 4) + little(uint32_t(e.data.size()), 4) +
                                   little(uint32_t(e.plain.size()), 4) + little(uint32_t(e.name.size()), 2) +
                                   little(0, 2);
        directory += "PK\1\2" + little(20, 2) + common + little(0, 2) + little(0, 4) + little(0, 4) +
                     little(uint32_t(archive.size()), 4) + e.name;
        archive += "PK\3\4" + common + e.name + e.data;
    }
    const uint32_t count = uint32_t(entries.size());
    return archive + directory + "PK\5\6" + little(0, 4) + little(count, 2) + little(count, 2) +
           little(uint32_t(directory.size()), 4) + little(uint32_t(archive.size()), 4) + little(0, 2);
}

// Each legacy method meets data it cannot decode, between good entries: the
// tool names each damaged entry with its decoder's words, leaves nothing of
// it, and expands every good one; the plug-in fails at the first.
TEST(Commands, DamagedEntriesOfEachMethodFailAloneAndTheRestExpand) {
    plugintest::TempDir dir;
    const std::string claimed(5000, 'x');
    writeFile(dir / "damaged.zip", zipOf({{"d/one", 0, "first\n", "first\n"},
                                          // A literal, then a code not defined yet.
                                          {"d/shrunk", 1, "\x41\xFE\x03", claimed},
                                          {"d/two", 0, "second\n", "second\n"},
                                          // A follower set of 63 bytes, where 32 is the most.
                                          {"d/reduced", 5, "\x3F", claimed},
                                          {"d/three", 0, "third\n", "third\n"},
                                          // 64 codes of one bit each: more than one bit can tell apart.
                                          {"d/imploded", 6, "\x03\xF0\xF0\xF0\xF0", claimed},
                                          {"d/four", 0, "fourth\n", "fourth\n"},
                                          // A final block of the reserved type.
                                          {"d/deflated", 8, "\x07", claimed},
                                          {"d/five", 0, "fifth\n", "fifth\n"}}));

    Outcome r = clitest::tool("expand -q " + (dir / "damaged.zip"));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, dir / "d" + "\n");
    const std::string prefix = "cratewerk: " + dir / "damaged.zip" + ": ";
    EXPECT_EQ(r.err, prefix + "bad code in ShrinkDecompressor: d/shrunk\n" + prefix +
                         "bad follower set in ReduceDecompressor: d/reduced\n" + prefix +
                         "algorithm::zip::huft_build(): short input: d/imploded\n" + prefix +
                         "bad block type in Decompressor: d/deflated\n");
    std::vector<std::string> left;
    for (const auto& item : fs::directory_iterator(dir / "d")) left.push_back(item.path().filename().string());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<std::string>{"five", "four", "one", "three", "two"}));
    EXPECT_EQ(readFile(dir / "d/five"), "fifth\n");

    Outcome call = clitest::tool("call CRwrk-Expand '" + dir / "damaged.zip" + "|" + dir / "host" + "'");
    EXPECT_EQ(call.out, "-1|bad code in ShrinkDecompressor|\n");
}

// A bzip2 file of 4 MB of zeros is some 40 bytes: the tool refuses it with
// the guard's text and says how to lift it; the plug-in fails with the text.
TEST(Commands, TheBombGuardRefusesAndMaxRatioLiftsIt) {
    plugintest::TempDir dir;
    const std::string zeros(4 << 20, '\0');
    std::string packed(1000, '\0');
    unsigned int length = unsigned(packed.size());
    BZ2_bzBuffToBuffCompress(packed.data(), &length, const_cast<char*>(zeros.data()), unsigned(zeros.size()), 9, 0, 0);
    packed.resize(length);
    writeFile(dir / "zeros.bz2", packed);
    const std::string refusal =
        "data expands to more than 1000 times its compressed size; refused as a possible decompression bomb";

    Outcome refused = clitest::tool("expand -q " + (dir / "zeros.bz2"));
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err,
              "cratewerk: " + dir / "zeros.bz2" + ": " + refusal +
                  "\ncratewerk: --max-ratio=0 expands what the guard refused (--max-ratio=N allows N:1)\n");
    EXPECT_FALSE(fs::exists(dir / "zeros"));
    Outcome listed = clitest::tool("list " + (dir / "zeros.bz2"));
    EXPECT_EQ(listed.status, 1);
    EXPECT_NE(listed.err.find(refusal), std::string::npos) << listed.err;

    Outcome lifted = clitest::tool("expand -q --max-ratio=0 " + (dir / "zeros.bz2"));
    EXPECT_EQ(lifted.status, 0) << lifted.err;
    EXPECT_EQ(fs::file_size(dir / "zeros"), zeros.size());
    EXPECT_EQ(clitest::tool("list --max-ratio 0 " + (dir / "zeros.bz2")).status, 0);

    Outcome call = clitest::tool("call CRwrk-Expand '" + dir / "zeros.bz2" + "|" + dir / "host" + "'");
    EXPECT_EQ(call.out, "-1|" + refusal + "|\n");
}

TEST(Commands, ListShowsTheCommentEscapesNamesAndGivesScriptsTheDetails) {
    Outcome text = clitest::tool("list " + kSamples + "/listing.zip");
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("\ncomment: made by hand\n"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("  file       tab\\x09here\n"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("  link       link\n"), std::string::npos) << text.out;

    Outcome json = clitest::tool("list --json " + kSamples + "/listing.zip");
    EXPECT_EQ(json.status, 0) << json.err;
    for (const char* needle : {"{\"name\": \"tab\\u0009here\", \"type\": \"file\", \"size\": 1, \"compressed\": 3",
                               "\"method\": \"deflated\", \"crc\": \"8cdc1683\", \"mode\": \"100640\"}",
                               "{\"name\": \"link\", \"type\": \"link\"", "], \"comment\": \"made by hand\"}\n"})
        EXPECT_NE(json.out.find(needle), std::string::npos) << needle << "\n" << json.out;
}

}  // namespace
