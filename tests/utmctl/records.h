#pragma once

#include "tests/sandbox/bytes.h"
#include "tests/sandbox/config_daemons.h"

#include <vector>

// Requests to the config daemons as whole records of bytes: the code, zeros, and the body from offset 8 on.

using words = std::vector<uint32_t>;

inline sim::bytes request_record(const std::string& daemon, uint8_t code, const sim::bytes& body)
{
    sim::bytes record(daemon == cf_path ? 2056 : 136);
    record[0] = code;
    std::copy(body.begin(), body.end(), record.begin() + 8);
    return record;
}

inline sim::bytes words_body(const words& values)
{
    return bytes_of(values.data(), values.size() * sizeof(uint32_t));
}

inline sim::bytes text_body(const words& values, const std::string& text)
{
    sim::bytes body = words_body(values);
    body.insert(body.end(), text.begin(), text.end());
    return body;
}
