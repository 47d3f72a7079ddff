#pragma once

#include <cstdint>

#include "engine/t5.Writer.h"

class FSObject;

// The plug-in's writer: listens to its own run, names an unnamed archive
// after its source and drives the progress display.
class TKTWriter : public tuckett5::Writer,
                  public tuckett5::event::ErrorListener,
                  public tuckett5::event::ArchiveCreateBeginListener,
                  public tuckett5::event::ArchiveCreateEndListener,
                  public tuckett5::event::FileDeleteListener,
                  public tuckett5::event::FileEncodeBeginListener,
                  public tuckett5::event::FileEncodeEndListener,
                  public tuckett5::event::FolderEncodeBeginListener,
                  public tuckett5::event::FolderEncodeEndListener,
                  public tuckett5::event::ProgressSizeBeginListener,
                  public tuckett5::event::ProgressSizeEndListener,
                  public tuckett5::event::ProgressSizeMoveListener,
                  public tuckett5::event::ProgressFilesBeginListener,
                  public tuckett5::event::ProgressFilesEndListener,
                  public tuckett5::event::ProgressFilesMoveListener {
public:
    explicit TKTWriter(bool showProgress);
    ~TKTWriter() override;

    void SetSourceFSO(FSObject* source) { sourceFSO = source; }
    void SetDestinationFSO(FSObject* destination) { destinationFSO = destination; }
    // Names the archive if it has no name, deletes what has that name, and
    // creates the archive of the source.
    void swcreate();

    // The suffix that an unnamed archive of the format gets, "" for none.
    static const char* ArchiveSuffix(int format);

    bool errorEvent(int32_t code) override;
    bool archiveCreateBeginEvent() override;
    void archiveCreateEndEvent() override;
    bool fileDeleteEvent() override;
    bool fileEncodeBeginEvent() override;
    void fileEncodeEndEvent() override;
    bool folderEncodeBeginEvent() override;
    void folderEncodeEndEvent() override;
    void progressSizeBeginEvent(uint32_t total) override;
    void progressSizeEndEvent() override;
    bool progressSizeMoveEvent(uint32_t position) override;
    void progressFilesBeginEvent(uint32_t count) override;
    void progressFilesEndEvent() override;
    bool progressFilesMoveEvent(uint32_t done) override;

    FSObject* sourceFSO = nullptr;
    FSObject* destinationFSO = nullptr;
    uint32_t itemsLeft = 0;
    bool showProgress;
    bool canceled = false;
};
