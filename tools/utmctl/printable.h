#pragma once

#include <string>
#include <string_view>

// Text from outside, with what would change more of a terminal than its own place as \xNN for each byte: control
// characters, marks that turn the direction of writing, and bytes that are no UTF-8.
std::string printable(std::string_view text);

// Text from outside, fit to be shown in a message.
std::string in_quotes(const std::string& text);

// Whether it holds a control character of ASCII.
bool has_control_characters(std::string_view text);
