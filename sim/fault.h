#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

enum class fault_kind {
    refuse,
    status,
    delay,
    silence,
    close,
    cut,
    split,
    garbage,
    endless,
    crash,
    stop,
    absent,
    deaf
};

// One thing that goes wrong, for the requests that it fits.
struct fault {
    std::optional<uint32_t> code; // none: any
    fault_kind kind;
    uint32_t value;                // status, milliseconds, bytes or pieces
    std::optional<uint32_t> count; // none: until cleared

    bool operator==(const fault&) const = default;
};

// Reads CODE:KIND[=VALUE][:COUNT], CODE a number or "any"; or "absent" or "deaf". Fails with a text for people.
fault fault_from(const std::string& text);
std::string to_text(const fault& fault);

// The kind and its value alone, as in "refuse=5".
std::string effect_text(const fault& fault);

// Holds from the daemon's start; it cannot be switched on later.
bool holds_from_start(fault_kind kind);

// The faults of one daemon, in the order of their addition.
class fault_list {
public:
    explicit fault_list(std::vector<fault> faults) : faults_(std::move(faults)) {}

    void add(const fault& added);
    void clear();
    std::vector<std::string> texts() const;
    bool has(fault_kind kind) const;

    // The first one that fits the code; one that counts requests counts this one.
    std::optional<fault> take(uint32_t code);

private:
    mutable std::mutex mutex_;
    std::vector<fault> faults_;
};

} // namespace sim
