#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "fmhost.Host.h"
#include "plugin/FMUtils.h"
#include "plugin/StringTable.h"
#include "plugin/plugin.Support.h"

namespace {

// Makes gFMExternCallPtr point at an emulated host's call block, the way any
// entry of the host does, so the routines can be called one by one.
class HostedRoutines : public ::testing::Test {
protected:
    HostedRoutines() : host_(FMExternCallProc, nullptr) { host_.raw(2, 0, ""); }

    struct Param {
        std::string bytes;
        uint32_t length;
    };
    Param param(const std::string& text, int32_t number, uint32_t maxLength) {
        FMX_Handle h = host_.newHandle(text);
        std::string buffer(maxLength + 1, '\0');
        uint32_t length = 12345;
        GetParamByNumber(h, number, maxLength, buffer.data(), &length);
        host_.freeHandle(h);
        EXPECT_EQ(host_.openLocks(), 0);
        return {std::string(buffer.c_str()), length};
    }

    fmhost::Host host_;
};

struct ParamCase {
    std::string text;
    int32_t number;
    std::string bytes;
    uint32_t length;
};

class ParamScan : public HostedRoutines, public ::testing::WithParamInterface<ParamCase> {};

TEST_P(ParamScan, CopiesTheWantedParameter) {
    const ParamCase& c = GetParam();
    Param p = param(c.text, c.number, 1023);
    EXPECT_EQ(p.bytes, c.bytes);
    EXPECT_EQ(p.length, c.length);
}

INSTANTIATE_TEST_SUITE_P(Texts, ParamScan,
                         ::testing::Values(ParamCase{"a||b", 1, "a", 1}, ParamCase{"a||b", 2, "", 0},
                                           ParamCase{"a||b", 3, "b", 1}, ParamCase{"|b", 1, "", 0},
                                           ParamCase{"|b", 2, "b", 1}, ParamCase{"", 1, "", 0},
                                           ParamCase{"one|two|three", 2, "two", 3},
                                           ParamCase{"one|two|three", 3, "three", 5},
                                           ParamCase{"one|two", 3, "", 0},
                                           ParamCase{" a b |c", 1, " a b ", 5},
                                           ParamCase{"||x", 3, "x", 1}));

TEST_F(HostedRoutines, AFullParameterWithTextBehindReadsAsEmpty) {
    std::string path(1023, 'p');
    Param cut = param(path + "|x", 1, 1023);
    EXPECT_EQ(cut.length, 0u);
    EXPECT_EQ(cut.bytes, path);  // the buffer holds it all the same
    Param whole = param(path, 1, 1023);
    EXPECT_EQ(whole.length, 1023u);
    EXPECT_EQ(whole.bytes, path);
    Param shorter = param(path.substr(1) + "|x", 1, 1023);
    EXPECT_EQ(shorter.length, 1022u);
}

TEST_F(HostedRoutines, NumbersConvertBothWays) {
    struct {
        int32_t value;
        const char* text;
    } cases[] = {{0, ""}, {-50, "-50"}, {-128, "-128"}, {8, "8"}, {INT32_MAX, "2147483647"}, {INT32_MIN, "-2147483648"}};
    for (auto& c : cases) {
        char buffer[16];
        NumToString(c.value, buffer);
        EXPECT_STREQ(buffer, c.text);
        int32_t back = 1;
        StringToNum(c.text, &back);
        EXPECT_EQ(back, c.value) << c.text;
    }
}

TEST_F(HostedRoutines, StringsComeCountedOrTerminated) {
    unsigned char counted[256];
    GetIndString(counted, Crwk::kPluginList, Crwk::kAskWord);
    EXPECT_EQ(counted[0], 4);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(counted + 1), 4), "-ask");
    char text[256];
    GetIndCString(text, Crwk::kPluginList, Crwk::kVersionText);
    EXPECT_STREQ(text, "Cratewerk\xAA v1.0.1");
    GetIndCString(text, Crwk::kErrorList, 8);
    EXPECT_STREQ(text, "A file could not be UnTucked. One possibility is an incorrect password if the archive is encrypted.");
    GetIndCString(text, Crwk::kErrorList, 3);
    EXPECT_STREQ(text, "");
}

// The Windows build reads the same table from its resources.
TEST(StringTable, ResourceScriptHoldsTheSameTexts) {
    std::string rc = plugintest::readFile(std::string(CRATEWERK_SOURCE_DIR) + "/src/plugin/Cratewerk.rc");
    ASSERT_FALSE(rc.empty());
    int checked = 0;
    for (int32_t id = 128; id < 23000; ++id) {
        const char* text = Crwk::StringTableText(id);
        if (!text) continue;
        std::string escaped;
        for (const char* p = text; *p; ++p) {
            if (static_cast<unsigned char>(*p) == 0xAA)
                escaped += "\\252";
            else if (*p == '"')
                escaped += "\"\"";
            else
                escaped += *p;
        }
        EXPECT_NE(rc.find(std::to_string(id) + ", \"" + escaped + "\""), std::string::npos) << id << " " << text;
        ++checked;
    }
    EXPECT_GT(checked, 30);
}

} // namespace
