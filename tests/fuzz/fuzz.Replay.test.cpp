// Every input that once made a fuzz target fail, run through the same target:
// tests/data/fuzz/TARGET/NAME. A target throws fuzz::Finding, or crashes, on
// what it must not do.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/fuzz.Targets.h"

namespace fs = std::filesystem;

namespace {

class Replay : public ::testing::TestWithParam<std::string> {};

TEST_P(Replay, OnceFailingInputsEndCleanly) {
    const fuzz::Target target = fuzz::find(GetParam());
    ASSERT_NE(target, nullptr);
    const fs::path folder = fs::path(CRATEWERK_TEST_DATA) / "fuzz" / GetParam();
    if (!fs::is_directory(folder)) return;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), {});
        SCOPED_TRACE(entry.path().filename().string());
        EXPECT_NO_THROW(target(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
    }
}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const fuzz::Entry& entry : fuzz::targets()) all.push_back(entry.name);
    return all;
}

INSTANTIATE_TEST_SUITE_P(All, Replay, ::testing::ValuesIn(names()), [](const auto& info) { return info.param; });

}  // namespace
