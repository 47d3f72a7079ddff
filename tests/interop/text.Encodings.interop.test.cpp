// uuencode and MIME against their Debian peers (sharutils' uuencode and
// uudecode, mpack and munpack), a mail as a real client writes it, and both
// front ends: the cratewerk command and CRwrk-Expand through the plug-in.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "engine/t5.Writer.h"
#include "format/format.Number.h"
#include "interop.Shell.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using namespace interop;

const std::string kTool = quote(CRATEWERK_PROGRAM);

std::map<std::string, std::string> tree(const fs::path& root) { return test::treeOf(root, 0); }

// Names with the size and a hash of the bytes, which a failure can print.
std::map<std::string, std::string> summary(const std::map<std::string, std::string>& files) {
    std::map<std::string, std::string> out;
    for (const auto& [name, bytes] : files)
        out[name] = std::to_string(bytes.size()) + " bytes, " + std::to_string(std::hash<std::string>()(bytes));
    return out;
}

std::string noise(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

Ran expand(const fs::path& at, const std::string& archive, const std::string& out) {
    fs::create_directories(at / out);
    return run(kTool + " expand -q " + quote(archive) + " " + quote(out), at);
}

Ran plugin(const fs::path& archive, const fs::path& out) {
    fs::create_directories(out);
    return run(quote(FMHOST_PROGRAM) + " " + quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " +
                   quote(archive.string() + "|" + out.string() + "|"),
               archive.parent_path());
}

TEST(TextPeers, UuencodeAndUudecodeBothWays) {
    if (!have("uuencode") || !have("uudecode")) GTEST_SKIP() << "sharutils is not installed";
    test::Scratch scratch;
    const fs::path at = scratch.path();
    const std::map<std::string, std::string> files = {
        {"empty", ""}, {"one", "1"}, {"two", "22"}, {"three", "333"}, {"big.bin", noise(5 << 20, 1)}};
    std::list<std::string> paths;
    std::string theirs = "Mail text before the files.\n";
    for (const auto& [name, bytes] : files) {
        writeFile(at / "src" / name, bytes);
        paths.push_back((at / "src" / name).string());
        theirs += run("uuencode src/" + name + " " + name, at).out + "a line between\n";
    }
    fs::permissions(at / "src/one", fs::perms(0751));
    theirs += run("uuencode -m src/one one.b64", at).out;
    writeFile(at / "theirs.uu", theirs);

    // Theirs, expanded by the tool and by the plug-in.
    Ran tool = expand(at, "theirs.uu", "tool");
    EXPECT_EQ(tool.status, 0) << tool.err;
    std::map<std::string, std::string> expected = files;
    expected["one.b64"] = "1";
    EXPECT_EQ(summary(tree(at / "tool")), summary(expected));
    EXPECT_EQ(fs::status(at / "tool/one.b64").permissions() & fs::perms::all, fs::perms(0751));
    Ran host = plugin(at / "theirs.uu", at / "host");
    EXPECT_EQ(host.status, 0) << host.out << host.err;
    EXPECT_EQ(summary(tree(at / "host")), summary(expected));

    // Ours, decoded by uudecode, which takes one file from each input.
    fs::create_directories(at / "back");
    for (const std::string& path : paths) {
        tuckett5::Writer writer;
        writer.archiveInfo.format = format::number::uu;
        writer.archiveInfo.path = (at / "ours.uu").string();
        writer.create({path});
        Ran back = run("cd back && uudecode ../ours.uu && rm ../ours.uu", at);
        EXPECT_EQ(back.status, 0) << back.err;
    }
    EXPECT_EQ(summary(tree(at / "back")), summary(files));
    EXPECT_EQ(fs::status(at / "back/one").permissions() & fs::perms::all, fs::perms(0751));
}

TEST(TextPeers, MpackMessagesExpandAsMunpackDoes) {
    if (!have("mpack") || !have("munpack")) GTEST_SKIP() << "mpack is not installed";
    test::Scratch scratch;
    const fs::path at = scratch.path();
    writeFile(at / "src/noise.bin", noise(300000, 2));
    writeFile(at / "src/notes.txt", "plain words\n");
    writeFile(at / "desc", "What the files are.\n");
    for (const char* name : {"noise.bin", "notes.txt"}) {
        const std::string message = std::string(name) + ".eml";
        ASSERT_EQ(run("cd src && mpack -s test -d ../desc -o ../" + message + " " + name, at).status, 0);
        fs::create_directories(at / "munpack" / name);
        Ran theirs = run("munpack -q -C " + quote((at / "munpack" / name).string()) + " ../../" + message, at);
        ASSERT_EQ(theirs.status, 0) << theirs.err;
        Ran ours = expand(at, message, std::string("ours/") + name);
        EXPECT_EQ(ours.status, 0) << ours.err;
        const auto mine = tree(at / "ours" / name);
        // munpack names the parts that have no name partN, and adds .desc files.
        for (const auto& [file, bytes] : tree(at / "munpack" / name)) {
            if (file.rfind("part", 0) == 0 || file.find(".desc") != std::string::npos) continue;
            ASSERT_EQ(mine.count(file), 1u) << file;
            EXPECT_EQ(mine.at(file), bytes) << file;
        }
        EXPECT_EQ(mine.at(name), readFile(at / "src" / name));
    }
}

// As Thunderbird writes it: a text and an HTML alternative, an attachment
// whose name is in UTF-8 by RFC 2231, another named by RFC 2047 encoded
// words, and a forwarded message that carries a uuencoded file and a
// Macintosh file as AppleDouble.
const char* const kMail =
    "Return-Path: <ann@example.org>\r\n"
    "Message-ID: <3b1e7c2a-0c5f-4d47@example.org>\r\n"
    "Date: Mon, 23 Nov 2026 10:12:03 +0100\r\n"
    "MIME-Version: 1.0\r\n"
    "User-Agent: Mozilla Thunderbird\r\n"
    "From: Ann <ann@example.org>\r\n"
    "To: Bob <bob@example.org>\r\n"
    "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\r\n"
    "Content-Type: multipart/mixed;\r\n"
    " boundary=\"------------a7cB2Xq9\"\r\n"
    "\r\n"
    "This is a multi-part message in MIME format.\r\n"
    "--------------a7cB2Xq9\r\n"
    "Content-Type: multipart/alternative;\r\n"
    " boundary=\"------------Z0alt\"\r\n"
    "\r\n"
    "--------------Z0alt\r\n"
    "Content-Type: text/plain; charset=UTF-8; format=flowed\r\n"
    "Content-Transfer-Encoding: quoted-printable\r\n"
    "\r\n"
    "Hallo Bob, anbei die Gr=C3=BC=C3=9Fe und ein sehr langer Satz, der umbrochen =\r\n"
    "wird.\r\n"
    "\r\n"
    "--------------Z0alt\r\n"
    "Content-Type: text/html; charset=UTF-8\r\n"
    "Content-Transfer-Encoding: 7bit\r\n"
    "\r\n"
    "<html><body><p>Hallo Bob</p></body></html>\r\n"
    "\r\n"
    "--------------Z0alt--\r\n"
    "--------------a7cB2Xq9\r\n"
    "Content-Type: application/pdf; name=\"=?UTF-8?B?R3LDvMOfZSDigqwucGRm?=\"\r\n"
    "Content-Disposition: attachment;\r\n"
    " filename*0*=UTF-8''Gr%C3%BC%C3%9F;\r\n"
    " filename*1*=e%20%E2%82%AC.pdf\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "JVBERi0xLjQKJcOkw7zDtsOfCjIgMCBvYmoK\r\n"
    "\r\n"
    "--------------a7cB2Xq9\r\n"
    "Content-Type: text/plain; charset=ISO-8859-1;\r\n"
    " name=\"=?ISO-8859-1?Q?r=E9sum=E9?= =?ISO-8859-1?Q?=2Etxt?=\"\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "culzdW3pCg==\r\n"
    "--------------a7cB2Xq9\r\n"
    "Content-Type: message/rfc822; name=\"forwarded.eml\"\r\n"
    "\r\n"
    "Subject: old mail\r\n"
    "MIME-Version: 1.0\r\n"
    "Content-Type: multipart/mixed; boundary=inner\r\n"
    "\r\n"
    "--inner\r\n"
    "Content-Type: application/octet-stream; name=x.uu\r\n"
    "Content-Transfer-Encoding: x-uuencode\r\n"
    "\r\n"
    "begin 640 inner.txt\r\n"
    "#86)C\r\n"
    "`\r\n"
    "end\r\n"
    "--inner\r\n"
    "Content-Type: multipart/appledouble; boundary=ad\r\n"
    "\r\n"
    "--ad\r\n"
    "Content-Type: application/applefile; name=\"Read Me\"\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "AAUWBwACAAAAAAAAAAAAAAAAAAAAAAAAAAIAAAAJAAAAMgAAACAAAAACAAAAUgAAAAVURVhUdHR4\r\n"
    "dAEAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAHJzcmMK\r\n"
    "--ad\r\n"
    "Content-Type: text/plain; name=\"Read Me\"\r\n"
    "\r\n"
    "data fork\r\n"
    "--ad--\r\n"
    "--inner--\r\n"
    "\r\n"
    "--------------a7cB2Xq9--\r\n";

TEST(TextPeers, MailAsAClientWritesIt) {
    test::Scratch scratch;
    const fs::path at = scratch.path();
    writeFile(at / "mail.eml", kMail);
    const std::map<std::string, std::string> expected = {
        {"part1.txt",
         "Hallo Bob, anbei die Gr\xC3\xBC\xC3\x9F"
         "e und ein sehr langer Satz, der umbrochen wird.\r\n"},
        {"part2.html", "<html><body><p>Hallo Bob</p></body></html>\r\n"},
        {"Gr\xC3\xBC\xC3\x9F"
         "e \xE2\x82\xAC.pdf",
         "%PDF-1.4\n%\xC3\xA4\xC3\xBC\xC3\xB6\xC3\x9F\n2 0 obj\n"},
        {"r\xC3\xA9sum\xC3\xA9.txt", "r\xE9sum\xE9\n"},
        {"inner.txt", "abc"},
        {"Read Me", "data fork"},
        {"._Read Me", ""}};
    Ran tool = run(kTool + " expand -q --macbinary=never mail.eml tool", at);
    EXPECT_EQ(tool.status, 0) << tool.err;
    auto got = tree(at / "tool");
    // The AppleDouble file beside "Read Me" holds its Finder information and fork.
    const std::string sidecar = got["._Read Me"];
    EXPECT_NE(sidecar.find("TEXTttxt"), std::string::npos);
    EXPECT_EQ(sidecar.substr(sidecar.size() - 5), "rsrc\n");
    got["._Read Me"] = "";
    EXPECT_EQ(got, expected);
    EXPECT_EQ(fs::status(at / "tool/inner.txt").permissions() & fs::perms::all, fs::perms(0640));

    // The plug-in makes the same files, forks and Finder information.
    Ran host = plugin(at / "mail.eml", at / "host");
    EXPECT_EQ(host.status, 0) << host.out << host.err;
    EXPECT_EQ(summary(tree(at / "host")), summary(tree(at / "tool")));

    if (!have("munpack")) return;
    fs::create_directories(at / "munpack");
    run("munpack -q -t -C munpack ../mail.eml", at);
    const std::string pdf = readFile(at / "munpack/Gr%C3%BC%C3%9Fe%20%E2%82%AC.pdf");
    if (!pdf.empty()) {
        EXPECT_EQ(pdf, expected.at("Gr\xC3\xBC\xC3\x9F"
                                   "e \xE2\x82\xAC.pdf"));
    }
}

}  // namespace
