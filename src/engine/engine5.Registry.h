#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace format {
class Classifier;
}
namespace tuckett5 {
class Reader;
class Writer;
}  // namespace tuckett5

namespace engine5 {

class FormatReader;
class FormatWriter;

// What the engine knows of one archive or encoding format. The registry lists
// one of these per format that can be classified, in the order in which their
// classifiers are added; it is the only place that names concrete formats.
struct FormatDescriptor {
    using ClassifierFactory = std::unique_ptr<format::Classifier> (*)();
    using ReaderFactory = std::unique_ptr<FormatReader> (*)(uint32_t position, tuckett5::Reader& reader);
    using WriterFactory = std::unique_ptr<FormatWriter> (*)(tuckett5::Writer& writer);

    int number;
    // The suffix of its files, with the dot; empty where it has none of its own.
    const char* suffix;
    // Holds many items (true), or one stream of data (false).
    bool container;
    ClassifierFactory makeClassifier;
    // Null while the format has no reader, or no writer, in this build.
    ReaderFactory makeReader;
    WriterFactory makeWriter;

    // The names of the format table.
    const char* shortName() const;
    const char* displayName() const;
};

// Every registered format, in the order of classification.
const std::vector<FormatDescriptor>& formats();

// The descriptor of a format number, or null for a number with none.
const FormatDescriptor* findFormat(int number);

}  // namespace engine5
