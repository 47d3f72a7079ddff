// The external functions that run the engine: expansion and compression.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "algorithm/algorithm.Password.h"
#include "engine/engine5.Registry.h"
#include "format/format.Number.h"
#include "plugin/CRwrk_Win.h"
#include "plugin/Crwk.UI.h"
#include "plugin/FMUtils.h"
#include "plugin/FSObject_Win.h"
#include "plugin/TKTReader.h"

namespace {

constexpr uint32_t kMaxPath = 1023;
constexpr uint32_t kMaxText = 255;

// Suffix that an archive gets when only its source was named: that of the
// format the function writes, from the format registry.
const char* ArchiveSuffix(int32_t function) {
    int format = function == kCRwrkTuck   ? format::number::tkt5
                 : function == kCRwrkZip  ? format::number::zip
                 : function == kCRwrkGZip ? format::number::gz
                 : function == kCRwrkTar  ? format::number::tar
                                          : format::number::unknown;
    const engine5::FormatDescriptor* descriptor = engine5::findFormat(format);
    return descriptor ? descriptor->suffix : "";
}

// Names the archive, clears its place and writes it. No format has a writer
// in this build, so every request that gets this far is refused by format.
void CreateArchive(int32_t function, FSObject& source, FSObject& destination) {
    if (source.pathLength == 0) return;
    if (destination.pathLength == 0) {
        std::string text = std::string(source.path) + ArchiveSuffix(function);
        destination.SetObject(text.substr(0, FSObject::kBufferSize - 1).c_str());
    }
    destination.ObjectDelete();
    throw tuckett5::exception::UnsupportedFormat("archive format is not supported");
}

} // namespace

void DoCompress(int32_t function, FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    FSObject source;
    int32_t code = ResolvePathParameter(function, parameterHandle, 1, Crwk::UI::kChooseItem, kPurposeCompress, source);
    if (code == 0) {
        FSObject destination;
        code = ResolvePathParameter(function, parameterHandle, 2, Crwk::UI::kChooseNewFile, kPurposeCompress,
                                    destination);
        if (code == 0) {
            try {
                try {
                    CreateArchive(function, source, destination);
                    if (destination.pathLength != 0)
                        SetHandleText(resultHandle, destination.path, destination.pathLength);
                } catch (const tuckett5::exception::Evacuation& e) {
                    SetErrorResult(resultHandle, 0, e.what());
                } catch (const un::exception& e) {
                    SetErrorResult(resultHandle, 0, e.what());
                }
            } catch (...) {
                code = kUnknownException;
            }
        }
    }
    if (code != 0) SetErrorResult(resultHandle, code, nullptr);
}

void DoExpand(FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    DoExpandWith([] { return std::make_unique<TKTReader>(true); }, parameterHandle, resultHandle);
}

void DoExpandWith(TKTReaderFactory makeReader, FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    FSObject source;
    int32_t code = ResolvePathParameter(kCRwrkExpand, parameterHandle, 1, Crwk::UI::kChooseFile, kPurposeExpand, source);
    if (code == 0) {
        FSObject destination;
        code = ResolvePathParameter(kCRwrkExpand, parameterHandle, 2, Crwk::UI::kChooseFolder, kPurposeExpand,
                                    destination);
        if (code == 0) {
            bool destinationGiven = destination.pathLength != 0;
            try {
                std::unique_ptr<TKTReader> made = makeReader();
                TKTReader& reader = *made;
                try {
                    reader.SetSourceFSO(&source);
                    reader.SetDestinationFSO(&destination);
                    reader.sropen();
                    if (reader.archiveInfo.encrypted) {
                        char text[kMaxText + 1];
                        std::memset(text, 0, sizeof text);
                        uint32_t length = 0;
                        GetParamByNumber(parameterHandle, 3, kMaxText, text, &length);
                        std::string typed = text;
                        if (typed.empty()) {
                            if (!Crwk::ui().password(typed)) throw tuckett5::exception::Evacuation();
                            if (typed.empty()) code = kNoPassword;
                        }
                        algorithm::Password password(typed);
                        reader.password = password;
                        password.erase();
                        std::fill(typed.begin(), typed.end(), '\0');
                    }
                    if (code == 0) {
                        reader.decode();
                        // The path where the top item really went, which is
                        // another than asked for when that name was taken.
                        std::string text = destination.pathString;
                        if (!reader.archiveInfo.rootName.empty() && !reader.topPath.empty())
                            text = reader.topPath;
                        else if (destinationGiven)
                            text += FSObject::kSeparator + reader.archiveInfo.rootName;
                        if (!text.empty())
                            SetHandleText(resultHandle, text.data(), static_cast<uint32_t>(text.size()));
                    }
                } catch (const tuckett5::exception::Evacuation& e) {
                    reader.progressSizeEndEvent();
                    SetErrorResult(resultHandle, reader.canceled ? kUserCanceled : reader.error, e.what());
                } catch (const un::exception& e) {
                    reader.progressSizeEndEvent();
                    SetErrorResult(resultHandle, reader.error, e.what());
                }
                reader.close();
            } catch (...) {
                code = kUnknownException;
            }
        }
    }
    if (code != 0) SetErrorResult(resultHandle, code, nullptr);
}
