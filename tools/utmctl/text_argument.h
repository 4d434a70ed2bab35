#pragma once

#include <string>

// Texts as arguments: what a daemon's field can hold, whole.

bool is_blank(const std::string& text);
std::string wrong_text(const std::string& text, size_t most);

// Checks for the command tables: check_text<10> for up to ten characters.
template <size_t most> std::string check_text(const std::string& text)
{
    return wrong_text(text, most);
}

std::string check_ip(const std::string& text);
