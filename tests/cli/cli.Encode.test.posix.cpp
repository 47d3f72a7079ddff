// `cratewerk encode` as a script sees it, and what it makes expanded again
// through both front ends: `cratewerk expand` and CRwrk-Expand in the real
// plug-in under the host emulator.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine/engine5.Registry.h"
#include "format/format.Number.h"
#include "interop/interop.Shell.h"
#include "io/io.ntfs.Rsrc.h"
#include "plugin/plugin.Support.h"

namespace {

namespace fs = std::filesystem;
using interop::quote;
using plugintest::readFile;
using plugintest::TempDir;
using plugintest::writeFile;

interop::Ran run(const std::string& program, const std::string& arguments) {
    TempDir at;
    return interop::run(quote(program) + " " + arguments, at.path());
}

std::string fork(const std::string& path) {
    io::ntfs::Rsrc rsrc(path);
    rsrc.open();
    std::string bytes(static_cast<size_t>(rsrc.size()), '\0');
    rsrc.read(bytes.data(), static_cast<uint32_t>(bytes.size()));
    rsrc.close();
    return bytes;
}

class Encode : public ::testing::Test {
protected:
    void SetUp() override {
        // A Macintosh file as Linux keeps it: the data, and the resource fork
        // and Finder information in "._Letter".
        letter = dir / "Letter";
        writeFile(letter, "Dear reader,\r");
        io::ntfs::Rsrc rsrc(letter);
        rsrc.create();
        io::ntfs::RsrcOutput out(rsrc);
        const std::string resources(3000, '\x90');
        out.write(resources.data(), static_cast<uint32_t>(resources.size()));
        rsrc.close();
        format::data::FileInfo info;
        info.type = format::data::OSType("TEXT");
        info.creator = format::data::OSType("ttxt");
        info.flags = 0;
        rsrc.fileInfo(info);
        writeFile(dir / "plain.txt", "just data\n");
    }

    void expectLetter(const std::string& path) {
        EXPECT_EQ(readFile(path), "Dear reader,\r");
        EXPECT_EQ(fork(path), std::string(3000, '\x90'));
        EXPECT_EQ(io::ntfs::Rsrc(path).fileInfo().creator(), format::data::OSType("ttxt"));
    }

    TempDir dir;
    std::string letter;
};

TEST_F(Encode, BothEncodingsExpandThroughTheToolAndThePlugIn) {
    for (const char* as : {"bin", "hqx"}) {
        const std::string made = dir / (std::string("both.") + as);
        interop::Ran encoded = run(CRATEWERK_PROGRAM, std::string("encode -q --as ") + as + " " + quote(letter) + " " +
                                                          quote(dir / "plain.txt") + " -o " + quote(made));
        ASSERT_EQ(encoded.status, 0) << encoded.err;
        EXPECT_EQ(encoded.out, made + "\n");

        const std::string tool = dir / (std::string("tool-") + as);
        interop::Ran expanded = run(CRATEWERK_PROGRAM, "expand -q " + quote(made) + " " + quote(tool));
        ASSERT_EQ(expanded.status, 0) << expanded.err;
        expectLetter(tool + "/Letter");
        EXPECT_EQ(readFile(tool + "/plain.txt"), "just data\n");
        EXPECT_FALSE(fs::exists(tool + "/._plain.txt"));

        const std::string host = dir / (std::string("host-") + as);
        fs::create_directories(host);
        interop::Ran call =
            run(FMHOST_PROGRAM, quote(CRATEWERK_PLUGIN_LIBRARY) + " CRwrk-Expand " + quote(made + "|" + host));
        EXPECT_EQ(call.status, 0) << call.err << call.out;
        expectLetter(host + "/Letter");
    }
    // BinHex lines end as this system's do, unless asked otherwise.
    EXPECT_EQ(readFile(dir / "both.hqx").find('\r'), std::string::npos);
}

TEST_F(Encode, NothingIsReplacedAndFailuresLeaveNothing) {
    writeFile(dir / "Letter.hqx", "mine");
    interop::Ran first = run(CRATEWERK_PROGRAM, "encode -q --as hqx " + quote(letter));
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out, dir / "Letter_1.hqx" + "\n");
    EXPECT_EQ(readFile(dir / "Letter.hqx"), "mine");

    fs::create_directories(dir / "folder");
    interop::Ran folder = run(CRATEWERK_PROGRAM, "encode -q --as bin " + quote(dir / "folder"));
    EXPECT_EQ(folder.status, 1);
    EXPECT_EQ(folder.err, "cratewerk: cannot encode " + dir / "folder" + ": it is a folder\n");
    interop::Ran missing = run(CRATEWERK_PROGRAM, "encode -q --as bin " + quote(dir / "nothing"));
    EXPECT_EQ(missing.status, 1);
    interop::Ran usage = run(CRATEWERK_PROGRAM, "encode --as zip " + quote(letter));
    EXPECT_EQ(usage.status, 2);
    EXPECT_NE(usage.err.find("encode needs --as bin, hqx or uu"), std::string::npos);

    // uuencode is written once its writer is registered; until then the tool says so.
    interop::Ran uu = run(CRATEWERK_PROGRAM, "encode -q --as uu " + quote(dir / "plain.txt"));
    if (engine5::findFormat(format::number::uu)->makeWriter == nullptr) {
        EXPECT_EQ(uu.status, 1);
        EXPECT_EQ(uu.err, "cratewerk: this build cannot encode as uu\n");
    } else {
        EXPECT_EQ(uu.status, 0) << uu.err;
    }

    int parts = 0;
    for (const auto& item : fs::directory_iterator(dir.path())) parts += item.path().extension() == ".part";
    EXPECT_EQ(parts, 0);
}

}  // namespace
