// cratewerk: expands and lists archives, names their formats, and runs the
// plug-in's external functions the way the host does.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "cli/cli.Commands.h"
#include "cli/cli.Console.h"
#include "cli/cli.TerminalUI.h"
#include "fmhost.Host.h"
#include "io/io.Exception.h"
#include "plugin/FMExtern.h"
#include "plugin/FMUtils.h"
#include "plugin/StringTable.h"

namespace {

const char* const kMainHelp =
    "usage: cratewerk <command> [options] [arguments]\n"
    "\n"
    "commands:\n"
    "  expand, x ARCHIVE [DEST]    expand an archive\n"
    "  list, l ARCHIVE             list the items of an archive\n"
    "  identify FILE...            name the format of each file and where it starts\n"
    "  tuck SOURCE... [-o ARCHIVE] create a tkt5 archive\n"
    "  zip SOURCE... [-o ARCHIVE]  create a Zip archive\n"
    "  compress FILE [-b BITS]     compress a file as compress(1) does, to FILE.Z\n"
    "  encode --as bin|hqx|uu FILE... [-o OUT]  encode files as MacBinary, BinHex or uuencode\n"
    "  call FUNCTION 'P1|P2|P3'    run an external function as the host would\n"
    "  version                     print the version\n"
    "\n"
    "Run 'cratewerk <command> --help' for the options of a command.\n"
    "Exit status: 0 success, 1 failure, 2 usage, 130 cancelled.\n";

const std::map<std::string, const char*> kHelp = {
    {"expand",
     "usage: cratewerk expand [options] ARCHIVE [DEST]\n"
     "\n"
     "Expands ARCHIVE into the folder DEST. Without DEST the result goes beside\n"
     "the archive, named after it (or after the archive's top folder); when that\n"
     "name is taken it takes the first free one (name_1, name_2, ...), unless\n"
     "--replace is given. Prints the path where the items went.\n"
     "\n"
     "options:\n"
     "  -p, --password TEXT        password of an encrypted archive (else it is asked for)\n"
     "  --macbinary=never|always|auto   write Macintosh files as MacBinary (default auto)\n"
     "  --text=none|all|text       convert line ends of no items, all, or TEXT items (default none)\n"
     "  --eol=lf|cr|crlf           line end that conversion writes (default crlf)\n"
     "  -q, --quiet                no progress bar\n"
     "  --replace                  without DEST, replace what has the result's name\n"
     "                             (never the archive itself or a folder holding it)\n"
     "  --one-layer                a .tar.gz (.tgz, .tar.bz2, .tar.Z) gives the .tar,\n"
     "                             not its items\n"
     "  --keep-macosx              a Zip made on macOS keeps its __MACOSX folder as\n"
     "                             stored, rather than giving each file its resource\n"
     "                             fork and Finder information\n"
     "  --max-ratio=N              refuse an item that expands to more than N times its\n"
     "                             packed size, and more than 64 KiB (default 1000; 0 never\n"
     "                             refuses; tkt5 items in their own methods are not held to it)\n"
     "\n"
     "Ctrl-C cancels; what was written so far stays.\n"},
    {"list",
     "usage: cratewerk list [--json] [--one-layer] [--keep-macosx] [--max-ratio=N] ARCHIVE\n"
     "\n"
     "Lists the items of ARCHIVE with their sizes, dates and types.\n"
     "  --json          one JSON document for scripts\n"
     "  --one-layer     list a .tar.gz as the .tar it holds\n"
     "  --keep-macosx   list the __MACOSX entries of a Zip made on macOS\n"
     "  --max-ratio=N   as for expand: a compressed stream is expanded to be listed\n"},
    {"compress",
     "usage: cratewerk compress [-b BITS] FILE\n"
     "\n"
     "Compresses FILE to FILE.Z in the format of compress(1), which uncompress\n"
     "expands. What exists is never replaced: a name that is taken gets a number.\n"
     "Prints the path of the result.\n"
     "\n"
     "options:\n"
     "  -b BITS      the widest code, 9 to 16 (default 16)\n"
     "  -q, --quiet  no progress bar\n"},
    {"encode",
     "usage: cratewerk encode --as bin|hqx|uu [options] FILE... [-o OUT]\n"
     "\n"
     "Encodes the files FILE, one after another, into one file: MacBinary (bin),\n"
     "BinHex 4.0 (hqx) or uuencode (uu). MacBinary and BinHex keep each file's\n"
     "resource fork and Finder information, from its named streams (an\n"
     "AppleDouble \"._\" file beside it on Linux and macOS). Without -o the result\n"
     "is the first FILE with \".bin\", \".hqx\" or \".uu\" added. What exists is\n"
     "never replaced: a name that is taken gets a number. The result is written\n"
     "under a temporary name beside it and renamed at the end. Prints its path.\n"
     "\n"
     "options:\n"
     "  --as bin|hqx|uu            the encoding (required)\n"
     "  -o, --output OUT           the file to create\n"
     "  --eol=lf|cr|crlf           line end of the text encodings (default lf)\n"
     "  -q, --quiet                no progress bar\n"},
    {"identify",
     "usage: cratewerk identify FILE...\n"
     "\n"
     "Names the archive format of each FILE, from its bytes, and the offset at\n"
     "which the archive starts.\n"},
    {"tuck",
     "usage: cratewerk tuck [options] SOURCE... [-o ARCHIVE]\n"
     "\n"
     "Creates a tkt5 archive of the files and folders SOURCE, each at the top of\n"
     "the archive. Without -o the archive is the first SOURCE with \".tkt\" added.\n"
     "What exists is never replaced: a name that is taken gets a number\n"
     "(\"name_1.tkt\"). The archive is written under a temporary name beside it\n"
     "and renamed at the end, so a failed or cancelled run leaves nothing behind.\n"
     "Prints the path of the archive.\n"
     "\n"
     "options:\n"
     "  -o, --output ARCHIVE       the archive to create\n"
     "  -p, --password TEXT        encipher every file; \"-p -\" asks without echo\n"
     "  --method=arsenic|isp|stored    compression of every file (default arsenic);\n"
     "                             files below 3 bytes are always stored, and with\n"
     "                             isp a file with a resource fork takes arsenic\n"
     "  -q, --quiet                no progress bar\n"
     "\n"
     "Ctrl-C cancels.\n"},
    {"zip",
     "usage: cratewerk zip [options] SOURCE... [-o ARCHIVE]\n"
     "\n"
     "Creates a Zip archive of the files and folders SOURCE, each at the top of\n"
     "the archive, folders with all they hold. Without -o the archive is the\n"
     "first SOURCE with \".zip\" added. What exists is never replaced: a name\n"
     "that is taken gets a number (\"name_1.zip\"). The archive is written under\n"
     "a temporary name beside it and renamed at the end. Prints its path.\n"
     "\n"
     "options:\n"
     "  -o, --output ARCHIVE       the archive to create\n"
     "  -0 ... -9                  0 stores, 1 is fastest, 9 smallest (default 6)\n"
     "  --best                     the smallest Deflate, slower than -9\n"
     "  -p, --password TEXT        encipher every file (traditional Zip\n"
     "                             encryption); \"-p -\" asks without echo\n"
     "  -r                         accepted for zip's sake; folders are always whole\n"
     "  -q, --quiet                no progress bar\n"
     "\n"
     "Ctrl-C cancels.\n"},
    {"call",
     "usage: cratewerk call FUNCTION ['P1|P2|P3']\n"
     "\n"
     "Runs an external function of the plug-in in this process, through the\n"
     "same emulated host as fmhost, and prints the result text exactly as the\n"
     "host gets it. FUNCTION is a name such as CRwrk-Expand or an index 0 to 7.\n"
     "Choosers ask on the terminal. The exit status is 1 when the result is\n"
     "an error text (\"<code>|<message>|\").\n"},
    {"version", "usage: cratewerk version\n\nPrints the version text.\n"},
};

const std::map<std::string, std::string> kAliases = {{"x", "expand"}, {"l", "list"}};

int usageError(const std::string& message, const std::string& command) {
    cli::complain(message);
    std::fprintf(stderr, "Run 'cratewerk %s--help' for usage.\n", command.empty() ? "" : (command + " ").c_str());
    return cli::kUsage;
}

bool isErrorText(const std::string& text) {
    if (text.size() < 2 || text.back() != '|') return false;
    size_t bar = text.find('|');
    std::string code = text.substr(0, bar);
    if (code.empty()) return text == "||";
    size_t start = code[0] == '-' ? 1 : 0;
    return start < code.size() && code.find_first_not_of("0123456789", start) == std::string::npos;
}

int callFunction(const cli::Arguments& arguments) {
    if (arguments.operands.empty() || arguments.operands.size() > 2)
        return usageError("call needs a function and at most one parameter text", "call");
    int32_t function = fmhost::functionIndex(nullptr, arguments.operands[0]);
    if (function < 0) return usageError("unknown function " + arguments.operands[0], "call");

    // Choosers and dialogs ask on the terminal, unless a script answers them.
    const char* script = std::getenv("CRATEWERK_UI_SCRIPT");
    cli::TerminalUI terminal(!arguments.quiet);
    if (!script || !*script) Crwk::setUI(&terminal);

    fmhost::Host host(FMExternCallProc, nullptr);
    if (host.init() != 4) {
        cli::complain("the plug-in refused the host");
        return cli::kFailure;
    }
    std::string result = host.call(function, arguments.operands.size() > 1 ? arguments.operands[1] : "");
    host.shutdown();
    Crwk::setUI(nullptr);
    std::fwrite(result.data(), 1, result.size(), stdout);
    std::fputc('\n', stdout);
    if (cli::console::interrupted() || result == "-128||") return cli::kCancelled;
    return isErrorText(result) ? cli::kFailure : cli::kSuccess;
}

int version() {
    char text[256];
    GetIndCString(text, Crwk::kPluginList, Crwk::kVersionText);
    std::printf("%s\n", cli::console::displayText(text).c_str());
    return cli::kSuccess;
}

// Reads "--name=value" or "--name value" / "-p value".
bool optionValue(int argc, char** argv, int& i, const std::string& arg, const std::string& name, std::string& value) {
    if (arg.rfind(name + "=", 0) == 0) {
        value = arg.substr(name.size() + 1);
        return true;
    }
    if (arg == name) {
        if (i + 1 >= argc) throw std::runtime_error(name + " needs a value");
        value = argv[++i];
        return true;
    }
    return false;
}

int choose(const std::string& value, const std::map<std::string, int>& words, const std::string& option) {
    auto it = words.find(value);
    if (it == words.end()) throw std::runtime_error("unknown value '" + value + "' for " + option);
    return it->second;
}

} // namespace

namespace cli {

std::string failureText(const un::exception& failure) {
    const auto* output = dynamic_cast<const io::OutputException*>(&failure);
    return output != nullptr && output->diskFull() ? "disk full" : failure.what();
}

void complain(const std::string& message) {
    std::fprintf(stderr, "cratewerk: %s\n", message.c_str());
    std::fflush(stderr);
}

} // namespace cli

int main(int argc, char** argv) {
#ifdef __GLIBC__
    // Every item of an archive takes and gives back buffers of 64 KB; without
    // this glibc hands the top of the heap back to the system after each item
    // and faults it in again for the next.
    mallopt(M_TRIM_THRESHOLD, 16 << 20);
#endif
    if (argc < 2) {
        std::fputs(kMainHelp, stderr);
        return cli::kUsage;
    }
    std::string command = argv[1];
    if (command == "--help" || command == "-h" || command == "help") {
        std::fputs(kMainHelp, stdout);
        return cli::kSuccess;
    }
    if (command == "--version") command = "version";
    if (auto alias = kAliases.find(command); alias != kAliases.end()) command = alias->second;
    if (!kHelp.count(command)) return usageError("unknown command '" + command + "'", "");

    cli::Arguments arguments;
    // Text written to a file here ends its lines as this system's tools do.
    if (command == "encode") arguments.eol = 1;
    try {
        bool operandsOnly = false;
        for (int i = 2; i < argc; ++i) {
            std::string arg = argv[i];
            std::string value;
            if (operandsOnly || arg.empty() || arg[0] != '-' || arg == "-") {
                arguments.operands.push_back(arg);
            } else if (arg == "--") {
                operandsOnly = true;
            } else if (arg == "--help" || arg == "-h") {
                std::fputs(kHelp.at(command), stdout);
                return cli::kSuccess;
            } else if (command == "expand" && (optionValue(argc, argv, i, arg, "--password", value) ||
                                               optionValue(argc, argv, i, arg, "-p", value))) {
                arguments.password = value;
                arguments.havePassword = true;
            } else if (command == "expand" && optionValue(argc, argv, i, arg, "--macbinary", value)) {
                arguments.macBinary = choose(value, {{"never", 0}, {"always", 1}, {"auto", 2}}, "--macbinary");
            } else if (command == "expand" && optionValue(argc, argv, i, arg, "--text", value)) {
                arguments.text = choose(value, {{"none", 0}, {"all", 1}, {"text", 2}}, "--text");
            } else if ((command == "expand" || command == "encode") &&
                       optionValue(argc, argv, i, arg, "--eol", value)) {
                arguments.eol = choose(value, {{"lf", 1}, {"cr", 2}, {"crlf", 3}}, "--eol");
            } else if (command == "zip" && arg.size() == 2 && arg[1] >= '0' && arg[1] <= '9') {
                arguments.level = arg[1] - '0';
            } else if (command == "zip" && arg == "--best") {
                arguments.level = 12;
            } else if (command == "zip" && arg == "-r") {
            } else if ((command == "tuck" || command == "zip") &&
                       (optionValue(argc, argv, i, arg, "--password", value) ||
                                             optionValue(argc, argv, i, arg, "-p", value))) {
                arguments.password = value;
                arguments.havePassword = true;
            } else if (command == "encode" && optionValue(argc, argv, i, arg, "--as", value)) {
                arguments.encoding = value;
            } else if ((command == "tuck" || command == "zip" || command == "encode") &&
                       (optionValue(argc, argv, i, arg, "--output", value) ||
                                             optionValue(argc, argv, i, arg, "-o", value))) {
                arguments.output = value;
            } else if (command == "tuck" && optionValue(argc, argv, i, arg, "--method", value)) {
                arguments.method = choose(value, {{"arsenic", 15}, {"isp", 13}, {"stored", 0}}, "--method");
            } else if ((command == "expand" || command == "list") && arg == "--one-layer") {
                arguments.oneLayer = true;
            } else if ((command == "expand" || command == "list") && arg == "--keep-macosx") {
                arguments.keepMacOSX = true;
            } else if ((command == "expand" || command == "list") &&
                       optionValue(argc, argv, i, arg, "--max-ratio", value)) {
                if (value.empty() || value.size() > 9 || value.find_first_not_of("0123456789") != std::string::npos)
                    throw std::runtime_error("--max-ratio takes a whole number, 0 for no limit");
                arguments.maxRatio = std::atoll(value.c_str());
            } else if (command == "compress" && optionValue(argc, argv, i, arg, "-b", value)) {
                const int bits = std::atoi(value.c_str());
                if (value.find_first_not_of("0123456789") != std::string::npos || bits < 9 || bits > 16)
                    throw std::runtime_error("-b takes 9 to 16");
                arguments.bits = bits;
            } else if (command == "expand" && arg == "--replace") {
                arguments.replace = true;
            } else if ((command == "expand" || command == "call" || command == "tuck" || command == "zip" ||
                        command == "compress" || command == "encode") &&
                       (arg == "-q" || arg == "--quiet")) {
                arguments.quiet = true;
            } else if (command == "list" && arg == "--json") {
                arguments.json = true;
            } else if (command == "call" && arguments.operands.size() == 1) {
                arguments.operands.push_back(arg);  // a parameter text may start with "-"
            } else {
                return usageError("unknown option '" + arg + "'", command);
            }
        }
    } catch (const std::exception& e) {
        return usageError(e.what(), command);
    }

    if (command == "version") {
        if (!arguments.operands.empty()) return usageError("version takes no arguments", command);
        return version();
    }
    if (command == "call") return callFunction(arguments);
    if (command == "expand") {
        if (arguments.operands.empty() || arguments.operands.size() > 2)
            return usageError("expand needs an archive and at most one destination", command);
        return cli::expand(arguments);
    }
    if (command == "list") {
        if (arguments.operands.size() != 1) return usageError("list needs one archive", command);
        return cli::list(arguments);
    }
    if (command == "identify") {
        if (arguments.operands.empty()) return usageError("identify needs at least one file", command);
        return cli::identify(arguments);
    }
    if (command == "tuck") {
        if (arguments.operands.empty()) return usageError("tuck needs at least one source", command);
        return cli::tuck(arguments);
    }
    if (command == "compress") {
        if (arguments.operands.size() != 1) return usageError("compress needs one file", command);
        return cli::compress(arguments);
    }
    if (command == "encode") {
        if (arguments.encoding != "bin" && arguments.encoding != "hqx" && arguments.encoding != "uu")
            return usageError("encode needs --as bin, hqx or uu", command);
        if (arguments.operands.empty()) return usageError("encode needs at least one file", command);
        return cli::encode(arguments);
    }
    if (arguments.operands.empty()) return usageError("zip needs at least one source", command);
    return cli::zip(arguments);
}
