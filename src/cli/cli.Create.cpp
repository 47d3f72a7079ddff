// The commands that create archives and encodings: tuck, zip, compress and encode.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <string>

#include "cli/cli.Commands.h"
#include "cli/cli.Console.h"
#include "cli/cli.TerminalUI.h"
#include "engine/engine5.FormatWriter.h"
#include "engine/engine5.Registry.h"
#include "format/format.Number.h"
#include "format/tkt5/tkt5.TypeInfo.h"
#include "io/io.Path.h"
#include "io/io.ntfs.Rsrc.h"
#include "plugin/FSObject_Win.h"
#include "plugin/TKTWriter.h"

namespace cli {

namespace {

constexpr uint32_t uniqueLimit = 999;

std::string absolute(const std::string& path) {
    std::string text = path;
    while (text.size() > 1 && (text.back() == '/' || text.back() == '\\')) text.pop_back();
    io::Path::makeAbsolute(text);
    return text;
}

// The plug-in's writer with two duties of the tool: a file with a resource
// fork is stored with Arsenic when ISP is asked for, since an ISP data fork
// would overwrite the resource fork stored before it; and the person hears of
// it, and of a resource fork under a password, whose record gets no key and
// so cannot be expanded again.
class ToolWriter : public TKTWriter {
public:
    explicit ToolWriter(bool progress) : TKTWriter(progress) {}

    bool fileEncodeBeginEvent() override {
        chosen_ = compression();
        if (io::ntfs::Rsrc::hasInfo(fileInfo.name)) {
            if (chosen_ == format::tkt5::ForkInfo::ispMethod) {
                complain("warning: " + fileInfo.name + " has a resource fork; it is stored with Arsenic");
                compression(format::tkt5::ForkInfo::arsenicMethod);
            }
            if (!password.value().empty())
                complain("warning: " + fileInfo.name +
                         " has a resource fork; under a password it cannot be expanded again");
        }
        return TKTWriter::fileEncodeBeginEvent();
    }
    void fileEncodeEndEvent() override {
        compression(chosen_);
        TKTWriter::fileEncodeEndEvent();
    }

private:
    int32_t chosen_ = defaultCompression;
};

// Installs the terminal for the length of the command, unless a script answers.
class TerminalScope {
public:
    explicit TerminalScope(bool progress) : terminal_(progress) {
        const char* script = std::getenv("CRATEWERK_UI_SCRIPT");
        if (!script || !*script) Crwk::setUI(&terminal_);
    }
    ~TerminalScope() { Crwk::setUI(nullptr); }

private:
    TerminalUI terminal_;
};

// Writes the archive of the sources through `writer` in `format`: under a
// temporary name beside the final one, renamed at the end, so that a failed
// or cancelled run leaves nothing behind and what exists is never replaced.
int create(const Arguments& arguments, TKTWriter& writer, int format) {
    TerminalScope terminal(!arguments.quiet);
    std::list<std::string> sources;
    for (const std::string& operand : arguments.operands) {
        std::string source = absolute(operand);
        if (!io::Path::exists(source)) {
            complain("cannot read " + operand);
            return kFailure;
        }
        sources.push_back(source);
    }

    // The archive's final name; what exists already is never replaced.
    std::string target = arguments.output.empty() ? std::string() : absolute(arguments.output);
    engine5::FormatWriter::generateArchiveName(target, sources.front(), TKTWriter::ArchiveSuffix(format));
    io::Path::makeUnique(target, uniqueLimit);
    io::PathSplitter split(target);
    std::string temporary = io::CompositePath::join(split.folder(), "." + split.name(), split.extension() + ".part");
    io::Path::makeUnique(temporary, uniqueLimit);

    std::string password = arguments.password;
    if (arguments.havePassword && password == "-") {
        if (!console::readHidden("Password: ", password)) {
            complain(console::interrupted() ? "cancelled" : "no password given");
            return console::interrupted() ? kCancelled : kFailure;
        }
    }

    FSObject source(sources.front().c_str());
    writer.SetSourceFSO(&source);
    writer.archiveInfo.format = format;
    writer.archiveInfo.path = temporary;
    if (!password.empty()) writer.password = password;
    std::fill(password.begin(), password.end(), '\0');

    int status = kSuccess;
    try {
        writer.create(sources);
        std::error_code error;
        std::filesystem::rename(writer.archiveInfo.path, target, error);
        if (error) throw tuckett5::exception::Output("cannot rename " + writer.archiveInfo.path + " to " + target);
        std::printf("%s\n", target.c_str());
    } catch (const tuckett5::exception::Evacuation&) {
        writer.progressSizeEndEvent();
        complain(writer.canceled || console::interrupted() ? "cancelled" : "the creation was stopped");
        status = writer.canceled || console::interrupted() ? kCancelled : kFailure;
    } catch (const un::exception& e) {
        writer.progressSizeEndEvent();
        complain(failureText(e));
        status = kFailure;
    }
    if (status != kSuccess) {
        // Only the temporary file is ours to delete; nothing has the final name.
        std::error_code ignored;
        if (!writer.archiveInfo.path.empty() && writer.archiveInfo.path != target)
            std::filesystem::remove(writer.archiveInfo.path, ignored);
    }
    return status;
}

}  // namespace

int tuck(const Arguments& arguments) {
    ToolWriter writer(true);
    writer.compression(arguments.method);
    return create(arguments, writer, format::number::tkt5);
}

int zip(const Arguments& arguments) {
    TKTWriter writer(true);
    writer.compression(arguments.level);
    return create(arguments, writer, format::number::zip);
}

int compress(const Arguments& arguments) {
    const std::string source = absolute(arguments.operands.front());
    if (!io::Path::exists(source) || io::Path::directory(source)) {
        complain("cannot read " + arguments.operands.front() + " as a file");
        return kFailure;
    }
    TKTWriter writer(!arguments.quiet);
    writer.compression(arguments.bits);
    return create(arguments, writer, format::number::compress);
}

int encode(const Arguments& arguments) {
    // The encoding's writer is the one the engine has registered under that name.
    const engine5::FormatDescriptor* found = nullptr;
    for (const engine5::FormatDescriptor& format : engine5::formats())
        if (arguments.encoding == format.shortName()) found = &format;
    if (found == nullptr || found->makeWriter == nullptr) {
        complain("this build cannot encode as " + arguments.encoding);
        return kFailure;
    }
    for (const std::string& operand : arguments.operands)
        if (io::Path::directory(absolute(operand))) {
            complain("cannot encode " + operand + ": it is a folder");
            return kFailure;
        }
    TKTWriter writer(!arguments.quiet);
    writer.textLineEnding(arguments.eol);
    return create(arguments, writer, found->number);
}

}  // namespace cli
