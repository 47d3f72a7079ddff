// The commands that read archives: expand, list and identify.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "cli/cli.Commands.h"
#include "cli/cli.Console.h"
#include "cli/cli.TerminalUI.h"
#include "engine/engine5.FormatReader.h"
#include "engine/engine5.Registry.h"
#include "engine/t5.Reader.h"
#include "format/format.Number.h"
#include "plugin/FMUtils.h"
#include "plugin/FSObject_Win.h"
#include "plugin/StringTable.h"
#include "plugin/TKTReader.h"

namespace cli {

namespace {

// Paths are made absolute first: the destination beside an archive is found
// from the archive's parent folder.
std::string absolute(const std::string& path) {
    std::error_code error;
    std::filesystem::path full = std::filesystem::absolute(path, error);
    if (error) return path;
    std::string text = full.lexically_normal().string();
    while (text.size() > 1 && (text.back() == '/' || text.back() == '\\')) text.pop_back();
    return text;
}

// Installs the terminal for the length of one command, unless a script answers.
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

std::string formatName(int format) {
    std::string shown = format::name(format + 32);
    std::string brief = format::name(format);
    if (shown.empty()) return brief;
    return shown + " (" + brief + ")";
}

std::string isoTime(uint32_t seconds) {
    std::time_t t = static_cast<std::time_t>(seconds);
    std::tm parts{};
#if defined(_WIN32)
    gmtime_s(&parts, &t);
#else
    gmtime_r(&t, &parts);
#endif
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
    return text;
}

// A name as a terminal shows it safely: control characters as \\xHH.
std::string escaped(const std::string& name) {
    std::string shown;
    for (unsigned char c : name) {
        if (c < 0x20 || c == 0x7F || c == '\\') {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\x%02x", c);
            shown += c == '\\' ? std::string("\\\\") : std::string(esc);
        } else {
            shown += static_cast<char>(c);
        }
    }
    return shown;
}

std::string jsonString(const std::string& s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\u%04x", c);
            out += esc;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

// Collects the items as the scan describes them.
class Lister : public tuckett5::Reader,
               public tuckett5::event::FileInfoListener,
               public tuckett5::event::FolderInfoListener {
public:
    struct Item {
        bool folder;
        std::string name;
        tuckett5::FileInfo file;
    };

    Lister() {
        add(static_cast<tuckett5::event::FileInfoListener*>(this));
        add(static_cast<tuckett5::event::FolderInfoListener*>(this));
    }
    bool fileInfoEvent() override {
        items.push_back({false, fileInfo.name, fileInfo});
        return true;
    }
    bool folderInfoEvent() override {
        items.push_back({true, folderInfo.name, {}});
        return true;
    }

    std::vector<Item> items;
};

} // namespace

// Says why ARCHIVE cannot be read at all, in words a user can act on, or ""
// when it looks readable: a missing file, a file that is no archive, a format
// without a reader.
std::string unreadable(const std::string& operand, const std::string& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return operand + ": No such file or directory";
    if (std::filesystem::is_directory(path, error)) return operand + ": is a folder, not an archive";
    tuckett5::Reader probe;
    try {
        probe.open(path);
        probe.classify();
    } catch (const un::exception& e) {
        return operand + ": " + e.what();
    }
    const int format = probe.archiveInfo.format;
    probe.close();
    if (format == 0) return operand + ": not an archive";
    if (!engine5::findFormat(format) || !engine5::findFormat(format)->makeReader)
        return operand + ": " + formatName(format) + " archives are not supported";
    return std::string();
}

// Says how to lift the guard against decompression bombs once it refused.
void hintAtRatio(const tuckett5::Reader& reader, const std::string& failure, bool& hinted) {
    if (hinted || reader.maxRatio() == 0 || failure.find(engine5::ratioRefusal(reader.maxRatio())) == std::string::npos)
        return;
    complain("--max-ratio=0 expands what the guard refused (--max-ratio=N allows N:1)");
    hinted = true;
}

// Names each item that could not be expanded, with the reason.
void reportItemFailures(const std::string& operand, const tuckett5::Reader& reader) {
    for (const tuckett5::ItemFailure& warning : reader.itemWarnings)
        complain(operand + ": warning: " + warning.reason + ": " + escaped(warning.name));
    bool hinted = false;
    for (const tuckett5::ItemFailure& failure : reader.itemFailures) {
        complain(operand + ": " + failure.reason + ": " + escaped(failure.name));
        hintAtRatio(reader, failure.reason, hinted);
    }
}

int expand(const Arguments& arguments) {
    if (std::string why = unreadable(arguments.operands[0], absolute(arguments.operands[0])); !why.empty()) {
        complain(why);
        return kFailure;
    }
    TerminalScope terminal(!arguments.quiet);
    FSObject source(absolute(arguments.operands[0]).c_str());
    FSObject destination(arguments.operands.size() > 1 ? absolute(arguments.operands[1]).c_str() : nullptr);
    bool destinationGiven = destination.pathLength != 0;

    TKTReader reader(true);
    // The tool goes on past an item that cannot be expanded, and names it.
    reader.continueAfterItemFailure(true);
    // The tool never deletes what is beside the archive unless told to.
    reader.replaceExisting = arguments.replace;
    reader.macBinaryOutput(arguments.macBinary);
    reader.firstLayerOnly(arguments.oneLayer);
    reader.keepAppleDoubleEntries(arguments.keepMacOSX);
    if (arguments.maxRatio >= 0) reader.maxRatio(static_cast<uint32_t>(arguments.maxRatio));
    reader.textConversion(arguments.text);
    reader.textLineEnding(arguments.eol);
    int status = kSuccess;
    try {
        reader.SetSourceFSO(&source);
        reader.SetDestinationFSO(&destination);
        reader.sropen();
        if (reader.archiveInfo.encrypted) {
            std::string typed = arguments.password;
            if (!arguments.havePassword && !Crwk::ui().password(typed)) throw tuckett5::exception::Evacuation();
            if (typed.empty()) {
                char text[256];
                GetIndCString(text, Crwk::kErrorList, 8);
                complain(text);
                reader.close();
                return kFailure;
            }
            reader.password = typed;
            std::fill(typed.begin(), typed.end(), '\0');
        }
        reader.decode();
        // Where the items really went: a taken name makes the engine pick a free one.
        std::string result = destination.pathString;
        if (!reader.archiveInfo.rootName.empty() && !reader.topPath.empty())
            result = reader.topPath;
        else if (destinationGiven && !reader.archiveInfo.rootName.empty() && reader.itemFailures.empty())
            result += FSObject::kSeparator + reader.archiveInfo.rootName.substr(0, reader.archiveInfo.rootName.find('/'));
        std::printf("%s\n", result.c_str());
        reportItemFailures(arguments.operands[0], reader);
        if (!reader.itemFailures.empty()) status = kFailure;
    } catch (const tuckett5::exception::Evacuation&) {
        reader.progressSizeEndEvent();
        if (reader.canceled || console::interrupted()) {
            complain("cancelled");
            status = kCancelled;
        } else {
            complain(reader.archiveInfo.encrypted ? "no password given" : "the expansion was stopped");
            status = kFailure;
        }
    } catch (const un::exception& e) {
        reader.progressSizeEndEvent();
        reportItemFailures(arguments.operands[0], reader);
        complain(arguments.operands[0] + ": " + failureText(e));
        bool hinted = false;
        hintAtRatio(reader, e.what(), hinted);
        status = kFailure;
    }
    reader.close();
    return status;
}

int list(const Arguments& arguments) {
    std::string path = absolute(arguments.operands[0]);
    if (std::string why = unreadable(arguments.operands[0], path); !why.empty()) {
        complain(why);
        return kFailure;
    }
    Lister lister;
    lister.firstLayerOnly(arguments.oneLayer);
    lister.keepAppleDoubleEntries(arguments.keepMacOSX);
    if (arguments.maxRatio >= 0) lister.maxRatio(static_cast<uint32_t>(arguments.maxRatio));
    try {
        lister.open(path);
        lister.scan();
    } catch (const un::exception& e) {
        lister.close();
        complain(e.what());
        bool hinted = false;
        hintAtRatio(lister, e.what(), hinted);
        return kFailure;
    }
    lister.close();

    const tuckett5::ArchiveInfo& info = lister.archiveInfo;
    if (arguments.json) {
        std::printf("{\"archive\": %s, \"format\": %s, \"position\": %u, \"encrypted\": %s, \"items\": [",
                    jsonString(path).c_str(), jsonString(format::name(info.format)).c_str(), info.position,
                    info.encrypted ? "true" : "false");
        const char* separator = "";
        for (const auto& item : lister.items) {
            const bool link = !item.folder && item.file.mode.isSet() && (item.file.mode() & 0170000) == 0120000;
            std::printf("%s\n  {\"name\": %s, \"type\": \"%s\"", separator, jsonString(item.name).c_str(),
                        item.folder          ? "folder"
                        : item.file.hardLink ? "hardlink"
                        : link               ? "link"
                                             : "file");
            if (!item.folder) {
                const tuckett5::FileInfo& f = item.file;
                if (f.expandedSize.isSet()) std::printf(", \"size\": %u", f.expandedSize());
                if (f.compressedSize.isSet()) std::printf(", \"compressed\": %u", f.compressedSize());
                if (f.modificationTime.isSet())
                    std::printf(", \"modified\": %s", jsonString(isoTime(f.modificationTime())).c_str());
                if (f.type.isSet()) std::printf(", \"macType\": %s", jsonString(f.type().stringValue()).c_str());
                if (f.creator.isSet()) std::printf(", \"creator\": %s", jsonString(f.creator().stringValue()).c_str());
                std::printf(", \"encrypted\": %s", f.encrypted ? "true" : "false");
                if (!f.method.empty()) std::printf(", \"method\": %s", jsonString(f.method).c_str());
                if (f.crc.isSet()) std::printf(", \"crc\": \"%08x\"", f.crc());
                if (f.mode.isSet()) std::printf(", \"mode\": \"%o\"", f.mode());
                if (!f.linkTarget.empty()) std::printf(", \"linkTarget\": %s", jsonString(f.linkTarget).c_str());
            }
            std::printf("}");
            separator = ",";
        }
        std::printf("\n], \"comment\": %s}\n", jsonString(info.comment).c_str());
        return kSuccess;
    }

    std::printf("%s: %s%s\n", path.c_str(), formatName(info.format).c_str(), info.encrypted ? ", encrypted" : "");
    if (!info.comment.empty()) std::printf("comment: %s\n", escaped(info.comment).c_str());
    std::printf("%12s  %12s  %-16s  %-9s  %s\n", "size", "packed", "modified", "type", "name");
    uint64_t total = 0;
    size_t files = 0;
    for (const auto& item : lister.items) {
        if (item.folder) {
            std::printf("%12s  %12s  %-16s  %-9s  %s/\n", "", "", "", "folder", escaped(item.name).c_str());
            continue;
        }
        const tuckett5::FileInfo& f = item.file;
        std::string size = f.expandedSize.isSet() ? std::to_string(f.expandedSize()) : "";
        std::string packed = f.compressedSize.isSet() ? std::to_string(f.compressedSize()) : "";
        std::string when = f.modificationTime.isSet() ? isoTime(f.modificationTime()) : "";
        const bool link = f.mode.isSet() && (f.mode() & 0170000) == 0120000;
        std::string type = f.hardLink ? "hardlink"
                           : link     ? "link"
                           : f.type.isSet()
                               ? f.type().stringValue() + "/" + (f.creator.isSet() ? f.creator().stringValue() : "????")
                               : "file";
        // A link names its target as tar -tv does.
        std::string target;
        if (!f.linkTarget.empty()) target = (f.hardLink ? " link to " : " -> ") + escaped(f.linkTarget);
        std::printf("%12s  %12s  %-16s  %-9s  %s%s%s\n", size.c_str(), packed.c_str(), when.c_str(), type.c_str(),
                    escaped(item.name).c_str(), target.c_str(), f.encrypted ? " (encrypted)" : "");
        total += f.expandedSize.isSet() ? f.expandedSize() : 0;
        ++files;
    }
    std::printf("%12llu  %zu file%s, %zu item%s\n", static_cast<unsigned long long>(total), files, files == 1 ? "" : "s",
                lister.items.size(), lister.items.size() == 1 ? "" : "s");
    return kSuccess;
}

int identify(const Arguments& arguments) {
    int status = kSuccess;
    for (const std::string& file : arguments.operands) {
        tuckett5::Reader reader;
        try {
            reader.open(file);
            reader.classify();
        } catch (const un::exception& e) {
            complain(e.what());
            status = kFailure;
            continue;
        }
        int format = reader.archiveInfo.format;
        if (reader.error == 0 && format != 0)
            std::printf("%s: %s at offset %u\n", file.c_str(), formatName(format).c_str(), reader.archiveInfo.position);
        else {
            std::printf("%s: not a known archive\n", file.c_str());
            status = kFailure;
        }
        reader.close();
    }
    return status;
}

} // namespace cli
