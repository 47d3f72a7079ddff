#pragma once

#include <algorithm>
#include <vector>

namespace algorithm::arsenic {

// Told now and then during long work that touches no stream (sorting a block,
// reversing the transform), so that a client can keep its user interface alive.
class AchtungListener {
public:
    virtual ~AchtungListener() = default;
    virtual void achtung() = 0;
};

// The listeners of one coder. Each dispatch walks a copy of the list, so a
// listener may add or remove listeners while it is called.
class AchtungDispatcher {
public:
    void add(AchtungListener* listener) { listeners_.push_back(listener); }
    void remove(AchtungListener* listener) {
        listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), listener), listeners_.end());
    }
    void dispatch() const {
        if (listeners_.empty()) return;
        std::vector<AchtungListener*> copy = listeners_;
        for (AchtungListener* listener : copy) listener->achtung();
    }

private:
    std::vector<AchtungListener*> listeners_;
};

} // namespace algorithm::arsenic
