// uuencode, btoa and MIME through the public reader and writer: round trips,
// a known file's exact encoding, the btoa end line's counts and checks, and
// input that lies or attacks.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>

#include "engine/t5.Reader.h"
#include "engine/t5.Writer.h"
#include "format/format.Number.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using test::Scratch;

const std::string dataFolder = std::string(CRATEWERK_TEST_DATA) + "/text/";

std::map<std::string, std::string> tree(const std::string& root) { return test::treeOf(root, 0); }

// Expands `archive` into the empty folder `out`: "" on success, else the
// failure's text.
std::string expand(const std::string& archive, const std::string& out) {
    fs::remove_all(out);
    fs::create_directories(out);
    tuckett5::Reader reader;
    reader.outputFolder(out);
    try {
        reader.open(archive);
        reader.scan();
        reader.decode();
        reader.close();
    } catch (const un::exception& e) {
        reader.close();
        return e.what();
    }
    return "";
}

// btoa as version 4.2 writes it: base 85 from "!", "z" for a zero word, the
// last group filled with zeros that the checks count too, lines of 78.
std::string btoa(const std::string& data) {
    uint32_t eor = 0, sum = 0, rot = 0;
    std::string body, line;
    auto put = [&](char c) {
        line += c;
        if (line.size() == 78) body += line + "\n", line.clear();
    };
    std::string padded = data + std::string((4 - data.size() % 4) % 4, '\0');
    for (size_t at = 0; at < padded.size(); at += 4) {
        uint32_t word = 0;
        for (size_t i = 0; i < 4; ++i) {
            const auto c = static_cast<unsigned char>(padded[at + i]);
            eor ^= c, sum += c + 1u, rot = (rot & 0x80000000u ? (rot << 1) + 1 : rot << 1) + c;
            word = word << 8 | c;
        }
        if (word == 0) {
            put('z');
            continue;
        }
        char digits[5];
        for (int i = 4; i >= 0; --i) digits[i] = static_cast<char>('!' + word % 85), word /= 85;
        for (char c : digits) put(c);
    }
    if (!line.empty()) body += line + "\n";
    std::ostringstream end;
    end << std::hex << "xbtoa End N " << std::dec << data.size() << std::hex << " " << data.size() << " E " << eor
        << " S " << sum << " R " << rot << "\n";
    return "xbtoa Begin\n" + body + end.str();
}

TEST(TextEncodings, UuWriterMatchesUuencodeAndRoundTrips) {
    Scratch scratch;
    std::mt19937 random(3);
    std::string large(3 << 20, '\0');
    for (char& c : large) c = static_cast<char>(random());
    const std::map<std::string, std::string> files = {{"empty", ""},
                                                      {"one", "a"},
                                                      {"two", "ab"},
                                                      {"three", "abc"},
                                                      {"line", std::string(45, '\xFF')},
                                                      {"line+1", std::string(46, '\0')},
                                                      {"large.bin", large}};
    std::list<std::string> inputs;
    for (const auto& [name, bytes] : files) inputs.push_back(scratch.write("in/" + name, bytes));

    // A known file, byte for byte as POSIX uuencode wrote it.
    const std::string fox = Scratch::read(dataFolder + "fox.uu");
    const std::string foxText = scratch.write("fox/fox.txt", Scratch::read(dataFolder + "fox.txt"));
    fs::permissions(foxText, fs::perms(0644));
    for (const auto& [paths, archive] :
         {std::pair{std::list<std::string>{foxText}, scratch / "fox.uu"}, std::pair{inputs, scratch / "all.uu"}}) {
        tuckett5::Writer writer;
        writer.archiveInfo.format = format::number::uu;
        writer.archiveInfo.path = archive;
        writer.create(paths);
    }
    EXPECT_EQ(Scratch::read(scratch / "fox.uu"), fox);
    EXPECT_EQ(expand(scratch / "all.uu", scratch / "out"), "");
    EXPECT_EQ(tree(scratch / "out"), files);
    // The base64 form, after a file of the classic form that names the input.
    const std::string both = scratch.write(
        "both.uu", Scratch::read(scratch / "all.uu") + "text between\n" + Scratch::read(dataFolder + "fox-base64.uu"));
    EXPECT_EQ(expand(both, scratch / "both"), "");
    EXPECT_EQ(Scratch::read(scratch / "both/fox.txt"), Scratch::read(foxText));
}

TEST(TextEncodings, BtoaHoldsItsEndLineToTheData) {
    Scratch scratch;
    for (const std::string& data : {std::string("a"), std::string("ab\0", 3), std::string(4, '\0'),
                                    std::string("12345"), Scratch::read(dataFolder + "fox.txt")}) {
        EXPECT_EQ(expand(scratch.write("d.btoa", btoa(data)), scratch / "out"), "") << data.size();
        EXPECT_EQ(tree(scratch / "out"), (std::map<std::string, std::string>{{"d", data}}));
    }
    // The same text the file holds, as a real btoa wrote it.
    EXPECT_EQ(Scratch::read(dataFolder + "fox.btoa"), btoa(Scratch::read(dataFolder + "fox.txt")));

    const std::string good = btoa("twelve bytes");
    const std::string head = good.substr(0, good.find("xbtoa End"));
    const std::string counts = "btoa byte count does not match the data; data is invalid";
    const std::string checks = "btoa checksum mismatch; data is invalid";
    const std::string trailer = good.substr(head.size());
    const std::string checksOnly = trailer.substr(trailer.find(" E "));
    const std::map<std::string, std::string> lies = {
        {head + "xbtoa End N 13 d" + checksOnly, counts},
        {head + "xbtoa End N 8 8" + checksOnly, counts},
        {head + "xbtoa End N 12 d" + checksOnly, counts},
        {head + "xbtoa End N 12 c E 0 S 0 R 0\n", checks},
        {head, "btoa data has no end line; data is invalid"},
        {head + "xbtoa End N 12\n", "bad btoa end line; data is invalid"},
        {"xbtoa Begin\n!!z!!\n" + trailer, "btoa data is damaged; data is invalid"},
        {"xbtoa Begin\ns8W-\"\n" + trailer, "btoa data is damaged; data is invalid"},
    };
    for (const auto& [text, error] : lies) {
        EXPECT_EQ(expand(scratch.write("lie.btoa", text), scratch / "out"), error) << text;
        EXPECT_TRUE(tree(scratch / "out").empty());
    }
}

TEST(TextEncodings, HostileInputEndsInAnErrorOrStaysInside) {
    Scratch scratch;
    const std::string out = scratch / "a/b/out";
    const struct {
        std::string text, error;
    } cases[] = {
        {"begin 644 ../../evil\n#86)C\n`\nend\n", ""},
        {"begin 600 /etc/evil\n#86)C\n`\nend\n", ""},
        {"begin 644 short\n#86)C\nM86)C\n`\nend\n",
         "a line of the uuencoded file \"short\" is cut short; data is invalid"},
        {"begin 644 open\n#86)C\n", "the uuencoded file \"open\" has no end line; data is invalid"},
        {"begin 644 a\n`\nend\nbegin-base64 644 b64\nYWJj\n",
         "the uuencoded file \"b64\" has no end line; data is invalid"},
        {"MIME-Version: 1.0\nContent-Type: text/plain; name=\"../../evil\"\n\nabc", ""},
        {"Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/plain; name=/etc/evil\n\nabc", ""},
        {"Content-Type: image/png; name=a.png\nContent-Transfer-Encoding: base64\n"
         "Content-MD5: kAFQmDzST7DWlj99KOF/cg==\n\nYWJj\n",
         ""},
        {"Content-Type: image/png; name=a.png\nContent-Transfer-Encoding: base64\n"
         "Content-MD5: kAFQmDzST7DWlj99KOF/cw==\n\nYWJj\n",
         "MIME part \"a.png\" fails its Content-MD5 check; data is invalid"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(expand(scratch.write("a/hostile", c.text), out), c.error) << c.text;
        for (const auto& item : fs::recursive_directory_iterator(scratch.str()))
            EXPECT_TRUE(item.is_directory() || item.path() == scratch / "a/hostile" ||
                        item.path().string().rfind(scratch / "a/b", 0) == 0)
                << item.path();
        if (c.error.empty()) {
            const auto files = tree(out);
            ASSERT_EQ(files.size(), 1u) << c.text;
            EXPECT_EQ(files.begin()->second, "abc");
        }
    }

    // Ten thousand messages, each inside the one before, and a boundary
    // that is opened a thousand times and never closed.
    std::string deep, wide = "Content-Type: multipart/mixed; boundary=x\n\n";
    for (int i = 0; i < 10000; ++i)
        deep += "Content-Type: multipart/mixed; boundary=" + std::to_string(i) + "\n\n--" + std::to_string(i) + "\n";
    for (int i = 0; i < 1000; ++i) {
        wide += "--x\nContent-Type: text/plain\n\n" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(expand(scratch.write("deep.eml", deep), out), "MIME parts are nested more than 100 deep");
    EXPECT_EQ(expand(scratch.write("wide.eml", wide), out), "");
    EXPECT_EQ(tree(out).size(), 1000u);
    EXPECT_EQ(Scratch::read(out + "/part1.txt"), "0");
    EXPECT_EQ(Scratch::read(out + "/part1000.txt"), "999\n");
}

}  // namespace
