#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/t5.Reader.h"

namespace test {

// Writes down every event of a reader, in order, one line each ("file a 5",
// "files 1", "folder end", ...), and can refuse a file or cancel at a byte
// count. Scan steps and byte moves are noted only when asked for.
class EventLog : public tuckett5::event::ArchiveDecodeBeginListener,
                 public tuckett5::event::ArchiveDecodeEndListener,
                 public tuckett5::event::ArchiveInfoListener,
                 public tuckett5::event::FileChangedNameListener,
                 public tuckett5::event::FileDecodeBeginListener,
                 public tuckett5::event::FileDecodeEndListener,
                 public tuckett5::event::FileInfoListener,
                 public tuckett5::event::FolderDecodeBeginListener,
                 public tuckett5::event::FolderDecodeEndListener,
                 public tuckett5::event::FolderInfoListener,
                 public tuckett5::event::ProgressFilesBeginListener,
                 public tuckett5::event::ProgressFilesEndListener,
                 public tuckett5::event::ProgressFilesMoveListener,
                 public tuckett5::event::ProgressScanBeginListener,
                 public tuckett5::event::ProgressScanEndListener,
                 public tuckett5::event::ProgressScanStepListener,
                 public tuckett5::event::ProgressSizeBeginListener,
                 public tuckett5::event::ProgressSizeEndListener,
                 public tuckett5::event::ProgressSizeMoveListener {
public:
    explicit EventLog(tuckett5::Reader& reader) : reader_(reader) {
        reader.add(static_cast<ArchiveDecodeBeginListener*>(this));
        reader.add(static_cast<ArchiveDecodeEndListener*>(this));
        reader.add(static_cast<ArchiveInfoListener*>(this));
        reader.add(static_cast<FileChangedNameListener*>(this));
        reader.add(static_cast<FileDecodeBeginListener*>(this));
        reader.add(static_cast<FileDecodeEndListener*>(this));
        reader.add(static_cast<FileInfoListener*>(this));
        reader.add(static_cast<FolderDecodeBeginListener*>(this));
        reader.add(static_cast<FolderDecodeEndListener*>(this));
        reader.add(static_cast<FolderInfoListener*>(this));
        reader.add(static_cast<ProgressFilesBeginListener*>(this));
        reader.add(static_cast<ProgressFilesEndListener*>(this));
        reader.add(static_cast<ProgressFilesMoveListener*>(this));
        reader.add(static_cast<ProgressScanBeginListener*>(this));
        reader.add(static_cast<ProgressScanEndListener*>(this));
        reader.add(static_cast<ProgressScanStepListener*>(this));
        reader.add(static_cast<ProgressSizeBeginListener*>(this));
        reader.add(static_cast<ProgressSizeEndListener*>(this));
        reader.add(static_cast<ProgressSizeMoveListener*>(this));
    }
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    bool archiveDecodeBeginEvent() override { return log("decode"); }
    void archiveDecodeEndEvent() override { log("decode end"); }
    bool archiveInfoEvent() override { return log("archive"); }
    void fileChangedNameEvent(const char* name) override {
        log("renamed " + std::filesystem::path(name).filename().string());
    }
    bool fileDecodeBeginEvent(uint32_t size) override {
        log("file " + reader_.fileInfo.name + " " + std::to_string(size));
        return refuse.empty() || reader_.fileInfo.name != refuse;
    }
    void fileDecodeEndEvent() override { log("file end"); }
    bool fileInfoEvent() override { return log("info " + reader_.fileInfo.name); }
    bool folderDecodeBeginEvent(uint32_t) override { return log("folder " + reader_.folderInfo.name); }
    void folderDecodeEndEvent() override { log("folder end"); }
    bool folderInfoEvent() override { return log("info " + reader_.folderInfo.name + "/"); }
    void progressFilesBeginEvent(uint32_t n) override { log("files " + std::to_string(n)); }
    void progressFilesEndEvent() override { log("files end"); }
    bool progressFilesMoveEvent(uint32_t n) override { return log("files " + std::to_string(n)); }
    void progressScanBeginEvent() override { log("scan"); }
    void progressScanEndEvent() override { log("scan end"); }
    bool progressScanStepEvent() override { return !steps || log("step"); }
    void progressSizeBeginEvent(uint32_t n) override { log("size " + std::to_string(n)); }
    void progressSizeEndEvent() override { log("size end"); }
    bool progressSizeMoveEvent(uint32_t n) override {
        lastSize = n;
        if (moves) log("moved " + std::to_string(n));
        return cancelAt == 0 || n < cancelAt;
    }

    // The lines so far, joined by ", ".
    std::string text() const {
        std::string joined;
        for (const std::string& line : events) joined += (joined.empty() ? "" : ", ") + line;
        return joined;
    }

    std::vector<std::string> events;
    bool steps = false;
    bool moves = false;
    std::string refuse;
    uint32_t cancelAt = 0;
    uint32_t lastSize = 0;

private:
    bool log(const std::string& line) {
        events.push_back(line);
        return true;
    }
    tuckett5::Reader& reader_;
};

}  // namespace test
