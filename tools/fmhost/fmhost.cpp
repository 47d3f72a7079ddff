// fmhost: loads a plug-in library the way the host does and calls it.
//
//   fmhost [options] PLUGIN FUNCTION ['P1|P2|P3' [FUNCTION 'P1|P2|P3']...]
//   fmhost [options] PLUGIN --init
//   fmhost [options] PLUGIN --selector N
//
// Each function's result text is printed exactly, followed by a newline.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fmhost.Host.h"

namespace {

const char* const kUsage =
    "usage: fmhost [options] PLUGIN FUNCTION ['P1|P2|P3' [FUNCTION 'P1|P2|P3']...]\n"
    "       fmhost [options] PLUGIN --init\n"
    "       fmhost [options] PLUGIN --selector N\n"
    "\n"
    "Loads PLUGIN, initialises it, calls each external FUNCTION (a name such as\n"
    "CRwrk-Expand or an index) with its parameter text, and prints each result.\n"
    "\n"
    "options:\n"
    "  --host-version N      host interface version sent on init (default 11)\n"
    "  --memory-error-at N   the Nth handle call of the run fails with a memory error\n"
    "  --ui-script FILE      answers for choosers and dialogs (sets CRATEWERK_UI_SCRIPT)\n"
    "  --ui-log FILE         where the questions asked are recorded (sets CRATEWERK_UI_LOG)\n"
    "  --help                this text\n";

void setEnvironment(const char* name, const char* value) {
#if defined(_WIN32)
    _putenv_s(name, value);
#else
    setenv(name, value, 1);
#endif
}

int usage(const char* message) {
    if (message) std::fprintf(stderr, "fmhost: %s\n", message);
    std::fputs(kUsage, stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    int16_t version = 11;
    uint32_t failAt = 0;
    std::vector<std::string> rest;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](const char*) -> const char* { return i + 1 < argc ? argv[++i] : nullptr; };
        if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (a == "--host-version") {
            const char* v = value("N");
            if (!v) return usage("--host-version needs a number");
            version = static_cast<int16_t>(std::atoi(v));
        } else if (a == "--memory-error-at") {
            const char* v = value("N");
            if (!v) return usage("--memory-error-at needs a number");
            failAt = static_cast<uint32_t>(std::strtoul(v, nullptr, 10));
        } else if (a == "--ui-script") {
            const char* v = value("FILE");
            if (!v) return usage("--ui-script needs a file");
            setEnvironment("CRATEWERK_UI_SCRIPT", v);
        } else if (a == "--ui-log") {
            const char* v = value("FILE");
            if (!v) return usage("--ui-log needs a file");
            setEnvironment("CRATEWERK_UI_LOG", v);
        } else {
            rest.push_back(a);
        }
    }
    if (rest.size() < 2) return usage("a plug-in and a function are needed");

    try {
        fmhost::Library library(rest[0]);
        fmhost::Host host(library.entry(), library.instance());
        host.hostVersion(version);
        host.failAtHandleCall(failAt);

        int32_t answer = host.init();
        if (rest[1] == "--init") {
            std::printf("%d\n", answer);
            return 0;
        }
        if (answer != 4) {
            std::fprintf(stderr, "fmhost: the plug-in refused host version %d (init answered %d)\n", version, answer);
            return 1;
        }
        if (rest[1] == "--selector") {
            if (rest.size() < 3) return usage("--selector needs a number");
            auto outcome = host.raw(static_cast<uint8_t>(std::atoi(rest[2].c_str())), 0, "");
            std::printf("result field %s, result text \"%s\", %u handle calls\n",
                        outcome.resultField ? "changed" : "unchanged", outcome.resultText.c_str(), outcome.handleCalls);
            host.shutdown();
            return 0;
        }
        for (size_t i = 1; i < rest.size();) {
            int32_t function = fmhost::functionIndex(&library, rest[i]);
            if (function < 0) return usage(("unknown function " + rest[i]).c_str());
            std::string parameters = i + 1 < rest.size() ? rest[i + 1] : std::string();
            i += 2;
            std::string result = host.call(function, parameters);
            std::fwrite(result.data(), 1, result.size(), stdout);
            std::fputc('\n', stdout);
            std::fflush(stdout);
        }
        host.idle(0);
        host.shutdown();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "fmhost: %s\n", e.what());
        return 1;
    }
    return 0;
}
