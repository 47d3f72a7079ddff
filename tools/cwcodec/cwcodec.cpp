// cwcodec METHOD -c|-d IN OUT [options]: compresses (-c) or expands (-d) a raw
// stream of one compression method, for benchmarks, debugging and checks.
#include "cwcodec.h"

#include <cstdio>
#include <exception>
#include <map>

#include "io/io.Exception.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"
#include "un/un.exception.h"

namespace cwcodec {

namespace {

std::map<std::string, Method>& methods() {
    static std::map<std::string, Method> table;
    return table;
}

// Minimal file streams for the tool: it needs nothing of the file system layer
// but reading and writing whole files.
class FileInput : public stream::Input {
public:
    explicit FileInput(std::FILE* file) : file_(file), count_(0) {}
    using stream::Input::read;
    int read() override {
        int c = std::fgetc(file_);
        if (c != EOF) ++count_;
        return c == EOF ? -1 : c;
    }
    uint32_t read(char* buffer, uint32_t count) override {
        auto n = static_cast<uint32_t>(std::fread(buffer, 1, count, file_));
        count_ += n;
        return n;
    }
    uint64_t tell() const override { return count_; }

private:
    std::FILE* file_;
    uint64_t count_;
};

class FileOutput : public stream::Output {
public:
    explicit FileOutput(std::FILE* file) : file_(file), count_(0) {}
    using stream::Output::write;
    void write(char value) override { write(&value, 1); }
    void write(const char* buffer, uint32_t count) override {
        if (buffer == nullptr || count == 0) return;
        if (std::fwrite(buffer, 1, count, file_) != count) throw io::OutputException("cwcodec cannot write its output");
        count_ += count;
    }
    uint64_t tell() const override { return count_; }
    void flush() override { std::fflush(file_); }

private:
    std::FILE* file_;
    uint64_t count_;
};

int usage() {
    std::fprintf(stderr, "usage: cwcodec METHOD -c|-d IN OUT [options]\nmethods:\n");
    for (const auto& [name, method] : methods()) std::fprintf(stderr, "  cwcodec %s\n", method.usage.c_str());
    return 2;
}

} // namespace

void add(Method method) { methods()[method.name] = std::move(method); }

} // namespace cwcodec

int main(int argc, char** argv) {
    using namespace cwcodec;
    if (argc < 5) return usage();
    auto found = methods().find(argv[1]);
    std::string mode = argv[2];
    if (found == methods().end() || (mode != "-c" && mode != "-d")) return usage();
    const Method& method = found->second;
    const auto& run = mode == "-c" ? method.compress : method.expand;
    if (!run) {
        std::fprintf(stderr, "cwcodec: %s does not offer %s\n", method.name.c_str(), mode.c_str());
        return 2;
    }
    std::vector<std::string> options(argv + 5, argv + argc);
    std::FILE* in = std::fopen(argv[3], "rb");
    if (in == nullptr) {
        std::fprintf(stderr, "cwcodec: cannot open %s\n", argv[3]);
        return 1;
    }
    std::FILE* out = std::fopen(argv[4], "wb");
    if (out == nullptr) {
        std::fclose(in);
        std::fprintf(stderr, "cwcodec: cannot create %s\n", argv[4]);
        return 1;
    }
    int status = 0;
    try {
        FileInput fileIn(in);
        FileOutput fileOut(out);
        stream::BufferedInput bufferedIn(fileIn, 65536);
        stream::BufferedOutput bufferedOut(fileOut, 65536);
        run(bufferedIn, bufferedOut, options);
        bufferedOut.flush();
    } catch (const un::exception& e) {
        std::fprintf(stderr, "cwcodec: %s (%s)\n", e.what(), e.kind().c_str());
        status = 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "cwcodec: %s\n", e.what());
        status = 1;
    }
    std::fclose(in);
    if (std::fclose(out) != 0) status = 1;
    return status;
}
