#pragma once

#include <utility>

namespace un {

// A value read and assigned through the call operator: p() reads, p(v) assigns.
template <typename T>
class property {
public:
    property() : value_() {}
    property(const T& value) : value_(value) {}

    const T& operator()() const { return value_; }
    T& operator()() { return value_; }
    void operator()(const T& value) { value_ = value; }

private:
    T value_;
};

// A value with a flag that says whether it was ever assigned. A record uses it
// to tell a field the format did not provide from one that holds a default.
template <typename T>
class opt_property {
public:
    opt_property() : set_(false), value_() {}
    explicit opt_property(const T& value) : set_(false), value_(value) {}

    const T& operator()() const { return value_; }
    void operator()(const T& value) {
        value_ = value;
        set_ = true;
    }

    bool isSet() const { return set_; }

    // Forgets the assignment and puts the given default in place.
    void reset(const T& value = T()) {
        set_ = false;
        value_ = value;
    }

private:
    bool set_;
    T value_;
};

} // namespace un
