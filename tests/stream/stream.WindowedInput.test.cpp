#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "stream/stream.WindowedInput.h"
#include "support/streams.h"

namespace {

// A seekable source that counts seeks and block reads, and that may answer a
// block read with fewer bytes than asked, as a buffered file may.
class SeekableSource : public stream::random::Input {
public:
    // `claimed` is the size the source gives, when not its true one.
    SeekableSource(std::string data, uint32_t mostPerRead, uint64_t claimed = stream::all)
        : data_(std::move(data)), most_(mostPerRead), claimed_(claimed == stream::all ? data_.size() : claimed) {}

    using stream::Input::read;
    int read() override { return at_ < data_.size() ? static_cast<unsigned char>(data_[at_++]) : -1; }
    uint32_t read(char* buffer, uint32_t count) override {
        ++reads;
        const uint32_t n = static_cast<uint32_t>(std::min<size_t>({count, most_, data_.size() - at_}));
        std::memcpy(buffer, data_.data() + at_, n);
        at_ += n;
        return n;
    }
    uint64_t tell() const override { return at_; }
    uint64_t size() const override { return claimed_; }
    void seek(uint64_t position) override {
        ++seeks;
        at_ = std::min<uint64_t>(position, data_.size());
    }

    int reads = 0;
    int seeks = 0;

private:
    std::string data_;
    uint32_t most_;
    uint64_t claimed_;
    size_t at_ = 0;
};

// A stream larger than the windows, and one smaller than a window.
class WindowedInputWalk : public testing::TestWithParam<size_t> {};

TEST_P(WindowedInputWalk, ReadsWhatTheStreamHoldsWhereverItSeeks) {
    const std::string data = test::pattern(GetParam());
    for (uint32_t most : {1000u, 1u << 20}) {
        SeekableSource source(data, most);
        // The source stands somewhere else than its tell() says at first.
        source.seek(12345);
        stream::random::WindowedInput in(source);
        std::mt19937 random(most);
        uint64_t at = in.tell();
        std::string got(200000, '\0');
        for (int step = 0; step < 2000; ++step) {
            switch (random() % 4) {
                case 0:
                    at = random() % (data.size() + 1);
                    in.seek(at);
                    break;
                case 1: {
                    // Small reads, and reads of more than a window.
                    const uint32_t ask = random() % 2 ? random() % 300 : 65536 + random() % 100000;
                    const uint32_t n = in.read(got.data(), ask);
                    // Only the end of the stream answers short.
                    ASSERT_EQ(std::min<uint64_t>(ask, data.size() - at), n) << "step " << step;
                    ASSERT_EQ(0, data.compare(at, n, got, 0, n)) << "step " << step;
                    at += n;
                    break;
                }
                case 2: {
                    const int c = in.read();
                    ASSERT_EQ(at < data.size() ? static_cast<unsigned char>(data[at]) : -1, c);
                    if (c != -1) ++at;
                    break;
                }
                default: {
                    const uint64_t ask = random() % 70000;
                    const uint64_t n = in.skip(ask);
                    ASSERT_EQ(std::min<uint64_t>(ask, data.size() - at), n);
                    at += n;
                    break;
                }
            }
            ASSERT_EQ(at, in.tell()) << "step " << step;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, WindowedInputWalk, testing::Values(300000, 3000));

TEST(WindowedInput, ASourceLongerThanItsSizeIsReadToItsEnd) {
    const std::string data = test::pattern(200000);
    SeekableSource source(data, 1000, 100);
    stream::random::WindowedInput in(source);
    std::string got;
    for (int c; (c = in.read()) != -1;) got += static_cast<char>(c);
    EXPECT_EQ(data, got);
}

TEST(WindowedInput, WalkingTwoPlacesInTurnReadsEachOnce) {
    // A directory at the end that points at small items at the start: every
    // seek after the first two falls inside a window.
    const std::string data = test::pattern(300000);
    SeekableSource source(data, 1u << 20);
    stream::random::WindowedInput in(source);
    char record[40];
    for (uint64_t i = 0; i < 1000; ++i) {
        in.seek(150000 + i * 40);
        ASSERT_EQ(40u, in.read(record, 40));
        in.seek(i * 60);
        ASSERT_EQ(40u, in.read(record, 40));
        ASSERT_EQ(0, std::memcmp(record, data.data() + i * 60, 40));
    }
    EXPECT_EQ(2, source.seeks);
    EXPECT_EQ(2, source.reads);
}

}  // namespace
