#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "fmhost.Host.h"
#include "support/scratch.h"

namespace plugintest {

// A scratch folder below the system's temporary folder, removed afterwards.
using TempDir = test::Scratch;

// A relative path written with "/" in the platform's form.
inline std::string native(std::string path) {
#if defined(_WIN32)
    for (char& c : path)
        if (c == '/') c = '\\';
#endif
    return path;
}

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

inline std::string readFile(const std::string& path) { return test::Scratch::read(path); }

inline std::vector<std::string> readLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

inline void setEnv(const char* name, const std::string& value) {
#if defined(_WIN32)
    _putenv_s(name, value.c_str());
#else
    if (value.empty())
        unsetenv(name);
    else
        setenv(name, value.c_str(), 1);
#endif
}

// A fresh copy of the plug-in library, loaded and initialised by an emulated
// host; `script` lines answer its questions and the questions are recorded.
class LoadedPlugin {
public:
    explicit LoadedPlugin(const std::vector<std::string>& script = {}, int16_t hostVersion = 11) {
        writeFile(dir_ / "script", join(script));
        setEnv("CRATEWERK_UI_SCRIPT", dir_ / "script");
        setEnv("CRATEWERK_UI_LOG", dir_ / "log");
        library_ = std::make_unique<fmhost::Library>(CRATEWERK_PLUGIN_LIBRARY, true);
        host_ = std::make_unique<fmhost::Host>(library_->entry(), library_->instance());
        host_->hostVersion(hostVersion);
        initAnswer_ = host_->init();
    }
    ~LoadedPlugin() {
        host_.reset();
        library_.reset();
        setEnv("CRATEWERK_UI_SCRIPT", "");
        setEnv("CRATEWERK_UI_LOG", "");
    }

    std::string call(int32_t function, const std::string& parameters) { return host_->call(function, parameters); }
    fmhost::Host& host() { return *host_; }
    int32_t initAnswer() const { return initAnswer_; }
    // The questions asked so far: "ChooseFile: <prompt>", "PasswordDialog", ...
    std::vector<std::string> asked() const {
        std::vector<std::string> questions;
        for (const std::string& line : readLines(dir_ / "log"))
            if (line.rfind("Choose", 0) == 0 || line == "PasswordDialog") questions.push_back(line);
        return questions;
    }
    // Everything the plug-in told its UI, progress included.
    std::vector<std::string> log() const { return readLines(dir_ / "log"); }

private:
    static std::string join(const std::vector<std::string>& lines) {
        std::string s;
        for (auto& l : lines) s += l + "\n";
        return s;
    }
    TempDir dir_;
    std::unique_ptr<fmhost::Library> library_;
    std::unique_ptr<fmhost::Host> host_;
    int32_t initAnswer_ = 0;
};

} // namespace plugintest
