// Zip archives made by `cratewerk zip`, held against Info-ZIP unzip, 7-Zip and
// Python's zipfile: each must pass their tests and give back the source tree
// byte for byte, at every level and under a password.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <utime.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "interop.Shell.h"
#include "support/scratch.h"

namespace fs = std::filesystem;

namespace {

using interop::have;
using interop::quote;
using interop::readFile;
using interop::writeFile;

struct Ran {
    int status;
    std::string out;
};

Ran run(const std::string& command, const fs::path& at) {
    const fs::path out = at / "output.txt";
    const int raw = std::system(
        ("cd " + quote(at.string()) + " && (" + command + ") </dev/null >" + quote(out.string()) + " 2>&1").c_str());
    Ran r{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out)};
    fs::remove(out);
    return r;
}

// Text that compresses, noise that doesn't, empty files and folders, a deep
// tree and names in UTF-8.
void makeSources(const fs::path& top) {
    std::mt19937 random(11);
    std::string text, noise(70000, '\0');
    for (int i = 0; text.size() < 200000; ++i) text += "row " + std::to_string(i % 1013) + " of the zip writer text\n";
    for (char& c : noise) c = static_cast<char>(random());
    writeFile(top / "text.txt", text);
    writeFile(top / "noise.bin", noise);
    writeFile(top / "empty", "");
    writeFile(top / "a/b/c/d/e/f/g/h/deep.txt", "deep\n");
    writeFile(top / "caf\xC3\xA9/na\xC3\xAFve \xE6\x97\xA5\xE6\x9C\xAC.txt", "unicode\n");
    fs::create_directories(top / "hollow/inner");
}

// Python reads every entry (with the password, if any) and compares it with
// the tree below `source`: the same names, folders and bytes.
std::string pythonCheck(const std::string& password) {
    return "python3 -c " + quote(
                               "import os, sys, zipfile\n"
                               "z = zipfile.ZipFile('a.zip')\n"
                               "z.setpassword(" +
                               (password.empty() ? std::string("None") : "b'" + password + "'") +
                               ")\n"
                               "want = {}\n"
                               "for folder, dirs, files in os.walk('src/top'):\n"
                               "    name = os.path.relpath(folder, 'src')\n"
                               "    want[name + '/'] = None\n"
                               "    for f in files: want[name + '/' + f] = open(os.path.join(folder, f), 'rb').read()\n"
                               "got = {}\n"
                               "for i in z.infolist(): got[i.filename] = None if i.is_dir() else z.read(i)\n"
                               "assert z.testzip() is None\n"
                               "if got != want: sys.exit('differs: ' + repr(sorted(set(got) ^ set(want))))\n"
                               "print('same')\n");
}

struct Level {
    const char* option;
    const char* password;
};

class WrittenZip : public ::testing::TestWithParam<Level> {};

TEST_P(WrittenZip, PassesThePeersAndExpandsToTheSameTree) {
    if (!have("unzip") || !have("7z") || !have("python3")) GTEST_SKIP() << "unzip, 7z or python3 is missing";
    const Level& level = GetParam();
    const std::string password = level.password;
    test::Scratch scratch;
    makeSources(scratch.path() / "src/top");
    const Ran made = run(quote(CRATEWERK_PROGRAM) + " zip -q " + level.option +
                             (password.empty() ? "" : " -p " + quote(password)) + " src/top -o a.zip",
                         scratch.path());
    ASSERT_EQ(made.status, 0) << made.out;
    EXPECT_EQ(made.out, (scratch.path() / "a.zip").string() + "\n");

    const std::string p = password.empty() ? "" : " -P " + quote(password);
    const Ran unzipTest = run("unzip -t" + p + " a.zip", scratch.path());
    EXPECT_EQ(unzipTest.status, 0) << unzipTest.out;
    const Ran sevenTest = run("7z t -p" + quote(password) + " a.zip", scratch.path());
    EXPECT_EQ(sevenTest.status, 0) << sevenTest.out;
    const Ran python = run(pythonCheck(password), scratch.path());
    EXPECT_EQ(python.out, "same\n") << python.out;

    // unzip restores the tree with its modes; our own reader gives it back too.
    EXPECT_EQ(run("unzip -q" + p + " a.zip -d byunzip && diff -r src byunzip", scratch.path()).status, 0);
    EXPECT_EQ(
        run("7z x -y -p" + quote(password) + " -oby7z a.zip >/dev/null && diff -r src by7z", scratch.path()).status, 0);
    const Ran ours = run(quote(CRATEWERK_PROGRAM) + " expand -q" + (password.empty() ? "" : " -p " + quote(password)) +
                             " a.zip ours && diff -r src ours",
                         scratch.path());
    EXPECT_EQ(ours.status, 0) << ours.out;
    EXPECT_EQ(fs::status(scratch.path() / "byunzip/top/text.txt").permissions(),
              fs::status(scratch.path() / "src/top/text.txt").permissions());
}

INSTANTIATE_TEST_SUITE_P(Levels, WrittenZip,
                         ::testing::Values(Level{"-0", ""}, Level{"-1", ""}, Level{"", ""}, Level{"-9", ""},
                                           Level{"--best", ""}, Level{"-6", "s3cret pass"}, Level{"-0", "plain"}),
                         [](const auto& info) { return "Case" + std::to_string(info.index); });

// What Python sees of the headers: an empty file stored with version 1.0,
// times before 1980 taken to 1980-01-01, odd seconds rounded up, no data
// descriptor on plain entries and one on each enciphered entry.
TEST(WrittenZipHeaders, FollowTheRulesOfTheFormat) {
    if (!have("python3")) GTEST_SKIP() << "python3 is missing";
    test::Scratch scratch;
    const fs::path top = scratch.path() / "src/top";
    writeFile(top / "empty", "");
    writeFile(top / "old.txt", "from 1975\n");
    writeFile(top / "odd.txt", std::string(5000, 'o'));
    std::tm odd{};
    odd.tm_year = 2001 - 1900;
    odd.tm_mon = 4;
    odd.tm_mday = 6;
    odd.tm_hour = 7;
    odd.tm_min = 8;
    odd.tm_sec = 13;
    odd.tm_isdst = -1;
    const struct utimbuf oddTimes { std::mktime(&odd), std::mktime(&odd) };
    ASSERT_EQ(utime((top / "odd.txt").c_str(), &oddTimes), 0);
    const struct utimbuf oldTimes { 157766400, 157766400 };  // 1975-01-01
    ASSERT_EQ(utime((top / "old.txt").c_str(), &oldTimes), 0);

    for (const std::string password : {"", "pw"}) {
        const Ran made = run(quote(CRATEWERK_PROGRAM) + " zip -q src/top" +
                                 (password.empty() ? "" : " -p " + password) + " -o a.zip >/dev/null && python3 -c " +
                                 quote("import zipfile\n"
                                       "for i in zipfile.ZipFile('a.zip').infolist():\n"
                                       "    print(i.filename, i.compress_type, i.extract_version, i.flag_bits,\n"
                                       "          i.file_size, i.date_time if i.filename.endswith('.txt') else '')\n") +
                                 " && rm a.zip",
                             scratch.path());
        const std::string flags = password.empty() ? "0" : "9";
        EXPECT_EQ(made.out,
                  "top/ 0 10 0 0 \n"
                  "top/empty 0 10 " +
                      flags +
                      " 0 \n"
                      "top/odd.txt 8 20 " +
                      flags +
                      " 5000 (2001, 5, 6, 7, 8, 14)\n"
                      "top/old.txt 8 20 " +
                      flags + " 10 (1980, 1, 1, 0, 0, 0)\n")
            << made.out;
    }
}

}  // namespace

namespace {

// More entries than the end record can count: the Zip64 end record and its
// locator carry the count. Slow, for the file system's sake.
TEST(SlowZip64, MoreThan65535EntriesPassThePeers) {
    if (!have("unzip") || !have("7z") || !have("python3")) GTEST_SKIP() << "unzip, 7z or python3 is missing";
    test::Scratch scratch;
    const int files = 65540;
    for (int i = 0; i < files; ++i) {
        const fs::path folder = scratch.path() / "many" / std::to_string(i / 1000);
        if (i % 1000 == 0) fs::create_directories(folder);
        std::string name = "f";
        name += std::to_string(i);
        std::ofstream(folder / name) << i;
    }
    const Ran made = run(quote(CRATEWERK_PROGRAM) + " zip -q many -o a.zip", scratch.path());
    ASSERT_EQ(made.status, 0) << made.out;
    EXPECT_EQ(run("unzip -tq a.zip", scratch.path()).status, 0);
    EXPECT_EQ(run("7z t a.zip", scratch.path()).status, 0);
    const Ran python = run("python3 -c " + quote("import zipfile\n"
                                                 "z = zipfile.ZipFile('a.zip')\n"
                                                 "names = [i.filename for i in z.infolist()]\n"
                                                 "print(len(names), z.testzip(), z.read('many/65/f65539'))\n"),
                           scratch.path());
    // The files, their 66 folders and the top folder.
    EXPECT_EQ(python.out, "65607 None b'65539'\n");
}

}  // namespace
