#include "format/zip/zip.Name.h"

#include <windows.h>

namespace engine5::zip {

std::string localName(const tuckett5::UnicodeName& name) {
    if (name.empty()) return std::string();
    const auto* text = reinterpret_cast<const wchar_t*>(name.data());
    const int length = static_cast<int>(name.size());
    const int size = WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, "_", nullptr);
    if (size <= 0) return std::string(name.size(), '_');
    std::string local(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, length, local.data(), size, "_", nullptr);
    return local;
}

}  // namespace engine5::zip
