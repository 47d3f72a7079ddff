#include "bench.Corpus.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace bench {

const std::vector<CorpusFile>& corpus() {
    static const std::vector<CorpusFile> files = [] {
        const char* env = std::getenv("CRATEWERK_CORPUS");
        std::string dir = env ? env : "build/corpus";
        std::vector<CorpusFile> result;
        for (const char* name : {"text", "code", "records"}) {
            std::ifstream in(dir + "/" + name, std::ios::binary);
            if (!in) {
                std::fprintf(stderr, "bench: missing corpus file %s/%s (run bench/corpus.sh)\n", dir.c_str(), name);
                std::exit(1);
            }
            result.push_back({name, std::vector<char>(std::istreambuf_iterator<char>(in), {})});
        }
        return result;
    }();
    return files;
}

const std::vector<char>& corpusConcatenated() {
    static const std::vector<char> all = [] {
        std::vector<char> result;
        for (const auto& file : corpus()) result.insert(result.end(), file.data.begin(), file.data.end());
        return result;
    }();
    return all;
}

} // namespace bench
