#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>

inline void writeFile(const std::string& name, const std::string& content) {
    EXPECT_TRUE(std::ofstream(name, std::ios::binary) << content) << name;
}
