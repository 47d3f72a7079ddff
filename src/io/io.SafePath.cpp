#include "io/io.SafePath.h"

#include <cctype>

#include "io/io.Exception.h"
#include "io/io.Path.h"

namespace io {

namespace {

bool onlyDots(const std::string& text) { return text.find_first_not_of('.') == std::string::npos; }

#ifdef _WIN32
bool deviceName(const std::string& component) {
    std::string base = component.substr(0, component.find('.'));
    while (!base.empty() && base.back() == ' ') base.pop_back();
    for (char& c : base) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (base == "CON" || base == "PRN" || base == "AUX" || base == "NUL" || base == "CONIN$" || base == "CONOUT$")
        return true;
    // The digit may be a superscript one, two or three of the ANSI code page.
    const unsigned char digit = base.size() == 4 ? static_cast<unsigned char>(base[3]) : 0;
    return (base.compare(0, 3, "COM") == 0 || base.compare(0, 3, "LPT") == 0) &&
           ((digit >= '1' && digit <= '9') || digit == 0xB9 || digit == 0xB2 || digit == 0xB3);
}
#endif

// Cuts a component to the longest allowed length, keeping a short extension,
// and never in the middle of a UTF-8 sequence.
void limitLength(std::string& component) {
    if (component.size() <= Path::maxComponent) return;
    std::string extension;
    std::string::size_type dot = component.rfind('.');
    if (dot != std::string::npos && dot > 0 && component.size() - dot <= 32) extension = component.substr(dot);
    size_t keep = Path::maxComponent - extension.size();
    while (keep > 0 && (static_cast<unsigned char>(component[keep]) & 0xC0) == 0x80) --keep;
    component = component.substr(0, keep) + extension;
}

std::string clean(const std::string& component, bool first) {
    size_t i = 0;
    if (first && component.size() >= 2 && component[1] == ':' &&
        std::isalpha(static_cast<unsigned char>(component[0])))
        i = 2;
    std::string kept;
    kept.reserve(component.size() - i);
    for (; i < component.size(); ++i) {
        if (size_t length = Path::multiByteCharacter(component, i)) {
            kept.append(component, i, length);
            i += length - 1;
        } else if (Path::pathChar(component[i])) {
            kept += component[i];
        }
    }
#ifdef _WIN32
    // Neither can be part of a name here; a backslash that reaches this point was
    // a character of the stored name, never a separator.
    for (char& c : kept)
        if (c == ':' || c == '\\') c = '_';
    while (!kept.empty() && (kept.back() == '.' || kept.back() == ' ')) kept.pop_back();
    if (!kept.empty() && deviceName(kept)) kept.insert(kept.begin(), '_');
#endif
    if (onlyDots(kept)) return std::string();
    limitLength(kept);
    return kept;
}

} // namespace

std::vector<std::string> safeComponents(const std::string& storedName, bool backslashSeparates) {
    const char* const separators = backslashSeparates ? Path::separators : "/";
    std::vector<std::string> components;
    std::string::size_type start = 0;
    bool first = true;
    while (start <= storedName.size()) {
        std::string::size_type stop = storedName.find_first_of(separators, start);
        if (stop == std::string::npos) stop = storedName.size();
        std::string raw = storedName.substr(start, stop - start);
        std::string component = clean(raw, first);
        if (!raw.empty()) first = false;
        if (!component.empty()) components.push_back(std::move(component));
        start = stop + 1;
    }
    return components;
}

std::string safePath(const std::string& outputFolder, const std::string& storedName, bool backslashSeparates) {
    bool free = false;
    return safePath(outputFolder, storedName, {}, free, backslashSeparates);
}

std::string safePath(const std::string& outputFolder, const std::string& storedName,
                     const std::set<std::string>& trusted, bool& free, bool backslashSeparates) {
    free = false;
    std::vector<std::string> components = safeComponents(storedName, backslashSeparates);
    if (components.empty()) return outputFolder.empty() ? std::string(".") : outputFolder;

    std::string path = outputFolder;
    if (!path.empty() && path.back() != Path::separator && path.back() != '/') path += Path::separator;
    for (size_t i = 0; i < components.size(); ++i) {
        std::string candidate = path + components[i];
        const bool last = i + 1 == components.size();
        bool exists = true;
        // A folder that the caller vouches for is not looked up again.
        const bool vouched = !last && trusted.count(candidate) != 0;
        if (!vouched && Path::link(candidate, exists)) {
            PathSplitter split(components[i]);
            bool found = false;
            for (uint32_t n = 1; n <= 999 && !found; ++n) {
                candidate = path + split.name() + "_" + std::to_string(n) + split.extension();
                found = !Path::link(candidate, exists);
            }
            if (!found) throw Exception("io::safePath() cannot avoid the symbolic link " + path + components[i]);
        }
        if (last) free = !exists;
        path = candidate;
        if (!last) path += Path::separator;
    }
    return path;
}

} // namespace io
