#pragma once

#include <cstdint>
#include <memory>

#include "engine/t5.Reader.h"
#include "plugin/FMExtern.h"

class FSObject;

// The plug-in's reader: listens to its own run, drives the progress display
// and picks the destination when the archive's expansion begins.
class TKTReader : public tuckett5::Reader,
                  public tuckett5::event::ErrorListener,
                  public tuckett5::event::ArchiveDecodeBeginListener,
                  public tuckett5::event::ArchiveDecodeEndListener,
                  public tuckett5::event::FileDeleteListener,
                  public tuckett5::event::FileDecodeBeginListener,
                  public tuckett5::event::FileDecodeEndListener,
                  public tuckett5::event::FolderDecodeBeginListener,
                  public tuckett5::event::FolderDecodeEndListener,
                  public tuckett5::event::ProgressSizeBeginListener,
                  public tuckett5::event::ProgressSizeEndListener,
                  public tuckett5::event::ProgressSizeMoveListener,
                  public tuckett5::event::ProgressFilesBeginListener,
                  public tuckett5::event::ProgressFilesEndListener,
                  public tuckett5::event::ProgressFilesMoveListener {
public:
    explicit TKTReader(bool showProgress);
    ~TKTReader() override;

    void SetSourceFSO(FSObject* source) { sourceFSO = source; }
    void SetDestinationFSO(FSObject* destination) { destinationFSO = destination; }
    // Opens and scans the source archive, if one is set.
    void sropen();

    bool errorEvent(int32_t code) override;
    bool archiveDecodeBeginEvent() override;
    void archiveDecodeEndEvent() override;
    bool fileDeleteEvent() override;
    bool fileDecodeBeginEvent(uint32_t size) override;
    void fileDecodeEndEvent() override;
    bool folderDecodeBeginEvent(uint32_t value) override;
    void folderDecodeEndEvent() override;
    void progressSizeBeginEvent(uint32_t total) override;
    void progressSizeEndEvent() override;
    bool progressSizeMoveEvent(uint32_t position) override;
    void progressFilesBeginEvent(uint32_t count) override;
    void progressFilesEndEvent() override;
    bool progressFilesMoveEvent(uint32_t done) override;

    bool Untouchable(const std::string& path) const;

    FSObject* sourceFSO = nullptr;
    FSObject* destinationFSO = nullptr;
    uint32_t itemsLeft = 0;
    bool showProgress;
    bool canceled = false;
    // Whether an empty destination replaces what has its name (the plug-in)
    // or takes the first free name beside it (the tool, unless told to replace).
    bool replaceExisting = true;
};

// Makes the reader of one CRwrk-Expand call; tests put in their own.
using TKTReaderFactory = std::unique_ptr<TKTReader> (*)();
void DoExpandWith(TKTReaderFactory makeReader, FMX_Handle parameterHandle, FMX_Handle resultHandle);
