#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace fs = std::filesystem;

// The program as its users see it.
struct outcome {
    int status;
    std::string output; // and errors
};

outcome shell(const std::string& command);
outcome gateway(const std::string& arguments);

std::string text_of(const fs::path& path);

// With a folder for the files of one test.
class program : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override { fs::remove_all(folder_); }

    std::string file(const std::string& name) const { return folder_ / name; }

    fs::path folder_;
};
