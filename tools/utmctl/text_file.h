#pragma once

#include <string>

// Files of text that a command reads, of which - is standard input.

std::string name_of_file(const std::string& file);

// All of it. Throws a failure, which starts with what, when it cannot be read.
std::string content_of_file(const std::string& file, const std::string& what);
