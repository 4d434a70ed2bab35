#pragma once

#include <string>

// Files as the tests read and make them.

bool exists(const std::string& path);
std::string content_of(const std::string& path);
void write_file(const std::string& path, const std::string& content);

// Makes a file of this size that holds no data.
void make_sparse_file(const std::string& path, off_t size);

// What the family of config channel, registry and profiles has logged.
std::string appcf_log();
