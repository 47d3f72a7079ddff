#pragma once

namespace algorithm::bit {

// Bit streams over byte streams. T is the value type of a read: read() and
// read(n) answer -1 (all ones for an unsigned T) at the end of the input.
// The concrete classes (most significant bit first for Arsenic, least
// significant first for ISP and Inflate) live beside this header; hot loops
// call them directly rather than through these bases.
template <typename T>
class Input {
public:
    virtual ~Input() = default;
    virtual T read() = 0;
    virtual T read(unsigned count) = 0;
};

// A bit input that can look ahead: a peek supplies zero bits past the end of
// the input and never fails.
template <typename T>
class PeekInput : public Input<T> {
public:
    virtual T peek(unsigned count) = 0;
    virtual void skip(unsigned count) = 0;
};

template <typename T>
class Output {
public:
    virtual ~Output() = default;
    virtual void write(T bit) = 0;
    virtual void write(T value, unsigned count) = 0;
    virtual void flush() = 0;
};

} // namespace algorithm::bit
