#pragma once

#include <string>
#include <vector>

namespace bench {

// One file of the benchmark corpus, read whole into memory.
struct CorpusFile {
    std::string name;
    std::vector<char> data;
};

// The corpus from $CRATEWERK_CORPUS, or build/corpus under the working folder.
const std::vector<CorpusFile>& corpus();

// All corpus files one after the other, for codecs measured on one stream.
const std::vector<char>& corpusConcatenated();

} // namespace bench
