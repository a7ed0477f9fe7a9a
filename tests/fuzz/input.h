// The fuzz input read from the front as a script: bytes, little-endian
// numbers, short byte runs and texts. Past the end every read gives zeros,
// so any input, the empty one included, is a complete script.
#ifndef MORLIN_FUZZ_INPUT_H
#define MORLIN_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// A property that does not hold is a crash, so that libFuzzer keeps the input.
#define FUZZ_CHECK(cond) ((cond) ? (void)0 : FuzzFail(#cond, __FILE__, __LINE__))
[[noreturn]] inline void FuzzFail(const char* what, const char* file, int line) {
    fprintf(stderr, "%s:%d: property does not hold: %s\n", file, line, what);
    abort();
}

class Input {
public:
    Input(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
    bool Empty() const { return p_ == end_; }
    uint8_t Byte() { return p_ < end_ ? *p_++ : 0; }
    uint64_t Number(int bytes) {
        uint64_t v = 0;
        for (int i = 0; i < bytes; ++i) v |= uint64_t{Byte()} << (8 * i);
        return v;
    }
    std::vector<uint8_t> Take(size_t n) {
        n = std::min<size_t>(n, end_ - p_);
        std::vector<uint8_t> v(p_, p_ + n);
        p_ += n;
        return v;
    }
    // A run of at most 255 bytes, its length first.
    std::vector<uint8_t> Bytes() { return Take(Byte()); }
    // The bytes up to the next NUL, which is consumed.
    std::string Text() {
        std::string s;
        while (p_ < end_ && *p_ != 0) s += static_cast<char>(*p_++);
        if (p_ < end_) ++p_;
        return s;
    }

private:
    const uint8_t* p_;
    const uint8_t* end_;
};

// A heap block of exactly n bytes (a valid pointer also for 0, from the
// sanitizer's malloc), so that AddressSanitizer sees a read or
// write one past it; a copy of bytes, or filled with fill.
inline uint8_t* Block(size_t n, const uint8_t* bytes = nullptr, uint8_t fill = 0x5C) {
    auto* p = static_cast<uint8_t*>(malloc(n));
    for (size_t i = 0; i < n; ++i) p[i] = bytes != nullptr ? bytes[i] : fill;
    return p;
}

#endif
