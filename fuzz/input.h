#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

using bytes = std::vector<uint8_t>;

// The fuzzer's bytes, taken from the front; zeros behind the last of them.
class input {
public:
    input(const uint8_t* data, size_t size) : at_(data), left_(size) {}

    uint8_t byte() { return left_ == 0 ? 0 : (left_--, *at_++); }
    bytes take(size_t size);
    bytes rest() { return take(left_); }
    bool empty() const { return left_ == 0; }

private:
    const uint8_t* at_;
    size_t left_;
};

} // namespace fuzz
