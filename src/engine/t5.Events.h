#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/t5.Exception.h"

namespace tuckett5::event {

// The base of every listener. A client takes the listener classes it wants as
// bases of its own class and adds itself to the matching dispatchers.
class Listener {
public:
    virtual ~Listener() = default;
    uint8_t state = 0;
};

// A list of listeners, not owned, called in the order they were added. Each
// dispatch walks a copy of the list, so that a listener may add or remove
// listeners (itself too) in its event.
template <typename L>
class Dispatcher {
public:
    void add(L* listener) { listeners_.push_back(listener); }
    // Takes out the first entry of the listener; the rest keep their order.
    void remove(L* listener) {
        auto found = std::find(listeners_.begin(), listeners_.end(), listener);
        if (found != listeners_.end()) listeners_.erase(found);
    }
    const std::vector<L*>& listeners() const { return listeners_; }

    // Calls listeners until one answers false; answers whether none did.
    template <typename Call>
    bool ask(Call call) const {
        std::vector<L*> copy(listeners_);
        bool flag = true;
        for (L* listener : copy) {
            if (!flag) break;
            flag = call(*listener);
        }
        return flag;
    }
    // As ask(), and a false answer unwinds the run.
    template <typename Call>
    void require(Call call) const {
        if (!ask(call)) throw exception::Evacuation();
    }
    // Calls every listener.
    template <typename Call>
    void tell(Call call) const {
        std::vector<L*> copy(listeners_);
        for (L* listener : copy) call(*listener);
    }

private:
    std::vector<L*> listeners_;
};

class ArchiveDecodeBeginListener : public Listener {
public:
    virtual bool archiveDecodeBeginEvent() = 0;
};

class ArchiveDecodeEndListener : public Listener {
public:
    virtual void archiveDecodeEndEvent() = 0;
};

class ArchiveInfoListener : public Listener {
public:
    virtual bool archiveInfoEvent() = 0;
};

class ArchiveNextListener : public Listener {
public:
    virtual bool archiveNextEvent(std::string& path) = 0;
};

class ErrorListener : public Listener {
public:
    virtual bool errorEvent(int32_t code) = 0;
};

class FileChangedNameListener : public Listener {
public:
    virtual void fileChangedNameEvent(const char* name) = 0;
};

class FileDecodeBeginListener : public Listener {
public:
    virtual bool fileDecodeBeginEvent(uint32_t size) = 0;
};

class FileDecodeEndListener : public Listener {
public:
    virtual void fileDecodeEndEvent() = 0;
};

class FileDeleteListener : public Listener {
public:
    virtual bool fileDeleteEvent() = 0;
};

class FileInfoListener : public Listener {
public:
    virtual bool fileInfoEvent() = 0;
};

class FileNewNameListener : public Listener {
public:
    virtual bool fileNewNameEvent(std::string& name) = 0;
};

class FolderDecodeBeginListener : public Listener {
public:
    virtual bool folderDecodeBeginEvent(uint32_t size) = 0;
};

class FolderDecodeEndListener : public Listener {
public:
    virtual void folderDecodeEndEvent() = 0;
};

class FolderInfoListener : public Listener {
public:
    virtual bool folderInfoEvent() = 0;
};

class ProgressFilesBeginListener : public Listener {
public:
    virtual void progressFilesBeginEvent(uint32_t count) = 0;
};

class ProgressFilesEndListener : public Listener {
public:
    virtual void progressFilesEndEvent() = 0;
};

class ProgressFilesMoveListener : public Listener {
public:
    virtual bool progressFilesMoveEvent(uint32_t done) = 0;
};

class ProgressScanBeginListener : public Listener {
public:
    virtual void progressScanBeginEvent() = 0;
};

class ProgressScanEndListener : public Listener {
public:
    virtual void progressScanEndEvent() = 0;
};

class ProgressScanStepListener : public Listener {
public:
    virtual bool progressScanStepEvent() = 0;
};

class ProgressSizeBeginListener : public Listener {
public:
    virtual void progressSizeBeginEvent(uint32_t total) = 0;
};

class ProgressSizeEndListener : public Listener {
public:
    virtual void progressSizeEndEvent() = 0;
};

class ProgressSizeMoveListener : public Listener {
public:
    virtual bool progressSizeMoveEvent(uint32_t done) = 0;
};

// The listeners of the writer alone.
class ArchiveChangedNameListener : public Listener {
public:
    virtual void archiveChangedNameEvent(const std::string& path) = 0;
};

class ArchiveCreateBeginListener : public Listener {
public:
    virtual bool archiveCreateBeginEvent() = 0;
};

class ArchiveCreateEndListener : public Listener {
public:
    virtual void archiveCreateEndEvent() = 0;
};

class ArchiveSizeListener : public Listener {
public:
    virtual bool archiveSizeEvent(uint64_t size) = 0;
};

class FileEncodeBeginListener : public Listener {
public:
    virtual bool fileEncodeBeginEvent() = 0;
};

class FileEncodeEndListener : public Listener {
public:
    virtual void fileEncodeEndEvent() = 0;
};

class FileScanStepListener : public Listener {
public:
    virtual bool fileScanStepEvent() = 0;
};

class FolderEncodeBeginListener : public Listener {
public:
    virtual bool folderEncodeBeginEvent() = 0;
};

class FolderEncodeEndListener : public Listener {
public:
    virtual void folderEncodeEndEvent() = 0;
};

class FolderScanStepListener : public Listener {
public:
    virtual bool folderScanStepEvent() = 0;
};

class ArchiveDecodeBeginDispatcher : public Dispatcher<ArchiveDecodeBeginListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireArchiveDecodeBegin() const {
        require([&](ArchiveDecodeBeginListener& l) { return l.archiveDecodeBeginEvent(); });
    }
};

class ArchiveDecodeEndDispatcher : public Dispatcher<ArchiveDecodeEndListener> {
public:
    void fireArchiveDecodeEnd() const {
        tell([&](ArchiveDecodeEndListener& l) { return l.archiveDecodeEndEvent(); });
    }
};

class ArchiveInfoDispatcher : public Dispatcher<ArchiveInfoListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireArchiveInfo() const {
        require([&](ArchiveInfoListener& l) { return l.archiveInfoEvent(); });
    }
};

class ArchiveNextDispatcher : public Dispatcher<ArchiveNextListener> {
public:
    // Answers false when a listener did; what that means is the caller's.
    bool fireArchiveNext(std::string& path) const {
        return ask([&](ArchiveNextListener& l) { return l.archiveNextEvent(path); });
    }
};

class ErrorDispatcher : public Dispatcher<ErrorListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireError(int32_t code) const {
        require([&](ErrorListener& l) { return l.errorEvent(code); });
    }
};

class FileChangedNameDispatcher : public Dispatcher<FileChangedNameListener> {
public:
    void fireFileChangedName(const char* name) const {
        tell([&](FileChangedNameListener& l) { return l.fileChangedNameEvent(name); });
    }
};

class FileDecodeBeginDispatcher : public Dispatcher<FileDecodeBeginListener> {
public:
    // Answers false when a listener did; what that means is the caller's.
    bool fireFileDecodeBegin(uint32_t size) const {
        return ask([&](FileDecodeBeginListener& l) { return l.fileDecodeBeginEvent(size); });
    }
};

class FileDecodeEndDispatcher : public Dispatcher<FileDecodeEndListener> {
public:
    void fireFileDecodeEnd() const {
        tell([&](FileDecodeEndListener& l) { return l.fileDecodeEndEvent(); });
    }
};

class FileDeleteDispatcher : public Dispatcher<FileDeleteListener> {
public:
    // Answers false when a listener did; what that means is the caller's.
    bool fireFileDelete() const {
        return ask([&](FileDeleteListener& l) { return l.fileDeleteEvent(); });
    }
};

class FileInfoDispatcher : public Dispatcher<FileInfoListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireFileInfo() const {
        require([&](FileInfoListener& l) { return l.fileInfoEvent(); });
    }
};

class FileNewNameDispatcher : public Dispatcher<FileNewNameListener> {
public:
    // Answers false when a listener did; what that means is the caller's.
    bool fireFileNewName(std::string& name) const {
        return ask([&](FileNewNameListener& l) { return l.fileNewNameEvent(name); });
    }
};

class FolderDecodeBeginDispatcher : public Dispatcher<FolderDecodeBeginListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireFolderDecodeBegin(uint32_t size) const {
        require([&](FolderDecodeBeginListener& l) { return l.folderDecodeBeginEvent(size); });
    }
};

class FolderDecodeEndDispatcher : public Dispatcher<FolderDecodeEndListener> {
public:
    void fireFolderDecodeEnd() const {
        tell([&](FolderDecodeEndListener& l) { return l.folderDecodeEndEvent(); });
    }
};

class FolderInfoDispatcher : public Dispatcher<FolderInfoListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireFolderInfo() const {
        require([&](FolderInfoListener& l) { return l.folderInfoEvent(); });
    }
};

class ProgressFilesBeginDispatcher : public Dispatcher<ProgressFilesBeginListener> {
public:
    void fireProgressFilesBegin(uint32_t count) const {
        tell([&](ProgressFilesBeginListener& l) { return l.progressFilesBeginEvent(count); });
    }
};

class ProgressFilesEndDispatcher : public Dispatcher<ProgressFilesEndListener> {
public:
    void fireProgressFilesEnd() const {
        tell([&](ProgressFilesEndListener& l) { return l.progressFilesEndEvent(); });
    }
};

class ProgressFilesMoveDispatcher : public Dispatcher<ProgressFilesMoveListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireProgressFilesMove(uint32_t done) const {
        require([&](ProgressFilesMoveListener& l) { return l.progressFilesMoveEvent(done); });
    }
};

class ProgressScanBeginDispatcher : public Dispatcher<ProgressScanBeginListener> {
public:
    void fireProgressScanBegin() const {
        tell([&](ProgressScanBeginListener& l) { return l.progressScanBeginEvent(); });
    }
};

class ProgressScanEndDispatcher : public Dispatcher<ProgressScanEndListener> {
public:
    void fireProgressScanEnd() const {
        tell([&](ProgressScanEndListener& l) { return l.progressScanEndEvent(); });
    }
};

class ProgressScanStepDispatcher : public Dispatcher<ProgressScanStepListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireProgressScanStep() const {
        require([&](ProgressScanStepListener& l) { return l.progressScanStepEvent(); });
    }
};

class ProgressSizeBeginDispatcher : public Dispatcher<ProgressSizeBeginListener> {
public:
    void fireProgressSizeBegin(uint32_t total) const {
        tell([&](ProgressSizeBeginListener& l) { return l.progressSizeBeginEvent(total); });
    }
};

class ProgressSizeEndDispatcher : public Dispatcher<ProgressSizeEndListener> {
public:
    void fireProgressSizeEnd() const {
        tell([&](ProgressSizeEndListener& l) { return l.progressSizeEndEvent(); });
    }
};

class ProgressSizeMoveDispatcher : public Dispatcher<ProgressSizeMoveListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireProgressSizeMove(uint32_t done) const {
        require([&](ProgressSizeMoveListener& l) { return l.progressSizeMoveEvent(done); });
    }
};

class ArchiveChangedNameDispatcher : public Dispatcher<ArchiveChangedNameListener> {
public:
    void fireArchiveChangedName(const std::string& path) const {
        tell([&](ArchiveChangedNameListener& l) { return l.archiveChangedNameEvent(path); });
    }
};

class ArchiveCreateBeginDispatcher : public Dispatcher<ArchiveCreateBeginListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireArchiveCreateBegin() const {
        require([&](ArchiveCreateBeginListener& l) { return l.archiveCreateBeginEvent(); });
    }
};

class ArchiveCreateEndDispatcher : public Dispatcher<ArchiveCreateEndListener> {
public:
    void fireArchiveCreateEnd() const {
        tell([&](ArchiveCreateEndListener& l) { return l.archiveCreateEndEvent(); });
    }
};

class ArchiveSizeDispatcher : public Dispatcher<ArchiveSizeListener> {
public:
    // Answers false when a listener did; what that means is the caller's.
    bool fireArchiveSize(uint64_t size) const {
        return ask([&](ArchiveSizeListener& l) { return l.archiveSizeEvent(size); });
    }
};

class FileEncodeBeginDispatcher : public Dispatcher<FileEncodeBeginListener> {
public:
    // A false answer throws exception::Evacuation: a writer never skips an item.
    void fireFileEncodeBegin() const {
        require([&](FileEncodeBeginListener& l) { return l.fileEncodeBeginEvent(); });
    }
};

class FileEncodeEndDispatcher : public Dispatcher<FileEncodeEndListener> {
public:
    void fireFileEncodeEnd() const {
        tell([&](FileEncodeEndListener& l) { return l.fileEncodeEndEvent(); });
    }
};

class FileScanStepDispatcher : public Dispatcher<FileScanStepListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireFileScanStep() const {
        require([&](FileScanStepListener& l) { return l.fileScanStepEvent(); });
    }
};

class FolderEncodeBeginDispatcher : public Dispatcher<FolderEncodeBeginListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireFolderEncodeBegin() const {
        require([&](FolderEncodeBeginListener& l) { return l.folderEncodeBeginEvent(); });
    }
};

class FolderEncodeEndDispatcher : public Dispatcher<FolderEncodeEndListener> {
public:
    void fireFolderEncodeEnd() const {
        tell([&](FolderEncodeEndListener& l) { return l.folderEncodeEndEvent(); });
    }
};

class FolderScanStepDispatcher : public Dispatcher<FolderScanStepListener> {
public:
    // A false answer throws exception::Evacuation.
    void fireFolderScanStep() const {
        require([&](FolderScanStepListener& l) { return l.folderScanStepEvent(); });
    }
};

}  // namespace tuckett5::event
